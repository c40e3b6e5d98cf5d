#pragma once

#include "macos/RecordedSystem.h"
#include "platform/Platform.h"
#include "platform/fake/FakePlatform.h"
#include "platform/macos/ClickMonitor.h"
#include "platform/macos/InputMonitoring.h"
#include "platform/macos/RunLoopTimers.h"
#include "platform/macos/SessionTap.h"

/// A platform of what is plain C++ of the back end, on the recorded system. What only runs on a Mac is that
/// of the fake platform.
class RecordedMac final : public Platform {
public:
    explicit RecordedMac(const std::filesystem::path& applicationSupport);

    /// Time passes for the clock and for the system's timers.
    void pass(std::chrono::milliseconds time);

    int run() override { return 0; }

    Clock& clock() override { return rest.clock(); }
    Desktop& desktop() override { return rest.desktop(); }
    EventTap& eventTap() override { return tap; }
    Folders& folders() override { return rest.folders(); }
    Instance& instance() override { return rest.instance(); }
    ListenAccess& listenAccess() override { return access; }
    LoginItem& loginItem() override { return rest.loginItem(); }
    MenuBarItem& menuBarItem() override { return rest.menuBarItem(); }
    MouseMonitor& mouseMonitor() override { return monitor; }
    Settings& settings() override { return rest.settings(); }
    Timers& timers() override { return runLoopTimers; }

    RecordedSystem system;
    FakePlatform rest;

private:
    SessionTap tap;
    InputMonitoring access;
    ClickMonitor monitor;
    RunLoopTimers runLoopTimers;
};
