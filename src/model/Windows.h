#pragma once

#include "platform/MenuBarItem.h"

#include <optional>
#include <vector>

class AppState;

/// The setup assistant's window, as far as the model needs to know it.
class OnboardingWindow {
public:
    virtual ~OnboardingWindow() = default;

    /// Opens the assistant at a page, 0 being the first, or restarts it there.
    virtual void show(AppState& state, int startPage) = 0;
    /// Does nothing when the window is not open.
    virtual void close() = 0;
};

/// The day card's window, as far as the model needs to know it.
class ShareCardWindow {
public:
    virtual ~ShareCardWindow() = default;

    virtual void show(AppState& state) = 0;
};

/// The panel beside the menu-bar item.
class Panel {
public:
    virtual ~Panel() = default;

    /// After a click on the item: opens the panel beside it, or closes it.
    virtual void toggle(std::optional<ScreenPixel> place) = 0;
    virtual void open(std::optional<ScreenPixel> place) = 0;
    /// For where there is no menu bar: as a window with a frame, which stays open.
    virtual void openAsWindow() = 0;
};

/// All windows of the program. They are made at the first one that opens, and kept: most of a day nobody
/// looks.
class Windows {
public:
    virtual ~Windows() = default;

    virtual OnboardingWindow& onboarding() = 0;
    virtual ShareCardWindow& shareCard() = 0;
    virtual Panel& panel() = 0;
    virtual void showMenu(const std::vector<MenuBarCommand>& commands, std::optional<ScreenPixel> place) = 0;
};
