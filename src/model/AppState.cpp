#include "model/AppState.h"

#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/ListenAccess.h"
#include "platform/LoginItem.h"
#include "platform/Platform.h"
#include "platform/Settings.h"
#include "support/Fatal.h"

#include <chrono>
#include <string_view>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds permissionInterval = 2s;
constexpr std::chrono::milliseconds saveInterval = 10s;

constexpr std::string_view showCountsKey = "showCountsInMenuBar";
constexpr std::string_view completedOnboardingKey = "hasCompletedOnboarding";

}

AppState::AppState(Platform& platform, const WindowFactories& windows)
    : platform(platform)
    , todayKeys([this] { observers.notify(); })
    , todayClicks([this] { observers.notify(); })
    , keyAccessGranted([this] { observers.notify(); })
    , needsRelaunch([this] { observers.notify(); })
    , showCountsInMenuBar([this] { observers.notify(); },
          [&settings = platform.settings()](bool shows) { settings.setBoolean(showCountsKey, shows); })
    , launchAtLogin([this] { observers.notify(); }, [this](bool) { applyLaunchAtLogin(); })
    , hasCompletedOnboarding([this] { observers.notify(); })
    , store(platform.folders(), platform.clock())
    , onboarding(windows.onboarding())
    , shareCard(windows.shareCard())
{
    showCountsInMenuBar.initialize(platform.settings().boolean(showCountsKey));
    launchAtLogin.initialize(platform.loginItem().status() == LoginItemStatus::Enabled);
    hasCompletedOnboarding.initialize(platform.settings().boolean(completedOnboardingKey));

    todaySpan = StatsStore::dayFormatter().span(platform.clock().now());
    todayKey = todaySpan.key;
    const auto today = store.count(todayKey);
    todayKeys.initialize(today.keys);
    todayClicks.initialize(today.clicks);

    keyAccessGranted.initialize(platform.listenAccess().preflight());
    if (keyAccessGranted) {
        startTap();
    } else {
        startMouseMonitor();
        startPermissionTimer();
    }

    startSaveTimer();
    // No rollover here: what was counted belongs to the day it was counted for.
    platform.desktop().onWillTerminate(lifetime.guard([this] { store.saveIfDirty(); }));

    if (!hasCompletedOnboarding)
        platform.timers().callLater(lifetime.guard([this] { onboarding->show(*this, 0); }));
}

Observers::Subscription AppState::observe(std::function<void()> changed)
{
    return observers.add(std::move(changed));
}

void AppState::finishOnboarding()
{
    if (!hasCompletedOnboarding) {
        hasCompletedOnboarding = true;
        platform.settings().setBoolean(completedOnboardingKey, true);
    }
    onboarding->close();
}

void AppState::relaunch()
{
    store.saveIfDirty();
    platform.desktop().openNewInstance(lifetime.guard(
        [this] { platform.timers().callLater([&desktop = platform.desktop()] { desktop.terminate(); }); }));
}

// A refusal assigns what the system says instead, which comes back here: asking for what is already so should
// succeed. Where even that is refused, the system's last answer stands.
void AppState::applyLaunchAtLogin()
{
    if (loginItemRefusals == 2)
        return;
    auto& loginItem = platform.loginItem();
    if (launchAtLogin ? loginItem.registerItem() : loginItem.unregisterItem())
        return;
    ++loginItemRefusals;
    launchAtLogin = loginItem.status() == LoginItemStatus::Enabled;
    --loginItemRefusals;
}

void AppState::startTap()
{
    const bool isCreated
        = platform.eventTap().create(lifetime.guard([this](const TapEvent& event) { handle(event); }));
    if (!isCreated) {
        needsRelaunch = true;
        startMouseMonitor();
        return;
    }
    // The tap reports clicks as well: from here on the monitor would count them twice.
    stopMouseMonitor();
    tap = &platform.eventTap();
    tap->enable();
}

void AppState::startMouseMonitor()
{
    if (mouseMonitor)
        return;
    const bool isStarted = platform.mouseMonitor().start(
        lifetime.guard([this](std::optional<Moment> moment) { count({ .keys = 0, .clicks = 1 }, moment); }));
    if (isStarted)
        mouseMonitor = &platform.mouseMonitor();
}

void AppState::stopMouseMonitor()
{
    if (!mouseMonitor)
        return;
    mouseMonitor->stop();
    mouseMonitor = nullptr;
}

void AppState::startPermissionTimer()
{
    permissionTimer = platform.timers().scheduleRepeating(
        permissionInterval, lifetime.guard([this] { pollPermission(); }));
}

void AppState::startSaveTimer()
{
    saveTimer = platform.timers().scheduleRepeating(saveInterval, lifetime.guard([this] {
        // The zone may have changed, and with it the day. A press does not look: that would cost it more than
        // all the rest.
        todaySpan = {};
        rollDayIfNeeded();
        store.saveIfDirty();
    }));
}

void AppState::pollPermission()
{
    if (!platform.listenAccess().preflight())
        return;
    keyAccessGranted = true;
    if (permissionTimer)
        platform.timers().invalidate(*permissionTimer);
    permissionTimer.reset();
    startTap();
}

void AppState::rollDayIfNeeded()
{
    const auto now = platform.clock().now();
    if (todaySpan.contains(now))
        return;
    todaySpan = StatsStore::dayFormatter().span(now);
    if (todaySpan.key == todayKey)
        return;
    store.saveIfDirty();
    todayKey = todaySpan.key;
    // Not read back from the store: a new day key starts an empty day, also after the clock was set back.
    todayKeys = 0;
    todayClicks = 0;
}

// The rollover comes first, so that the first event after midnight counts for the new day.
void AppState::count(const DayCount& press, std::optional<Moment> moment)
{
    rollDayIfNeeded();
    // A press may be told late. One from before midnight is none of today's.
    if (moment && *moment < todaySpan.begin) {
        const auto day = StatsStore::dayFormatter().key(*moment);
        if (day != todayKey) {
            store.add(press.keys, press.clicks, day);
            observers.notify();
            return;
        }
    }
    if (press.keys > 0)
        todayKeys = checkedAdd(todayKeys, press.keys);
    if (press.clicks > 0)
        todayClicks = checkedAdd(todayClicks, press.clicks);
    store.add(press.keys, press.clicks, todayKey);
}

void AppState::handle(const TapEvent& event)
{
    switch (event.kind) {
    case TapEvent::Kind::Key:
        count({ .keys = 1, .clicks = 0 }, event.moment);
        break;
    case TapEvent::Kind::RepeatedKey:
        break;
    case TapEvent::Kind::Click:
        count({ .keys = 0, .clicks = 1 }, event.moment);
        break;
    case TapEvent::Kind::Disabled:
        if (tap)
            tap->enable();
        break;
    }
}
