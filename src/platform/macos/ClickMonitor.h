#pragma once

#include "platform/MouseMonitor.h"

#include <cstdint>

struct GlobalMonitor;

/// The bits of left, right and other mouse down among the system's events.
inline constexpr std::uint64_t mouseDowns = 0x0200000A;

/// Sees the mouse presses of other programs, for which the system asks no permission.
class ClickMonitor final : public MouseMonitor {
public:
    bool start(std::function<void(std::optional<Moment>)> handler) override;
    void stop() override;

private:
    GlobalMonitor* monitor = nullptr;
};
