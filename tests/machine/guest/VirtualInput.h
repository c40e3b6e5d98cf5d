#pragma once

#include <cstdint>
#include <string>

/// An input device of the kernel's that a program plays: a keyboard and a mouse in one. It is plugged in when
/// it is made, and out with this object.
class VirtualInput final {
public:
    explicit VirtualInput(const std::string& name);
    VirtualInput(const VirtualInput&) = delete;
    VirtualInput& operator=(const VirtualInput&) = delete;
    ~VirtualInput();

    void send(std::uint16_t type, std::uint16_t code, std::int32_t value);
    /// What has been sent since the last time happened at once.
    void finish();

private:
    int device;
};
