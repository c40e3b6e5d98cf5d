#pragma once

#include <memory>

class Clock;
class Desktop;
class EventTap;
class Folders;
class Instance;
class ListenAccess;
class LoginItem;
class MenuBarItem;
class MouseMonitor;
class Settings;
class Timers;

/// Everything that the program needs of the system it runs on, its windows apart, one small interface per
/// service. Services live as long as the platform. All of them are used from the main thread only.
class Platform {
public:
    virtual ~Platform() = default;

    /// Serves the program until it ends. What it returns is what the process ends with.
    virtual int run() = 0;

    virtual Clock& clock() = 0;
    virtual Desktop& desktop() = 0;
    virtual EventTap& eventTap() = 0;
    virtual Folders& folders() = 0;
    virtual Instance& instance() = 0;
    virtual ListenAccess& listenAccess() = 0;
    virtual LoginItem& loginItem() = 0;
    virtual MenuBarItem& menuBarItem() = 0;
    virtual MouseMonitor& mouseMonitor() = 0;
    virtual Settings& settings() = 0;
    virtual Timers& timers() = 0;
};

/// The platform that the program was built for; nothing where there is no display.
std::unique_ptr<Platform> makePlatform();
