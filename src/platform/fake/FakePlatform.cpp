#include "platform/fake/FakePlatform.h"

#include <algorithm>
#include <cassert>
#include <utility>

FakePlatform::FakePlatform(std::filesystem::path applicationSupport, Moment start)
    : supportFolder(std::move(applicationSupport))
    , wallClock(start)
{
}

void FakePlatform::press(std::optional<Moment> moment)
{
    sendToTap({ .kind = TapEvent::Kind::Key, .moment = moment });
}

void FakePlatform::hold(int repeats)
{
    press();
    for (int i = 0; i < repeats; ++i)
        sendToTap({ .kind = TapEvent::Kind::RepeatedKey });
}

void FakePlatform::click(std::optional<Moment> moment)
{
    sendToTap({ .kind = TapEvent::Kind::Click, .moment = moment });
    if (monitor)
        monitor(moment);
}

void FakePlatform::disableTap()
{
    assert(tapEnabled);
    tapEnabled = false;
    tapHandler({ .kind = TapEvent::Kind::Disabled });
}

void FakePlatform::advance(std::chrono::milliseconds time)
{
    const auto end = uptime + time;
    for (;;) {
        const auto next
            = std::ranges::min_element(timersRunning, {}, [](const auto& entry) { return entry.second.due; });
        if (next == timersRunning.end() || next->second.due > end)
            break;
        auto& [interval, due, tick] = next->second;
        wallClock += due - uptime;
        uptime = due;
        due += interval;
        // A copy, since a tick may invalidate its own timer.
        const auto call = tick;
        call();
    }
    wallClock += end - uptime;
    uptime = end;
}

void FakePlatform::runDeferred()
{
    while (!deferred.empty()) {
        const auto call = std::move(deferred.front());
        deferred.pop_front();
        call();
    }
}

void FakePlatform::quit() { terminate(); }

void FakePlatform::answerNewInstance() { std::exchange(newInstanceAnswered, {})(); }

void FakePlatform::startAgain() { startedAgain(); }

void FakePlatform::setAppearance(ColorScheme newScheme, Motion newMotion)
{
    scheme = newScheme;
    motionWanted = newMotion;
    appearanceObservers.notify();
}

void FakePlatform::pressOutside()
{
    pressHeld = true;
    if (const auto tell = pressedOutside)
        tell();
}

// Tests serve it step by step.
int FakePlatform::run()
{
    runDeferred();
    return 0;
}

void FakePlatform::clickMenuBarItem(ScreenPixel place) { menuBarItemActivated(place); }

void FakePlatform::chooseCommand(const std::string& title, std::optional<ScreenPixel> place)
{
    const auto command = std::ranges::find(menuBarCommands, title, &MenuBarCommand::title);
    assert(command != menuBarCommands.end());
    command->action(place);
}

void FakePlatform::choosePlace(const std::filesystem::path& place)
{
    const auto panel = std::move(savePanels.front());
    savePanels.pop_front();
    panel.chosen(place);
}

