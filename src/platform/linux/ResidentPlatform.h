#pragma once

#include "platform/Platform.h"
#include "platform/linux/bar/BarItem.h"
#include "platform/linux/bus/Bus.h"
#include "platform/linux/input/HelperAccess.h"
#include "platform/linux/input/InputSource.h"
#include "platform/linux/input/SessionLock.h"
#include "platform/linux/input/WaylandTap.h"
#include "platform/linux/input/X11Input.h"
#include "platform/linux/process/AutostartEntry.h"
#include "platform/linux/process/EventLoop.h"
#include "platform/linux/process/LoopTimers.h"
#include "platform/linux/process/OwnProcess.h"
#include "platform/linux/process/SettingsFile.h"
#include "platform/linux/process/SharedPictures.h"
#include "platform/linux/process/SingleInstance.h"
#include "platform/linux/process/SystemClock.h"
#include "platform/linux/process/WaylandDisplay.h"
#include "platform/linux/process/XdgFolders.h"
#include "support/InstalledFiles.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

/// What the program needs while it only counts, without the toolkit.
class ResidentPlatform final : public Platform {
public:
    ResidentPlatform();
    ~ResidentPlatform() override;

    int run() override;

    Clock& clock() override { return wallClock; }
    Desktop& desktop() override { return running; }
    EventTap& eventTap() override { return input.eventTap(); }
    Folders& folders() override { return userFolders; }
    Instance& instance() override { return place; }
    ListenAccess& listenAccess() override { return access; }
    LoginItem& loginItem() override { return autostart; }
    MenuBarItem& menuBarItem() override { return item; }
    MouseMonitor& mouseMonitor() override { return x11.mouseMonitor(); }
    Settings& settings() override { return settingsFile; }
    Timers& timers() override { return loopTimers; }

    /// What only those can do who know the toolkit.
    struct ToolkitDuties {
        /// Shows a file in the program that the user has chosen for its kind.
        std::function<void(const std::filesystem::path&)> openFile;
        /// Has the next window come to the front with a token of the desktop.
        std::function<void(const std::string&)> useActivationToken;
    };

    /// Whether there is one that somebody could look at.
    bool hasDisplay() const { return x11.hasServer() || compositor.isConnected(); }

    // What the windows share with it.
    EventLoop& eventLoop() { return loop; }
    OwnProcess& process() { return running; }
    WaylandDisplay& waylandDisplay() { return compositor; }
    const SharedPictures& sharedPictures() const { return shared; }
    X11Input& x11Input() { return x11; }
    void setToolkitDuties(ToolkitDuties duties);
    /// Whether any window is to be seen.
    void setWindowsShown(bool areShown);

private:
    void letPressesWait();
    std::optional<ScreenPixel> pointer();
    void displayLost();
    void activationTokenCame(const std::string& token);

    std::filesystem::path tapProgram = libexecProgram("knucklet-tap");
    ToolkitDuties toolkitDuties;
    std::string activationToken;
    bool windowsAreShown = false;
    bool textIsShown = false;

    EventLoop loop;
    OwnProcess running;
    Bus systemBus { loop, Bus::WellKnown::System };
    Bus sessionBus { loop, Bus::WellKnown::Session };
    // Presses that wait are those of before.
    SessionLock lock { systemBus, [this] { input.receive(); } };
    SystemClock wallClock;
    X11Input x11 { loop, wallClock, [this] { displayLost(); } };
    WaylandDisplay compositor { loop, [this] { running.displayLost(); } };
    WaylandTap wayland { loop, tapProgram };
    InputSource input { x11, wayland, [this] { return lock.isLocked(); } };
    XdgFolders userFolders;
    SharedPictures shared { userFolders };
    SingleInstance place { loop, sessionBus, userFolders };
    HelperAccess access { loop, tapProgram, libexecProgram("knucklet-grant") };
    AutostartEntry autostart;
    BarItem item;
    SettingsFile settingsFile;
    LoopTimers loopTimers { loop };
};
