#pragma once

#include "model/Windows.h"
#include "support/Observers.h"
#include "windows/CommandMenu.h"
#include "windows/Onboarding.h"
#include "windows/ShareCard.h"

#include <memory>

class AppState;
class DateTexts;
class PanelWindow;
class Platform;
class WindowPlatform;

/// The windows as they are: each is made at its first opening and kept.
class ProgramWindows final
    : public Windows
    , private Panel {
public:
    /// All three must outlive the windows. Needs the toolkit's application object.
    ProgramWindows(Platform& platform, WindowPlatform& windowPlatform, AppState& state);
    ProgramWindows(const ProgramWindows&) = delete;
    ProgramWindows& operator=(const ProgramWindows&) = delete;
    ~ProgramWindows() override;

    OnboardingWindow& onboarding() override { return assistant; }
    ShareCardWindow& shareCard() override { return dayCard; }
    Panel& panel() override { return *this; }
    void showMenu(const std::vector<MenuBarCommand>& commands, std::optional<ScreenPixel> place) override;

private:
    void toggle(std::optional<ScreenPixel> place) override;
    void open(std::optional<ScreenPixel> place) override;
    void openAsWindow() override;

    PanelWindow& preparedPanel();
    /// Before the first window is made.
    void prepareViews();
    void applyAppearance();

    Platform& platform;
    WindowPlatform& windowPlatform;
    AppState& state;
    std::unique_ptr<const DateTexts> dates;
    std::unique_ptr<PanelWindow> panelWindow;
    CommandMenu menu;
    OnboardingWindowController assistant;
    ShareCardWindowController dayCard;
    Observers::Subscription modelObservation;
    Observers::Subscription appearanceObservation;
};
