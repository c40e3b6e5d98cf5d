#include "KnuckletApp.h"

#include "Onboarding.h"
#include "PanelWindow.h"
#include "ShareCard.h"
#include "StatsView.h"
#include "Theme.h"
#include "platform/Appearance.h"
#include "platform/Desktop.h"
#include "platform/Instance.h"
#include "platform/PanelHost.h"
#include "platform/Platform.h"
#include "ui/Language.h"
#include "ui/Look.h"
#include "ui/View.h"

#include <QApplication>
#include <QLocale>
#include <QScreen>

#include <memory>
#include <string>
#include <utility>

namespace {

/// Where most menu bars have their items, for when nothing was clicked beside which to open.
ScreenPoint cornerOfTheScreen()
{
    const auto* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return {};
    const auto corner = screen->availableGeometry().topRight();
    return { corner.x(), corner.y() };
}

}

KnuckletApp::KnuckletApp(Platform& platform)
    : platform(platform)
    , state(platform, windowFactories())
    , modelObservation(state.observe([this] { modelChanged(); }))
{
    loadTranslation(QLocale());
    updateLabel();
    platform.menuBarItem().install(
        [weak = std::weak_ptr(self)](ScreenPoint place) {
            if (const auto app = weak.lock())
                app->togglePanel(place);
        },
        {
            { tr("Open Knucklet").toStdString(),
                [weak = std::weak_ptr(self)](ScreenPoint place) {
                    if (const auto app = weak.lock())
                        app->openPanel(place);
                } },
            { tr("Setup Assistant…").toStdString(),
                [weak = std::weak_ptr(self)](ScreenPoint) {
                    if (const auto app = weak.lock())
                        app->state.onboarding->show(app->state, 0);
                } },
            { tr("Quit Knucklet").toStdString(),
                [&platform](ScreenPoint) { platform.desktop().terminate(); } },
        });
    platform.instance().onStartedAgain([this] {
        if (this->platform.menuBarItem().isShown())
            openPanel(cornerOfTheScreen());
        else
            openPanelAsWindow();
    });
}

KnuckletApp::~KnuckletApp() = default;

WindowFactories KnuckletApp::windowFactories()
{
    return {
        .onboarding =
            [this] {
                return std::make_unique<OnboardingWindowController>(platform, [this] { prepareViews(); });
            },
        .shareCard =
            [this] {
                return std::make_unique<ShareCardWindowController>(platform, [this] { prepareViews(); });
            },
    };
}

void KnuckletApp::modelChanged()
{
    if (panelContent)
        panelContent->invalidate();
    // A burst of input changes the model thousands of times in one turn of the event loop; the label follows
    // once. It mostly reads as before, and to find that out costs a hundredth of another turn.
    if (labelIsPending || menuBarLabel(state) == label)
        return;
    labelIsPending = true;
    platform.timers().callLater([weak = std::weak_ptr(self)] {
        if (const auto app = weak.lock())
            app->updateLabel();
    });
}

void KnuckletApp::updateLabel()
{
    labelIsPending = false;
    label = menuBarLabel(state);
    platform.menuBarItem().setLabel(label);
}

void KnuckletApp::togglePanel(ScreenPoint place)
{
    if (panel && panel->isVisible())
        panel->hide();
    else if (!platform.panelHost().isClickSpent())
        openPanel(place);
}

void KnuckletApp::openPanel(ScreenPoint place)
{
    preparePanel();
    panel->openBeside(place);
}

void KnuckletApp::openPanelAsWindow()
{
    preparePanel();
    panel->openAsWindow();
}

void KnuckletApp::preparePanel()
{
    if (!panel)
        makePanel();
    // Its size has to stand before it is placed.
    panelContent->renderNow();
}

// Made at the first opening and kept: fonts, formatters and widgets would cost a program that is never opened
// four megabytes for nothing.
void KnuckletApp::makePanel()
{
    prepareViews();
    auto content = std::make_unique<Host>([this] {
        return StatsView { state, platform.clock(), *dates, platform.listenAccess(), platform.desktop() }
            .body();
    });
    panelContent = content.get();
    panel
        = std::make_unique<PanelWindow>(content.release(), platform.panelHost(), platform.windowActivation());
}

void KnuckletApp::prepareViews()
{
    if (dates)
        return;
    loadFonts();
    applyAppearance();
    appearanceObservation = platform.appearance().observe([this] { applyAppearance(); });
    dates = std::make_unique<DateTexts>(DateTexts::forUser());
    QApplication::setLayoutDirection(dates->isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
}

void KnuckletApp::applyAppearance()
{
    applyLook(platform.appearance().colorScheme(), platform.appearance().motion());
}

MenuBarLabel menuBarLabel(const AppState& state)
{
    const auto keys = compactCount(state.todayKeys);
    const auto clicks = compactCount(state.todayClicks);
    return {
        .text = state.showCountsInMenuBar ? keys + " · " + clicks : std::string(),
        .toolTip = keys + " keys · " + clicks + " clicks",
    };
}
