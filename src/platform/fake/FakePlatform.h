#pragma once

#include "platform/Appearance.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/EventTap.h"
#include "platform/Folders.h"
#include "platform/Instance.h"
#include "platform/ListenAccess.h"
#include "platform/LoginItem.h"
#include "platform/MenuBarItem.h"
#include "platform/MouseMonitor.h"
#include "platform/PanelHost.h"
#include "platform/Pasteboard.h"
#include "platform/Platform.h"
#include "platform/SavePanel.h"
#include "platform/Settings.h"
#include "platform/ShareSheet.h"
#include "platform/Timers.h"
#include "platform/WindowActivation.h"
#include "platform/WindowPlatform.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// A whole platform in memory, moved by hand: tests press its keys, grant its permission and turn its clock.
/// It writes down what the program asks of it.
class FakePlatform final
    : public Platform
    , public WindowPlatform
    , private Appearance
    , private Clock
    , private Desktop
    , private EventTap
    , private Folders
    , private Instance
    , private ListenAccess
    , private LoginItem
    , private MenuBarItem
    , private MouseMonitor
    , private PanelHost
    , private Pasteboard
    , private SavePanel
    , private Settings
    , private ShareSheet
    , private Timers
    , private WindowActivation {
public:
    struct SharedPicture {
        std::string png;
        std::string title;
    };

    FakePlatform(std::filesystem::path applicationSupport, Moment start);

    // What a user and a system do.
    void press(std::optional<Moment> moment = {});
    /// The key stays down: one real press, then repeats.
    void hold(int repeats);
    /// A mouse press is seen by the tap and by the monitor, whichever of them run.
    void click(std::optional<Moment> moment = {});
    /// The system switches the tap off and says so.
    void disableTap();
    void grantAccess() { accessGranted = true; }
    void withdrawAccess() { accessGranted = false; }
    void refuseTap() { tapRefused = true; }
    void refuseMouseMonitor() { mouseMonitorRefused = true; }
    void setLoginItemStatus(LoginItemStatus status) { loginItemStatus = status; }
    void refuseLoginItem() { loginItemRefused = true; }
    /// The system has started the other instance, or failed to.
    void answerNewInstance();
    /// Another instance has the place already.
    void occupyPlace() { placeIsTaken = true; }
    /// The user starts the program although it runs.
    void startAgain();
    void setAppearance(ColorScheme scheme, Motion motion);
    /// Bars leave this much of the screen.
    void setWorkArea(ScreenArea area) { freeArea = area; }
    void storeSetting(const std::string& key, bool value) { settingValues[key] = value; }
    void removeApplicationSupport() { supportFolder.reset(); }
    /// The program comes with the pictures that lie in this folder; before, it comes with none.
    void addPictures(std::filesystem::path folder) { pictureFolder = std::move(folder); }
    /// Time passes: the clock moves and timers tick when they are due.
    void advance(std::chrono::milliseconds time);
    /// The wall clock jumps; timers do not notice.
    void setClock(Moment moment) { wallClock = moment; }
    /// Runs what was put off until the running code had returned.
    void runDeferred();
    /// The user quits, or the system asks the program to end.
    void quit();
    /// A press outside every window of the program, held until `releaseButton`.
    void pressOutside();
    void releaseButton() { pressHeld = false; }
    /// There is no menu bar any more.
    void removeMenuBar() { menuBarIsThere = false; }
    void clickMenuBarItem(ScreenPixel place);
    void chooseCommand(const std::string& title, std::optional<ScreenPixel> place = {});

    /// The user chooses a place in the save panel that was opened first, or closes it.
    void choosePlace(const std::filesystem::path& place);
    void cancelSavePanel() { savePanels.pop_front(); }

    // What the program did.
    std::optional<bool> setting(const std::string& key) const;
    bool isTapEnabled() const { return tapEnabled; }
    bool hasMouseMonitor() const { return monitor != nullptr; }
    std::vector<std::chrono::milliseconds> runningTimers() const;
    const std::optional<MenuBarLabel>& menuBarLabel() const { return label; }
    /// The titles of the item's menu.
    std::vector<std::string> commands() const;
    bool hasTerminated() const { return terminated; }
    /// The windows that were brought to the front, in order.
    const std::vector<NativeWindow>& activatedWindows() const { return activated; }

    /// What the user copied last.
    const std::optional<std::string>& copiedPicture() const { return copied; }
    /// The name that each open save panel proposes, in order of their opening.
    std::vector<std::string> proposedNames() const;
    const std::vector<SharedPicture>& sharedPictures() const { return shared; }

    /// What the program asked for and changed, in order.
    mutable std::vector<std::string> calls;

    Appearance& appearance() override { return *this; }
    int run() override;

    Clock& clock() override { return *this; }
    Desktop& desktop() override { return *this; }
    EventTap& eventTap() override { return *this; }
    Folders& folders() override { return *this; }
    Instance& instance() override { return *this; }
    ListenAccess& listenAccess() override { return *this; }
    LoginItem& loginItem() override { return *this; }
    MenuBarItem& menuBarItem() override { return *this; }
    MouseMonitor& mouseMonitor() override { return *this; }
    PanelHost& panelHost() override { return *this; }
    Pasteboard& pasteboard() override { return *this; }
    SavePanel& savePanel() override { return *this; }
    Settings& settings() override { return *this; }
    ShareSheet& shareSheet() override { return *this; }
    Timers& timers() override { return *this; }
    WindowActivation& windowActivation() override { return *this; }

private:
    struct RunningTimer {
        std::chrono::milliseconds interval;
        std::chrono::milliseconds due;
        std::function<void()> tick;
    };
    struct OpenSavePanel {
        std::string proposedName;
        std::function<void(const std::filesystem::path&)> chosen;
    };

    ColorScheme colorScheme() const override { return scheme; }
    Motion motion() const override { return motionWanted; }
    Observers::Subscription observe(std::function<void()> changed) override;
    Moment now() const override;
    void onWillTerminate(std::function<void()> observer) override;
    void terminate() override;
    void openNewInstance(std::function<void()> done) override;
    void openInputMonitoringSettings() override;
    bool create(std::function<void(const TapEvent&)> handler) override;
    void enable() override;
    std::optional<std::filesystem::path> applicationSupport() const override;
    bool claim() override;
    void onStartedAgain(std::function<void()> callback) override;
    std::optional<std::filesystem::path> picture(std::string_view name) const override;
    bool preflight() override;
    void request() override;
    LoginItemStatus status() override;
    bool registerItem() override;
    bool unregisterItem() override;
    void install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu showMenu) override;
    void setLabel(const MenuBarLabel& newLabel) override;
    bool isShown() const override { return menuBarIsThere; }
    bool start(std::function<void(std::optional<Moment>)> handler) override;
    void stop() override;
    ScreenPoint pointAt(std::optional<ScreenPixel> place) override;
    ScreenArea workArea(ScreenPoint) const override { return freeArea; }
    void prepare(NativeWindow) override { calls.emplace_back("prepare panel"); }
    void watchPressesOutside(std::function<void()> pressed) override;
    void stopWatching() override;
    bool isClickSpent() const override { return pressHeld; }
    void setPicture(std::string_view png) override;
    void begin(
        const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen) override;
    void share(std::string_view png, const std::string& title) override;
    bool boolean(std::string_view key) const override;
    void setBoolean(std::string_view key, bool value) override;
    TimerId scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick) override;
    void invalidate(TimerId timer) override;
    void callLater(std::function<void()> call) override;
    void activate(NativeWindow window) override;

    void sendToTap(const TapEvent& event);

    std::optional<std::filesystem::path> supportFolder;
    std::optional<std::filesystem::path> pictureFolder;
    Moment wallClock;
    std::chrono::milliseconds uptime {};
    bool accessGranted = false;
    bool tapRefused = false;
    bool mouseMonitorRefused = false;
    bool terminated = false;
    bool placeIsTaken = false;
    LoginItemStatus loginItemStatus = LoginItemStatus::NotRegistered;
    bool loginItemRefused = false;
    ColorScheme scheme = ColorScheme::Light;
    Motion motionWanted = Motion::Full;
    Observers appearanceObservers;
    std::map<std::string, bool, std::less<>> settingValues;

    std::function<void(const TapEvent&)> tapHandler;
    bool tapEnabled = false;
    std::function<void(std::optional<Moment>)> monitor;
    std::uint64_t nextTimer = 1;
    std::map<std::uint64_t, RunningTimer> timersRunning;
    std::deque<std::function<void()>> deferred;
    std::vector<std::function<void()>> terminationObservers;
    std::function<void()> newInstanceAnswered;
    std::function<void()> pressedOutside;
    bool pressHeld = false;
    ScreenArea freeArea { .x = 0, .y = 28, .width = 800, .height = 572 };
    std::function<void()> startedAgain;
    bool menuBarIsThere = true;
    MenuBarAction menuBarItemActivated;
    std::vector<MenuBarCommand> menuBarCommands;
    std::optional<MenuBarLabel> label;
    std::vector<NativeWindow> activated;
    std::optional<std::string> copied;
    std::deque<OpenSavePanel> savePanels;
    std::vector<SharedPicture> shared;
};
