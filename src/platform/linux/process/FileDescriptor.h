#pragma once

#include <unistd.h>

#include <utility>

/// Owns an open file descriptor, or none.
class FileDescriptor final {
public:
    FileDescriptor() = default;
    /// Any negative number, as failing calls return it, stands for none.
    explicit FileDescriptor(int number)
        : number(number)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : number(std::exchange(other.number, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    ~FileDescriptor()
    {
        if (number >= 0)
            close(number);
    }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }

private:
    int number = -1;
};
