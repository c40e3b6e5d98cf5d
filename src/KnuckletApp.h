#pragma once

#include "AppState.h"
#include "DateTexts.h"
#include "platform/MenuBarItem.h"

#include <QCoreApplication>

#include <memory>

class Host;
class PanelWindow;

/// The application: the one model, its item in the menu bar, and the panel under it.
class KnuckletApp final {
public:
    /// Starts the program. The platform must outlive it, and the toolkit's application object must exist.
    explicit KnuckletApp(Platform& platform);
    KnuckletApp(const KnuckletApp&) = delete;
    KnuckletApp& operator=(const KnuckletApp&) = delete;
    ~KnuckletApp();

private:
    WindowFactories windowFactories();
    void modelChanged();
    void updateLabel();
    void togglePanel(ScreenPoint place);
    void openPanel(ScreenPoint place);
    void openPanelAsWindow();
    void preparePanel();
    void makePanel();
    /// Before the first window is made.
    void prepareViews();
    void applyAppearance();

    Platform& platform;
    AppState state;
    std::unique_ptr<const DateTexts> dates;
    std::unique_ptr<PanelWindow> panel;
    /// The panel's content, which belongs to the panel.
    Host* panelContent = nullptr;
    /// What stands in the menu bar.
    MenuBarLabel label;
    bool labelIsPending = false;
    Observers::Subscription modelObservation;
    Observers::Subscription appearanceObservation;
    std::shared_ptr<KnuckletApp> self { this, [](KnuckletApp*) {} };

    Q_DECLARE_TR_FUNCTIONS(KnuckletApp)
};

/// What stands in the menu bar: the counts when the user wants them there, keys first, and the counts at
/// every hover.
MenuBarLabel menuBarLabel(const AppState& state);
