#include "KnuckletApp.h"

#include "PanelWindow.h"
#include "Theme.h"
#include "platform/Desktop.h"
#include "platform/Platform.h"

#include <memory>
#include <string>
#include <utility>

namespace {

// The assistant and the day card have no windows yet.
class NoOnboardingWindow final : public OnboardingWindow {
public:
    void show(AppState&, int) override { }
    void close() override { }
};

class NoShareCardWindow final : public ShareCardWindow {
public:
    void show(AppState&) override { }
};

WindowFactories windowFactories()
{
    return {
        .onboarding = [] { return std::make_unique<NoOnboardingWindow>(); },
        .shareCard = [] { return std::make_unique<NoShareCardWindow>(); },
    };
}

}

KnuckletApp::KnuckletApp(Platform& platform)
    : platform(platform)
    , state(platform, windowFactories())
    , observation(state.observe([this] { modelChanged(); }))
{
    platform.menuBarItem().setLabel(menuBarLabel(state));
    platform.menuBarItem().install([this](ScreenPoint place) { togglePanel(place); },
        {
            { "Open Knucklet", [this](ScreenPoint place) { openPanel(place); } },
            { "Quit Knucklet", [&platform](ScreenPoint) { platform.desktop().terminate(); } },
        });
}

KnuckletApp::~KnuckletApp() = default;

// A burst of input changes the model thousands of times in one turn of the event loop; what shows follows
// once.
void KnuckletApp::modelChanged()
{
    if (updateIsPending)
        return;
    updateIsPending = true;
    platform.timers().callLater([weak = std::weak_ptr(self)] {
        if (const auto app = weak.lock())
            app->updateWhatShows();
    });
}

void KnuckletApp::updateWhatShows()
{
    updateIsPending = false;
    platform.menuBarItem().setLabel(menuBarLabel(state));
    if (panel)
        panel->setCounts(state.todayKeys, state.todayClicks);
}

void KnuckletApp::togglePanel(ScreenPoint place)
{
    if (panel && panel->isVisible())
        panel->hide();
    else
        openPanel(place);
}

void KnuckletApp::openPanel(ScreenPoint place)
{
    if (!panel)
        panel = std::make_unique<PanelWindow>();
    panel->setCounts(state.todayKeys, state.todayClicks);
    panel->openBeside({ place.x, place.y });
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
