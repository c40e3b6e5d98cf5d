#pragma once

#include "platform/Desktop.h"

/// The application object, and the system's workspace around it.
class Workspace final : public Desktop {
public:
    /// `makeWay` is called before another instance is asked for.
    explicit Workspace(std::function<void()> makeWay);

    void onWillTerminate(std::function<void()> observer) override;
    void terminate() override;
    void openNewInstance(std::function<void()> done) override;
    void openInputMonitoringSettings() override;

private:
    std::function<void()> makeWay;
};
