#include "AppState.h"

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

constexpr EventTapParameters tapParameters {
    .location = TapLocation::Session,
    .placement = TapPlacement::HeadInsert,
    .options = TapOptions::ListenOnly,
    .eventsOfInterest = mouseDownMask | eventMask(EventType::KeyDown),
};

// A platform hands these values to its system as they are.
static_assert(static_cast<std::uint32_t>(tapParameters.location) == 1);
static_assert(static_cast<std::uint32_t>(tapParameters.placement) == 0);
static_assert(static_cast<std::uint32_t>(tapParameters.options) == 1);
static_assert(tapParameters.eventsOfInterest == 0x0200040A);
static_assert(mouseDownMask == 0x0200000A);
static_assert(static_cast<std::uint32_t>(EventType::LeftMouseDown) == 1);
static_assert(static_cast<std::uint32_t>(EventType::RightMouseDown) == 3);
static_assert(static_cast<std::uint32_t>(EventType::KeyDown) == 10);
static_assert(static_cast<std::uint32_t>(EventType::OtherMouseDown) == 25);
static_assert(static_cast<std::uint32_t>(EventType::TapDisabledByTimeout) == 0xFFFFFFFE);
static_assert(static_cast<std::uint32_t>(EventType::TapDisabledByUserInput) == 0xFFFFFFFF);
static_assert(static_cast<std::uint32_t>(EventField::KeyboardAutorepeat) == 8);

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
    platform.desktop().onWillTerminate([weak = std::weak_ptr(self)] {
        if (const auto state = weak.lock())
            state->store.saveIfDirty();
    });

    if (!hasCompletedOnboarding) {
        platform.timers().callLater([weak = std::weak_ptr(self)] {
            if (const auto state = weak.lock())
                state->onboarding->show(*state, 0);
        });
    }
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
    platform.desktop().openNewInstance([weak = std::weak_ptr(self)] {
        if (const auto state = weak.lock()) {
            state->platform.timers().callLater(
                [&desktop = state->platform.desktop()] { desktop.terminate(); });
        }
    });
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
    const auto created = platform.eventTap().create(tapParameters, &AppState::tapCallback, this);
    if (!created) {
        needsRelaunch = true;
        startMouseMonitor();
        return;
    }
    // The tap reports clicks as well: from here on the monitor would count them twice.
    stopMouseMonitor();
    tap = created;
    tapSource = platform.eventTap().makeRunLoopSource(*tap);
    platform.eventTap().addToMainRunLoop(*tapSource);
    platform.eventTap().enable(*tap);
}

void AppState::startMouseMonitor()
{
    if (mouseMonitor)
        return;
    mouseMonitor = platform.mouseMonitor().add(mouseDownMask, [weak = std::weak_ptr(self)] {
        if (const auto state = weak.lock())
            state->countClick();
    });
}

void AppState::stopMouseMonitor()
{
    if (!mouseMonitor)
        return;
    platform.mouseMonitor().remove(*mouseMonitor);
    mouseMonitor.reset();
}

void AppState::startPermissionTimer()
{
    permissionTimer = platform.timers().scheduleRepeating(permissionInterval, [weak = std::weak_ptr(self)] {
        if (const auto state = weak.lock())
            state->pollPermission();
    });
}

void AppState::startSaveTimer()
{
    saveTimer = platform.timers().scheduleRepeating(saveInterval, [weak = std::weak_ptr(self)] {
        if (const auto state = weak.lock()) {
            state->rollDayIfNeeded();
            state->store.saveIfDirty();
        }
    });
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
void AppState::countKey()
{
    rollDayIfNeeded();
    todayKeys = checkedAdd(todayKeys, 1);
    store.add(1, 0, todayKey);
}

void AppState::countClick()
{
    rollDayIfNeeded();
    todayClicks = checkedAdd(todayClicks, 1);
    store.add(0, 1, todayKey);
}

const TapEvent* AppState::tapCallback(EventType type, const TapEvent* event, void* userInfo)
{
    if (!userInfo)
        fatal();
    auto& state = *static_cast<AppState*>(userInfo);

    switch (type) {
    case EventType::LeftMouseDown:
    case EventType::RightMouseDown:
    case EventType::OtherMouseDown:
        state.countClick();
        break;
    case EventType::TapDisabledByTimeout:
    case EventType::TapDisabledByUserInput:
        if (state.tap)
            state.platform.eventTap().enable(*state.tap);
        break;
    case EventType::KeyDown:
        if (event->integer(EventField::KeyboardAutorepeat) == 0)
            state.countKey();
        break;
    }
    return event;
}
