#include "support/Screenshot.h"

#include "platform/linux/Xcb.h"
#include "support/Patience.h"

#include <QElapsedTimer>
#include <QTest>

#include <tuple>

namespace {

// In milliseconds. No animation of a desktop pauses for so long.
constexpr int stillness = 600;

}

QImage screenshot(const QByteArray& display, const QRect& area)
{
    const XcbConnection connection(xcb_connect(display.constData(), nullptr));
    if (xcb_connection_has_error(connection.get()))
        return {};
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    const QRect whole(0, 0, screen.width_in_pixels, screen.height_in_pixels);
    const QRect part = area.isNull() ? whole : area & whole;
    if (part.isEmpty())
        return {};

    const auto cookie = xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root,
        static_cast<std::int16_t>(part.x()), static_cast<std::int16_t>(part.y()),
        static_cast<std::uint16_t>(part.width()), static_cast<std::uint16_t>(part.height()), ~0U);
    const XcbReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(connection.get(), cookie, nullptr));
    const int bytesPerLine = part.width() * 4;
    if (!reply || reply->depth != 24
        || xcb_get_image_data_length(reply.get()) != bytesPerLine * part.height())
        return {};
    return QImage(
        xcb_get_image_data(reply.get()), part.width(), part.height(), bytesPerLine, QImage::Format_RGB32)
        .copy();
}

QImage stillScreenshot(const QByteArray& display, const QRect& area)
{
    QImage picture = screenshot(display, area);
    QElapsedTimer sinceChange;
    sinceChange.start();
    std::ignore = QTest::qWaitFor(
        [&] {
            const auto next = screenshot(display, area);
            if (next != picture) {
                picture = next;
                sinceChange.restart();
            }
            return sinceChange.hasExpired(stillness);
        },
        patience);
    return picture;
}

QRect difference(const QImage& before, const QImage& after)
{
    QRect changed;
    for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x) {
            if (before.pixel(x, y) != after.pixel(x, y))
                changed |= QRect(x, y, 1, 1);
        }
    }
    return changed;
}
