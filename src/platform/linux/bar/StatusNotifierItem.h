#pragma once

#include "platform/MenuBarItem.h"
#include "platform/linux/bar/MenuBarIcon.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class Bus;
class BusAnswer;
class BusObject;
class BusReader;
class BusSubscription;
class DbusMenu;
struct BusInterface;

/// Whether there is the part of a desktop with which items register. Bars that understand such items bring
/// one along.
enum class WatcherState { Present, Absent };

/// What the item asks and tells the rest of the program.
struct ItemSurroundings {
    /// Where the pointer stands, in a session in which that is more certain than what any host says.
    std::function<std::optional<ScreenPixel>()> pointer = [] { return std::optional<ScreenPixel>(); };
    /// Receives the token with which the host lets the next window come to the front.
    std::function<void(const std::string&)> tokenCame = [](const std::string&) {};
    /// Hears whether there is text beside the icon, as often as that changes; not every bar draws it. At
    /// first there is none.
    std::function<void(bool)> textShown = [](bool) {};
};

/// The menu-bar item as an org.kde.StatusNotifierItem of the session bus, which every desktop with a tray
/// understands. It registers with each watcher that appears, at once and without asking whether a host is
/// there: the bar often starts later than the program, and restarts. Without a bus it does nothing.
class StatusNotifierItem final {
public:
    /// `watcherSeen` hears of the watcher that is there or not at first, and of each change.
    StatusNotifierItem(
        EventLoop& loop, Bus& bus, ItemSurroundings surroundings,
        std::function<void(WatcherState)> watcherSeen = [](WatcherState) {});
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;
    ~StatusNotifierItem();

    void install(MenuBarAction activated, std::vector<MenuBarCommand> commands);
    void setLabel(const MenuBarLabel& label);
    bool isShown() const { return watcher == WatcherState::Present; }

private:
    BusInterface description();
    void showLabelAgain();
    void announceToolTip();
    void toolTipPauseOver();
    void announceLabel(const std::string& text);
    std::string name() const;
    void takeName();
    void lookForWatcher();
    void watcherIs(WatcherState state);
    void watcherAppeared(const std::string& process);
    void registerItem();
    void registerAgainUnlessRead();
    void activate(ScreenPixel reported);
    std::optional<ScreenPixel> place(ScreenPixel reported) const;

    EventLoop& loop;
    Bus& bus;
    ItemSurroundings surroundings;
    std::function<void(WatcherState)> watcherSeen;
    WatcherState watcher = WatcherState::Absent;
    std::unique_ptr<BusSubscription> owners;
    std::unique_ptr<BusSubscription> question;
    std::unique_ptr<BusSubscription> registration;
    /// The process of the bar that was there last.
    std::string bar;
    /// The last part of its name, which rises when the item gives that up for another one.
    int number = 1;
    /// Whether anybody has read it since it was registered.
    bool isRead = false;
    LoopTimer timeToRead;
    MenuBarLabel current;
    LoopTimer toolTipPause;
    bool toolTipIsBehind = false;
    std::vector<IconPixmap> pixmaps;
    MenuBarAction activated;
    std::unique_ptr<DbusMenu> menu;
    std::unique_ptr<BusObject> object;
    Lifetime lifetime;
};
