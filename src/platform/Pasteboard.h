#pragma once

#include <string_view>

/// What the user copies and pastes between programs.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// Puts a picture, given as the content of a PNG file, in place of what was there. Where the desktop
    /// keeps what was copied, it is still there after the program has ended.
    virtual void setPicture(std::string_view png) = 0;
};
