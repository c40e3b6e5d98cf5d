#include "support/ShareButton.h"

#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/Patience.h"

#include <QTest>

std::optional<QPoint> pointAtShareButton(Injector& injector, const DesktopWindows& windows)
{
    const auto panel = windows.find("Knucklet");
    const auto place = windows.place(panel);
    // The last thing in the panel's first line, in points.
    constexpr QPoint fromCorner(-22, 24);
    constexpr int panelWidth = 300;
    const auto button = place.topRight() + fromCorner * (place.width() / panelWidth);
    injector.moveTo(static_cast<std::int16_t>(button.x()), static_cast<std::int16_t>(button.y()));
    injector.sync();
    if (!QTest::qWaitFor([&] { return windows.top(button) == panel; }, patience))
        return {};
    return button;
}
