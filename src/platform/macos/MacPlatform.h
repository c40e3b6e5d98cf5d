#pragma once

#include "platform/Platform.h"
#include "platform/macos/ClickMonitor.h"
#include "platform/macos/InputMonitoring.h"
#include "platform/macos/MainLoginItem.h"
#include "platform/macos/OneInstance.h"
#include "platform/macos/RunLoopTimers.h"
#include "platform/macos/SessionTap.h"
#include "platform/macos/StatusItem.h"
#include "platform/macos/UserDefaults.h"
#include "platform/macos/UserFolders.h"
#include "platform/macos/WallClock.h"
#include "platform/macos/Workspace.h"

/// Beside the stats file; without a name where there is no folder for data.
std::filesystem::path placeFolder(const Folders& folders);

/// What the program needs while it only counts: the system's own application object and run loop.
class MacPlatform final : public Platform {
public:
    int run() override;

    Clock& clock() override { return wallClock; }
    Desktop& desktop() override { return workspace; }
    EventTap& eventTap() override { return tap; }
    Folders& folders() override { return userFolders; }
    Instance& instance() override { return place; }
    ListenAccess& listenAccess() override { return access; }
    LoginItem& loginItem() override { return mainItem; }
    MenuBarItem& menuBarItem() override { return item; }
    MouseMonitor& mouseMonitor() override { return monitor; }
    Settings& settings() override { return defaults; }
    Timers& timers() override { return runLoopTimers; }

private:
    WallClock wallClock;
    UserFolders userFolders;
    OneInstance place { placeFolder(userFolders) };
    Workspace workspace { [this] { place.makeWay(); } };
    SessionTap tap;
    InputMonitoring access;
    MainLoginItem mainItem;
    StatusItem item;
    ClickMonitor monitor;
    UserDefaults defaults;
    RunLoopTimers runLoopTimers;
};
