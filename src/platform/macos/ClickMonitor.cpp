#include "platform/macos/ClickMonitor.h"

#include "platform/macos/GlobalMonitor.h"

#include <utility>

bool ClickMonitor::start(std::function<void(std::optional<Moment>)> handler)
{
    if (!monitor)
        monitor = addGlobalMonitor(mouseDowns, [handler = std::move(handler)] { handler({}); });
    return monitor != nullptr;
}

void ClickMonitor::stop()
{
    if (monitor)
        removeGlobalMonitor(std::exchange(monitor, nullptr));
}
