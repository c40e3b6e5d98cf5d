#pragma once

/// One of the program's own modules, found from where the program lies. It is opened at once and loaded
/// later, so that an upgrade that has put another one in its place meanwhile changes nothing for a program
/// that runs. What is not there is missed only when it is loaded.
class Module final {
public:
    explicit Module(const char* name);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module();

    /// What the module exports under that name; null where it cannot be loaded. Once loaded it stays.
    void* load(const char* symbol) const;

private:
    int file = -1;
};
