#include "support/PointAt.h"

#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/Patience.h"

#include <QTest>

bool pointAt(Injector& injector, const DesktopWindows& windows, xcb_window_t window, QPoint place)
{
    injector.moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector.sync();
    return QTest::qWaitFor([&] { return windows.top(place) == window; }, patience);
}

std::optional<QPoint> pointAtShareButton(Injector& injector, const DesktopWindows& windows)
{
    const auto panel = windows.find("Knucklet");
    const auto place = windows.place(panel);
    // The last thing in the panel's first line, in points.
    constexpr QPoint fromCorner(-22, 24);
    constexpr int panelWidth = 300;
    const auto button = place.topRight() + fromCorner * (place.width() / panelWidth);
    if (!pointAt(injector, windows, panel, button))
        return {};
    return button;
}
