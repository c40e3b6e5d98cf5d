#pragma once

#include "platform/linux/Xcb.h"

#include <cstdint>
#include <optional>

struct IconPixmap;

/// How windows of a visual have their pixels: as parts of one number each.
struct PixelFormat {
    xcb_visualtype_t visual {};
    std::uint8_t depth = 0;
    std::uint8_t bitsPerPixel = 0;

    /// Whether pixels say how much of what is behind the window they cover.
    bool hasAlpha() const { return depth == 32; }
    std::uint32_t pixel(std::uint8_t red, std::uint8_t green, std::uint8_t blue, std::uint8_t alpha) const;
};

/// Nothing for visuals that do not exist, and for those with a color map that can be written, which no server
/// of today has by default.
std::optional<PixelFormat> pixelFormat(
    xcb_connection_t* connection, const xcb_screen_t& screen, xcb_visualid_t visual);

/// A place in a window.
struct PicturePlace {
    std::int16_t x = 0;
    std::int16_t y = 0;
};

/// Asks the server what the window shows where the picture will be.
xcb_get_image_cookie_t askWhatIsBelow(
    xcb_connection_t* connection, xcb_window_t window, const IconPixmap& picture, PicturePlace place);
/// Draws the picture over the answer to that; over the background where there is none.
void putPicture(xcb_connection_t* connection, xcb_window_t window, const PixelFormat& format,
    const IconPixmap& picture, PicturePlace place, std::uint32_t background,
    const xcb_get_image_reply_t* below);
