#pragma once

#include "model/DayFormatter.h"
#include "model/StatsStore.h"
#include "model/Windows.h"
#include "platform/EventTap.h"
#include "platform/MouseMonitor.h"
#include "platform/Timers.h"
#include "support/Lifetime.h"
#include "support/Observers.h"
#include "support/Published.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class Platform;

/// How the model gets its windows. Both functions are called once, during start-up.
struct WindowFactories {
    std::function<std::unique_ptr<OnboardingWindow>()> onboarding;
    std::function<std::unique_ptr<ShareCardWindow>()> shareCard;
};

/// The one model object of the running program: today's counters, the permission, the settings, the store,
/// the windows, and every source of events. Lives on the main thread from start-up to the end of the process.
class AppState final {
public:
    /// Starts the program: reads what was kept, starts counting, and has the setup assistant opened a moment
    /// later if it was never finished. The platform must outlive the state.
    AppState(Platform& platform, const WindowFactories& windows);
    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    /// Calls once for every assignment of a published property, for as long as the subscription is kept.
    [[nodiscard]] Observers::Subscription observe(std::function<void()> changed);

    /// The setup assistant has been gone through, for this and all later runs; its window closes.
    void finishOnboarding();
    /// Saves, starts another instance of the program and ends this one, whether or not the other came up.
    void relaunch();

private:
    Platform& platform;
    Observers observers;

public:
    Published<std::int64_t> todayKeys;
    Published<std::int64_t> todayClicks;
    Published<bool> keyAccessGranted;
    /// The permission is granted, but the tap was refused: only a new process can count keys.
    Published<bool> needsRelaunch;
    Published<bool> showCountsInMenuBar;
    Published<bool> launchAtLogin;
    Published<bool> hasCompletedOnboarding;

    StatsStore store;
    const std::unique_ptr<OnboardingWindow> onboarding;
    const std::unique_ptr<ShareCardWindow> shareCard;
    /// The key of the day that the two counters belong to.
    std::string todayKey;

private:
    void applyLaunchAtLogin();
    void startTap();
    void startMouseMonitor();
    void stopMouseMonitor();
    void startPermissionTimer();
    void startSaveTimer();
    void pollPermission();
    void rollDayIfNeeded();
    void count(const DayCount& press, std::optional<Moment> moment);
    void handle(const TapEvent& event);

    /// The tap and the monitor that were started, if any.
    EventTap* tap = nullptr;
    MouseMonitor* mouseMonitor = nullptr;
    std::optional<TimerId> saveTimer;
    std::optional<TimerId> permissionTimer;

    /// How many times in a row the system has refused what was asked of the login item.
    int loginItemRefusals = 0;
    /// The moments that belong to `todayKey`, as far as they were worked out.
    DaySpan todaySpan;
    Lifetime lifetime;
};
