#pragma once

#include "model/AppState.h"
#include "support/Published.h"
#include "windows/Theme.h"
#include "windows/ui/View.h"

#include <QCoreApplication>
#include <QString>

#include <functional>
#include <memory>

class Desktop;
class Folders;
class ListenAccess;
class Platform;
class UtilityWindow;
class WindowPlatform;

/// A picture that comes with the program, or a symbol where it is missing or cannot be read. To be given a
/// size, which it fills.
struct AssetImage {
    QString name;
    QString fallbackSymbol;
    const Folders& folders;

    PictureView body() const;
};

/// An icon with a heading and a text beside it, both as they are: no translation is looked up.
struct InfoRow {
    QString symbol;
    ThemeColor color;
    QString title;
    QString detail;

    View body() const;
};

struct WelcomePage {
    const Folders& folders;

    StackView body() const;

private:
    Q_DECLARE_TR_FUNCTIONS(WelcomePage)
};

/// What the program records and what it does not.
struct PrivacyPage {
    StackView body() const;

private:
    Q_DECLARE_TR_FUNCTIONS(PrivacyPage)
};

/// Why the permission is needed, and how things stand with it at this moment.
struct PermissionPage {
    AppState& state;
    ListenAccess& listenAccess;
    Desktop& desktop;

    StackView body() const;

private:
    View statusCard() const;
    StackView counting() const;
    StackView relaunch() const;
    StackView waiting() const;
    View commandToGrant() const;

    Q_DECLARE_TR_FUNCTIONS(PermissionPage)
};

struct DonePage {
    AppState& state;
    const Folders& folders;

    StackView body() const;

private:
    View settings() const;

    Q_DECLARE_TR_FUNCTIONS(DonePage)
};

/// The setup assistant: one of its pages, and below it where the user is and how to go on.
struct OnboardingView {
    AppState& state;
    Published<int>& page;
    const Folders& folders;
    ListenAccess& listenAccess;
    Desktop& desktop;
    /// Less where the screen has no room for all of it: the page gives way, and the footer stays.
    int height = fullHeight;

    static constexpr int fullHeight = 560;
    static constexpr int pageCount = 4;

    View body() const;

private:
    StackView currentPage() const;
    View footer() const;
    View dots() const;
    View backButton() const;
    View primaryButton() const;
    bool isLast() const { return page >= pageCount - 1; }

    Q_DECLARE_TR_FUNCTIONS(OnboardingView)
};

/// Owns the setup assistant's window: made at the first `show`, kept and reused. Closing the window is not
/// finishing the assistant.
class OnboardingWindowController final : public OnboardingWindow {
public:
    /// The platforms must outlive the controller. `prepare` is called before the window is made.
    OnboardingWindowController(
        Platform& platform, WindowPlatform& windowPlatform, std::function<void()> prepare);
    OnboardingWindowController(const OnboardingWindowController&) = delete;
    OnboardingWindowController& operator=(const OnboardingWindowController&) = delete;
    ~OnboardingWindowController() override;

    void show(AppState& state, int startPage) override;
    void close() override;

private:
    Platform& platform;
    WindowPlatform& windowPlatform;
    std::function<void()> prepare;
    std::unique_ptr<UtilityWindow> window;
    Observers::Subscription observation;
};
