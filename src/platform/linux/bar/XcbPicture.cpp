#include "platform/linux/bar/XcbPicture.h"

#include "platform/linux/bar/MenuBarIcon.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <string>
#include <vector>

namespace {

std::uint32_t toMask(std::uint8_t value, std::uint32_t mask)
{
    const int width = std::popcount(mask);
    const std::uint32_t scaled = width >= 8 ? std::uint32_t { value } << (width - 8) : value >> (8 - width);
    return scaled << std::countr_zero(mask) & mask;
}

std::uint8_t fromMask(std::uint32_t pixel, std::uint32_t mask)
{
    const std::uint64_t largest = mask >> std::countr_zero(mask);
    return static_cast<std::uint8_t>(((pixel & mask) >> std::countr_zero(mask)) * 255ULL / largest);
}

bool isLittleEndian(xcb_connection_t* connection)
{
    return xcb_get_setup(connection)->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
}

std::size_t bytesPerPixel(const PixelFormat& format) { return format.bitsPerPixel / 8U; }

/// Lines begin at whole multiples of 32 bits, which is all that the formats of servers know.
std::size_t bytesPerLine(const PixelFormat& format, int width)
{
    return (static_cast<std::size_t>(width) * bytesPerPixel(format) + 3) / 4 * 4;
}

/// Pictures as they go to the server and come from it.
class ServerImage final {
public:
    ServerImage(xcb_connection_t* connection, const PixelFormat& format, int width, int height)
        : format(format)
        , width(width)
        , height(height)
        , littleEndian(isLittleEndian(connection))
        , lineLength(bytesPerLine(format, width))
        , bytes(lineLength * static_cast<std::size_t>(height))
    {
    }

    std::uint32_t pixel(int x, int y) const
    {
        std::uint32_t pixel = 0;
        for (std::size_t i = 0; i < bytesPerPixel(format); ++i)
            pixel |= std::uint32_t { bytes[position(x, y) + i] } << shift(i);
        return pixel;
    }
    void setPixel(int x, int y, std::uint32_t pixel)
    {
        for (std::size_t i = 0; i < bytesPerPixel(format); ++i)
            bytes[position(x, y) + i] = static_cast<std::uint8_t>(pixel >> shift(i));
    }

    void fill(std::uint32_t pixel)
    {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                setPixel(x, y, pixel);
        }
    }

    const PixelFormat& format;
    int width;
    int height;
    bool littleEndian;
    std::size_t lineLength;
    std::vector<std::uint8_t> bytes;

private:
    std::size_t position(int x, int y) const
    {
        return static_cast<std::size_t>(y) * lineLength + static_cast<std::size_t>(x) * bytesPerPixel(format);
    }
    std::size_t shift(std::size_t byte) const
    {
        return 8 * (littleEndian ? byte : bytesPerPixel(format) - 1 - byte);
    }
};

std::uint8_t over(std::uint8_t color, std::uint8_t alpha, std::uint8_t below)
{
    return static_cast<std::uint8_t>((color * alpha + below * (255 - alpha) + 127) / 255);
}

}

std::uint32_t PixelFormat::pixel(
    std::uint8_t red, std::uint8_t green, std::uint8_t blue, std::uint8_t alpha) const
{
    const std::uint32_t colors = visual.red_mask | visual.green_mask | visual.blue_mask;
    const std::uint32_t color
        = toMask(red, visual.red_mask) | toMask(green, visual.green_mask) | toMask(blue, visual.blue_mask);
    return hasAlpha() ? color | toMask(alpha, ~colors) : color;
}

std::optional<PixelFormat> pixelFormat(
    xcb_connection_t* connection, const xcb_screen_t& screen, xcb_visualid_t visual)
{
    PixelFormat format;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem; xcb_depth_next(&depth)) {
        for (auto type = xcb_depth_visuals_iterator(depth.data); type.rem; xcb_visualtype_next(&type)) {
            if (type.data->visual_id == visual && type.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR) {
                format.visual = *type.data;
                format.depth = depth.data->depth;
            }
        }
    }
    auto formats = xcb_setup_pixmap_formats_iterator(xcb_get_setup(connection));
    for (; formats.rem; xcb_format_next(&formats)) {
        if (formats.data->depth == format.depth)
            format.bitsPerPixel = formats.data->bits_per_pixel;
    }
    const auto& type = format.visual;
    if (!type.red_mask || !type.green_mask || !type.blue_mask || format.bitsPerPixel < 8)
        return {};
    return format;
}

xcb_get_image_cookie_t askWhatIsBelow(
    xcb_connection_t* connection, xcb_window_t window, const IconPixmap& picture, PicturePlace place)
{
    return xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, place.x, place.y,
        static_cast<std::uint16_t>(picture.width), static_cast<std::uint16_t>(picture.height), ~0U);
}

void putPicture(xcb_connection_t* connection, xcb_window_t window, const PixelFormat& format,
    const IconPixmap& picture, PicturePlace place, std::uint32_t background,
    const xcb_get_image_reply_t* below)
{
    ServerImage image(connection, format, picture.width, picture.height);
    image.fill(background);
    if (below && static_cast<std::size_t>(xcb_get_image_data_length(below)) == image.bytes.size())
        std::copy_n(xcb_get_image_data(below), image.bytes.size(), image.bytes.begin());

    const auto* source = reinterpret_cast<const std::uint8_t*>(picture.pixels.data());
    const auto& visual = format.visual;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x, source += 4) {
            // A window with alpha begins with nothing, and its pixels have their colors multiplied by it.
            const std::uint32_t covered = image.pixel(x, y);
            const std::uint8_t alpha = source[0];
            image.setPixel(x, y,
                format.pixel(over(source[1], alpha, fromMask(covered, visual.red_mask)),
                    over(source[2], alpha, fromMask(covered, visual.green_mask)),
                    over(source[3], alpha, fromMask(covered, visual.blue_mask)), alpha));
        }
    }

    const auto context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, window, 0, nullptr);
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, context,
        static_cast<std::uint16_t>(picture.width), static_cast<std::uint16_t>(picture.height), place.x,
        place.y, 0, format.depth, static_cast<std::uint32_t>(image.bytes.size()), image.bytes.data());
    xcb_free_gc(connection, context);
}