std::optional<bool> FakePlatform::setting(const std::string& key) const
{
    const auto found = settingValues.find(key);
    return found == settingValues.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::string> FakePlatform::proposedNames() const
{
    std::vector<std::string> names;
    for (const auto& panel : savePanels)
        names.push_back(panel.proposedName);
    return names;
}

std::vector<std::string> FakePlatform::commands() const
{
    std::vector<std::string> titles;
    for (const auto& command : menuBarCommands)
        titles.push_back(command.title);
    return titles;
}

std::vector<std::chrono::milliseconds> FakePlatform::runningTimers() const
{
    std::vector<std::chrono::milliseconds> intervals;
    for (const auto& [id, timer] : timersRunning)
        intervals.push_back(timer.interval);
    return intervals;
}

Observers::Subscription FakePlatform::observe(std::function<void()> changed)
{
    return appearanceObservers.add(std::move(changed));
}

Moment FakePlatform::now() const
{
    calls.emplace_back("read clock");
    return wallClock;
}

std::optional<std::filesystem::path> FakePlatform::applicationSupport() const
{
    calls.emplace_back("find folder");
    return supportFolder;
}

std::optional<std::filesystem::path> FakePlatform::picture(std::string_view name) const
{
    calls.push_back("find picture " + std::string(name));
    if (!pictureFolder)
        return {};
    auto file = *pictureFolder / name;
    file += ".png";
    return std::filesystem::exists(file) ? std::optional(file) : std::nullopt;
}

void FakePlatform::onWillTerminate(std::function<void()> observer)
{
    calls.emplace_back("observe termination");
    terminationObservers.push_back(std::move(observer));
}

void FakePlatform::terminate()
{
    calls.emplace_back("terminate");
    for (const auto& observer : terminationObservers)
        observer();
    terminated = true;
}

void FakePlatform::openNewInstance(std::function<void()> done)
{
    calls.emplace_back("open new instance");
    newInstanceAnswered = std::move(done);
}

void FakePlatform::openInputMonitoringSettings()
{
    calls.push_back("open " + std::string(inputMonitoringSettingsUrl));
}

bool FakePlatform::create(std::function<void(const TapEvent&)> handler)
{
    calls.emplace_back("create tap");
    if (tapRefused)
        return false;
    tapHandler = std::move(handler);
    return true;
}

void FakePlatform::enable()
{
    assert(tapHandler);
    calls.emplace_back("enable tap");
    tapEnabled = true;
}

bool FakePlatform::claim()
{
    calls.emplace_back("claim");
    return !placeIsTaken;
}

void FakePlatform::onStartedAgain(std::function<void()> callback)
{
    calls.emplace_back("observe starts");
    startedAgain = std::move(callback);
}

bool FakePlatform::preflight()
{
    calls.emplace_back("preflight");
    return accessGranted;
}

void FakePlatform::request() { calls.emplace_back("request access"); }

LoginItemStatus FakePlatform::status()
{
    calls.emplace_back("login item status");
    return loginItemStatus;
}

bool FakePlatform::registerItem()
{
    calls.emplace_back("register login item");
    if (!loginItemRefused)
        loginItemStatus = LoginItemStatus::Enabled;
    return !loginItemRefused;
}

bool FakePlatform::unregisterItem()
{
    calls.emplace_back("unregister login item");
    if (!loginItemRefused)
        loginItemStatus = LoginItemStatus::NotRegistered;
    return !loginItemRefused;
}

void FakePlatform::install(
    MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu /*showMenu*/)
{
    calls.emplace_back("install menu-bar item");
    menuBarItemActivated = std::move(activated);
    menuBarCommands = std::move(commands);
}

void FakePlatform::setLabel(const MenuBarLabel& newLabel)
{
    calls.emplace_back("set label");
    label = newLabel;
}

bool FakePlatform::start(std::function<void(std::optional<Moment>)> handler)
{
    calls.emplace_back("start monitor");
    if (mouseMonitorRefused)
        return false;
    assert(!monitor);
    monitor = std::move(handler);
    return true;
}

void FakePlatform::stop()
{
    assert(monitor);
    calls.emplace_back("stop monitor");
    monitor = nullptr;
}

// A pixel is a point here.
ScreenPoint FakePlatform::pointAt(std::optional<ScreenPixel> place)
{
    if (place)
        return { place->x, place->y };
    return { freeArea.x + freeArea.width - 1, freeArea.y };
}

void FakePlatform::watchPressesOutside(std::function<void()> pressed)
{
    calls.emplace_back("watch presses");
    pressedOutside = std::move(pressed);
}

void FakePlatform::stopWatching()
{
    calls.emplace_back("stop watching presses");
    pressedOutside = nullptr;
}

void FakePlatform::setPicture(std::string_view png)
{
    calls.emplace_back("copy picture");
    copied = png;
}

void FakePlatform::begin(
    const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen)
{
    calls.push_back("open save panel for " + proposedName);
    savePanels.push_back({ proposedName, std::move(chosen) });
}

void FakePlatform::share(std::string_view png, const std::string& title)
{
    calls.push_back("share " + title);
    shared.push_back({ std::string(png), title });
}

bool FakePlatform::boolean(std::string_view key) const
{
    calls.push_back("read " + std::string(key));
    const auto found = settingValues.find(key);
    return found != settingValues.end() && found->second;
}

void FakePlatform::setBoolean(std::string_view key, bool value)
{
    calls.push_back("write " + std::string(key) + (value ? " true" : " false"));
    settingValues.insert_or_assign(std::string(key), value);
}

TimerId FakePlatform::scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick)
{
    calls.push_back("schedule every " + std::to_string(interval.count()) + " ms");
    timersRunning.emplace(nextTimer, RunningTimer { interval, uptime + interval, std::move(tick) });
    return TimerId { nextTimer++ };
}

void FakePlatform::invalidate(TimerId timer)
{
    calls.emplace_back("invalidate timer");
    timersRunning.erase(static_cast<std::uint64_t>(timer));
}

void FakePlatform::callLater(std::function<void()> call)
{
    calls.emplace_back("call later");
    deferred.push_back(std::move(call));
}

void FakePlatform::activate(NativeWindow window)
{
    calls.emplace_back("activate window");
    activated.push_back(window);
}

void FakePlatform::sendToTap(const TapEvent& event)
{
    if (tapEnabled)
        tapHandler(event);
}
