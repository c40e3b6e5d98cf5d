#pragma once

#include <cstdint>

/// A window of the program, as the system knows it.
enum class NativeWindow : std::uint64_t {};

/// Brings the program's windows before those of other programs.
class WindowActivation {
public:
    virtual ~WindowActivation() = default;

    /// The window, which is shown already, comes to the front and gets the keyboard, also while the user
    /// works in another program.
    virtual void activate(NativeWindow window) = 0;
};
