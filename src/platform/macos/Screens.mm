#include "platform/macos/Screens.h"

#include <cmath>

namespace {

CGFloat heightOfFirstScreen()
{
    NSScreen* const first = NSScreen.screens.firstObject;
    return first ? first.frame.size.height : 0;
}

int whole(CGFloat coordinate) { return static_cast<int>(std::lround(coordinate)); }

}

NSRect flipped(NSRect area)
{
    const CGFloat top = heightOfFirstScreen() - area.origin.y - area.size.height;
    return NSMakeRect(area.origin.x, top, area.size.width, area.size.height);
}

ScreenPixel screenPixel(NSPoint place)
{
    const NSRect area = flipped(NSMakeRect(place.x, place.y, 0, 0));
    return { whole(area.origin.x), whole(area.origin.y) };
}

ScreenArea screenArea(NSRect area)
{
    const NSRect points = flipped(area);
    return { whole(points.origin.x), whole(points.origin.y), whole(points.size.width),
        whole(points.size.height) };
}

NSScreen* screenAt(ScreenPoint place)
{
    const NSPoint point = NSMakePoint(place.x, heightOfFirstScreen() - place.y - 1);
    for (NSScreen* screen in NSScreen.screens) {
        if (NSPointInRect(point, screen.frame))
            return screen;
    }
    return NSScreen.screens.firstObject;
}
