#pragma once

#include <string>
#include <vector>

/// A picture as menu-bar hosts take it: four bytes a pixel, in the order alpha, red, green, blue.
struct IconPixmap {
    int width = 0;
    int height = 0;
    std::string pixels;

    bool operator==(const IconPixmap&) const = default;
};

// The bar's color cannot be known, and no single color stands out against all that there are: the best of
// them is 2.8 to 1 on common dark bars and vanishes on a gray one. So the icon brings its own ground: 8.9 to
// 1, everywhere. These are the red, green and blue of both.
constexpr unsigned char inkColor = 0xff;
constexpr unsigned char badgeColor = 0x4a;

/// The icon's name in icon themes. Hosts draw it in the color of their own text.
std::string menuBarIconName();
/// The folder of icon themes that belongs to this program, when it is none of those that every host searches:
/// the program runs where it was built, or from a prefix of its own. Otherwise empty.
std::string menuBarIconThemePath();
/// The icon in several sizes, in white on a badge, for bars that cannot color it. With a text, that stands on
/// the badge too, and the pixmaps are as wide as it takes. Only digits and what else counts are written with
/// can be shown.
std::vector<IconPixmap> menuBarIconPixmaps(const std::string& text = {});
/// The one with the icon alone that is the largest of at most this height; the smallest one where none is.
IconPixmap menuBarIconPixmap(int height);
/// A badge of such a height with the tooltip's text and nothing else, without round corners.
IconPixmap toolTipPixmap(const std::string& text, int height);
