#pragma once

#include <memory>

class Appearance;
class Clock;
class Desktop;
class EventTap;
class Folders;
class Instance;
class ListenAccess;
class LoginItem;
class MenuBarItem;
class MouseMonitor;
class PanelHost;
class Pasteboard;
class SavePanel;
class Settings;
class ShareSheet;
class Timers;
class WindowActivation;

/// Everything that the program needs of the system it runs on, one small interface per service. Services live
/// as long as the platform. All of them are used from the main thread only.
class Platform {
public:
    virtual ~Platform() = default;

    virtual Appearance& appearance() = 0;
    virtual Clock& clock() = 0;
    virtual Desktop& desktop() = 0;
    virtual EventTap& eventTap() = 0;
    virtual Folders& folders() = 0;
    virtual Instance& instance() = 0;
    virtual ListenAccess& listenAccess() = 0;
    virtual LoginItem& loginItem() = 0;
    virtual MenuBarItem& menuBarItem() = 0;
    virtual MouseMonitor& mouseMonitor() = 0;
    virtual PanelHost& panelHost() = 0;
    virtual Pasteboard& pasteboard() = 0;
    virtual SavePanel& savePanel() = 0;
    virtual Settings& settings() = 0;
    virtual ShareSheet& shareSheet() = 0;
    virtual Timers& timers() = 0;
    virtual WindowActivation& windowActivation() = 0;
};

/// Settles what must stand before the application object exists.
void prepareApplication();

/// The platform that the program was built for. Needs the application object.
std::unique_ptr<Platform> makePlatform();
