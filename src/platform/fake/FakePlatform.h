#pragma once

#include "platform/Platform.h"
#include "platform/WindowPlatform.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeInput.h"
#include "platform/fake/FakeMenuBar.h"
#include "platform/fake/FakeProcess.h"
#include "platform/fake/FakeSharing.h"
#include "platform/fake/FakeTime.h"
#include "platform/fake/FakeWindows.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A whole platform in memory, moved by hand: tests press its keys, grant its permission and turn its clock.
/// It writes down what the program asks of it. Each concern is a fake of its own; here is what tests say to
/// them.
class FakePlatform final
    : public Platform
    , public WindowPlatform {
public:
    FakePlatform(std::filesystem::path applicationSupport, Moment start);

    // What a user and a system do. What the program has not made possible does nothing, so that a test of it
    // fails where it looks and does not crash here.
    void press(std::optional<Moment> moment = {}) { input.press(moment); }
    /// The key stays down: one real press, then repeats.
    void hold(int repeats) { input.hold(repeats); }
    /// A mouse press is seen by the tap and by the monitor, whichever of them run.
    void click(std::optional<Moment> moment = {}) { input.click(moment); }
    /// The system switches the tap off and says so.
    void disableTap() { input.disableTap(); }
    void grantAccess() { input.accessGranted = true; }
    void withdrawAccess() { input.accessGranted = false; }
    /// Nothing can ask for the permission; the user has to type this.
    void leaveGrantingTo(const std::string& command) { input.command = command; }
    void refuseTap() { input.tapRefused = true; }
    void refuseMouseMonitor() { input.mouseMonitorRefused = true; }
    void setLoginItemStatus(LoginItemStatus status) { process.loginItemStatus = status; }
    void refuseLoginItem() { process.loginItemRefused = true; }
    /// The system has started the other instance, or failed to.
    void answerNewInstance() { process.answerNewInstance(); }
    /// Another instance has the place already.
    void occupyPlace() { process.placeIsTaken = true; }
    /// The user starts the program although it runs.
    void startAgain() { process.startAgain(); }
    /// The user quits, or the system asks the program to end.
    void quit() { process.terminate(); }
    void setAppearance(ColorScheme scheme, Motion motion, std::optional<AccentColor> accent = {})
    {
        windows.setAppearance(scheme, motion, accent);
    }
    /// A compositor comes, or goes.
    void setWindowEdge(WindowEdge edge) { windows.setEdge(edge); }
    /// Bars leave this much of the screen.
    void setWorkArea(ScreenArea area) { bar.freeArea = area; }
    void storeSetting(const std::string& key, bool value) { files.storeSetting(key, value); }
    void removeApplicationSupport() { files.supportFolder.reset(); }
    /// The program comes with the pictures that lie in this folder; before, it comes with none.
    void addPictures(std::filesystem::path folder) { files.pictureFolder = std::move(folder); }
    /// Time passes: the clock moves and timers tick when they are due.
    void advance(std::chrono::milliseconds duration) { time.advance(duration); }
    /// The wall clock jumps; timers do not notice.
    void setClock(Moment moment) { time.wallClock = moment; }
    /// Runs what was put off until the running code had returned.
    void runDeferred() { time.runDeferred(); }
    /// A press outside every window of the program, held until `releaseButton`.
    void pressOutside() { bar.pressOutside(); }
    void releaseButton() { bar.pressHeld = false; }
    /// There is no menu bar any more.
    void removeMenuBar() { bar.isThere = false; }
    void clickMenuBarItem(ScreenPixel place) { bar.clickItem(place); }
    void chooseCommand(const std::string& title, std::optional<ScreenPixel> place = {})
    {
        bar.chooseCommand(title, place);
    }

    /// The user chooses a place in the save panel that was opened first, or closes it.
    void choosePlace(const std::filesystem::path& place) { sharing.choosePlace(place); }
    void cancelSavePanel() { sharing.cancelSavePanel(); }

    // What the program did.
    std::optional<bool> setting(const std::string& key) const { return files.setting(key); }
    bool isTapEnabled() const { return input.isTapEnabled(); }
    bool hasMouseMonitor() const { return input.hasMouseMonitor(); }
    std::vector<std::chrono::milliseconds> runningTimers() const { return time.runningTimers(); }
    const std::optional<MenuBarLabel>& menuBarLabel() const { return bar.shownLabel(); }
    /// The titles of the item's menu.
    std::vector<std::string> commands() const { return bar.commands(); }
    bool hasTerminated() const { return process.hasTerminated(); }
    /// The windows that were brought to the front, in order.
    const std::vector<NativeWindow>& activatedWindows() const { return windows.activatedWindows(); }
    /// What a window has said of its shadow.
    WindowShadow shadowOf(NativeWindow window) const { return windows.shadowOf(window); }

    /// What the user copied last.
    const std::optional<std::string>& copiedPicture() const { return sharing.copiedPicture(); }
    /// The name that each open save panel proposes, in order of their opening.
    std::vector<std::string> proposedNames() const { return sharing.proposedNames(); }
    const std::vector<SharedPicture>& sharedPictures() const { return sharing.sharedPictures(); }

    /// What the program asked for and changed, in order.
    std::vector<std::string> calls;

    int run() override;

    Appearance& appearance() override { return windows; }
    Clock& clock() override { return time; }
    Desktop& desktop() override { return process; }
    EventTap& eventTap() override { return input; }
    Folders& folders() override { return files; }
    Instance& instance() override { return process; }
    ListenAccess& listenAccess() override { return input; }
    LoginItem& loginItem() override { return process; }
    MenuBarItem& menuBarItem() override { return bar; }
    MouseMonitor& mouseMonitor() override { return input; }
    PanelHost& panelHost() override { return bar; }
    Pasteboard& pasteboard() override { return sharing; }
    SavePanel& savePanel() override { return sharing; }
    Settings& settings() override { return files; }
    ShareSheet& shareSheet() override { return sharing; }
    Timers& timers() override { return time; }
    WindowActivation& windowActivation() override { return windows; }
    WindowEdges& windowEdges() override { return windows; }

private:
    FakeFiles files;
    FakeInput input { calls };
    FakeMenuBar bar { calls };
    FakeProcess process { calls };
    FakeSharing sharing { calls };
    FakeTime time;
    FakeWindows windows { calls };
};
