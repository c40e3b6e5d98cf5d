#include "platform/macos/StatusPanelHost.h"

#include "platform/macos/ClickMonitor.h"
#include "platform/macos/GlobalMonitor.h"
#include "platform/macos/NativeWindows.h"
#include "platform/macos/Screens.h"

#import <AppKit/AppKit.h>

#include <utility>

namespace {

/// How long after the press that has closed the panel its click on the item may be told, in seconds.
constexpr double clickDelay = 0.25;

}

StatusPanelHost::~StatusPanelHost() { stopWatching(); }

// The program's pixels are points here, on every screen.
ScreenPoint StatusPanelHost::pointAt(std::optional<ScreenPixel> place)
{
    if (place)
        lastPlace = ScreenPoint { place->x, place->y };
    if (lastPlace)
        return *lastPlace;
    const auto area = workArea({});
    return { area.x + area.width - 1, area.y };
}

ScreenArea StatusPanelHost::workArea(ScreenPoint place) const
{
    NSScreen* const screen = screenAt(place);
    return screen ? screenArea(screen.visibleFrame) : ScreenArea {};
}

void StatusPanelHost::prepare(NativeWindow panel)
{
    NSWindow* const window = nativeWindow(panel);
    window.level = NSStatusWindowLevel;
    window.collectionBehavior = NSWindowCollectionBehaviorMoveToActiveSpace
        | NSWindowCollectionBehaviorTransient | NSWindowCollectionBehaviorIgnoresCycle
        | NSWindowCollectionBehaviorFullScreenAuxiliary;
    window.hidesOnDeactivate = NO;
}

void StatusPanelHost::watchPressesOutside(std::function<void()> pressed)
{
    stopWatching();
    closedAt.reset();
    tellPressed = std::move(pressed);
    monitor = addGlobalMonitor(mouseDowns, [this] { pressedOutside(); });
}

void StatusPanelHost::stopWatching()
{
    tellPressed = nullptr;
    if (monitor)
        removeGlobalMonitor(std::exchange(monitor, nullptr));
}

bool StatusPanelHost::isClickSpent() const
{
    return closedAt && NSProcessInfo.processInfo.systemUptime - *closedAt < clickDelay;
}

void StatusPanelHost::pressedOutside()
{
    if (!tellPressed)
        return;
    closedAt = NSProcessInfo.processInfo.systemUptime;
    // Closing the panel ends the watch, and with it this function.
    std::exchange(tellPressed, nullptr)();
}
