#pragma once

#include "platform/EventTap.h"
#include "platform/ListenAccess.h"
#include "platform/MouseMonitor.h"

#include <string>
#include <vector>

/// A keyboard and a mouse, and the permission to listen to them.
class FakeInput final
    : public EventTap
    , public MouseMonitor
    , public ListenAccess {
public:
    explicit FakeInput(std::vector<std::string>& calls)
        : calls(calls)
    {
    }

    void press(std::optional<Moment> moment = {});
    void hold(int repeats);
    void click(std::optional<Moment> moment);
    void disableTap();

    bool isTapEnabled() const { return tapEnabled; }
    bool hasMouseMonitor() const { return monitor != nullptr; }

    bool create(std::function<void(const TapEvent&)> handler) override;
    void enable() override;
    bool start(std::function<void(std::optional<Moment>)> handler) override;
    void stop() override;
    bool preflight() override;
    void request() override;
    std::string commandToGrant() override { return command; }

    bool accessGranted = false;
    bool tapRefused = false;
    bool mouseMonitorRefused = false;
    std::string command;

private:
    void sendToTap(const TapEvent& event);

    std::vector<std::string>& calls;
    std::function<void(const TapEvent&)> tapHandler;
    bool tapEnabled = false;
    std::function<void(std::optional<Moment>)> monitor;
};
