#pragma once

#include "model/AppState.h"
#include "platform/MenuBarItem.h"
#include "support/Lifetime.h"

#include <functional>
#include <memory>

/// The application: the one model, its item in the menu bar, and the windows once they are wanted.
class KnuckletApp final {
public:
    /// Called at the first window, and at the next one again where it gives nothing: such a program counts
    /// all the same.
    using MakeWindows = std::function<std::unique_ptr<Windows>(AppState&)>;

    /// Starts the program. The platform must outlive it.
    KnuckletApp(Platform& platform, MakeWindows makeWindows);
    KnuckletApp(const KnuckletApp&) = delete;
    KnuckletApp& operator=(const KnuckletApp&) = delete;
    ~KnuckletApp();

private:
    class OnboardingOnDemand;
    class ShareCardOnDemand;

    WindowFactories windowFactories();
    /// Null where they cannot be had.
    Windows* windows();
    void installItem();
    void modelChanged();
    void updateLabel();
    void startedAgain();

    Platform& platform;
    MakeWindows makeWindows;
    AppState state;
    std::unique_ptr<Windows> madeWindows;
    /// What stands in the menu bar.
    MenuBarLabel label;
    bool labelIsPending = false;
    Observers::Subscription modelObservation;
    Lifetime lifetime;
};

/// What stands in the menu bar: the counts when the user wants them there, keys first, and the counts at
/// every hover.
MenuBarLabel menuBarLabel(const AppState& state);
