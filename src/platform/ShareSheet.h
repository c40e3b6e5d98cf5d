#pragma once

#include <string>
#include <string_view>

/// The ways that the desktop offers to hand something on to other programs and other people.
class ShareSheet {
public:
    virtual ~ShareSheet() = default;

    /// Lets the user choose what becomes of a picture, given as the content of a PNG file. Returns at once.
    virtual void share(std::string_view png, const std::string& title) = 0;
};
