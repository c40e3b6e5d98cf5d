#pragma once

#include "platform/PanelHost.h"

struct GlobalMonitor;

/// The panel under the item of the status bar.
class StatusPanelHost final : public PanelHost {
public:
    StatusPanelHost() = default;
    StatusPanelHost(const StatusPanelHost&) = delete;
    StatusPanelHost& operator=(const StatusPanelHost&) = delete;
    ~StatusPanelHost() override;

    ScreenPoint pointAt(std::optional<ScreenPixel> place) override;
    ScreenArea workArea(ScreenPoint place) const override;
    void prepare(NativeWindow panel) override;
    void watchPressesOutside(std::function<void()> pressed) override;
    void stopWatching() override;
    bool isClickSpent() const override;

private:
    void pressedOutside();

    std::optional<ScreenPoint> lastPlace;
    GlobalMonitor* monitor = nullptr;
    std::function<void()> tellPressed;
    /// When the panel was closed by a press, in seconds since the system was started.
    std::optional<double> closedAt;
};
