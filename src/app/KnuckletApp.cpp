#include "app/KnuckletApp.h"

#include "model/CompactCount.h"
#include "platform/Desktop.h"
#include "platform/Instance.h"
#include "platform/Platform.h"
#include "support/Translation.h"

#include <string>
#include <utility>

class KnuckletApp::OnboardingOnDemand final : public OnboardingWindow {
public:
    explicit OnboardingOnDemand(KnuckletApp& app)
        : app(app)
    {
    }

    void show(AppState& state, int startPage) override
    {
        if (auto* windows = app.windows())
            windows->onboarding().show(state, startPage);
    }

    void close() override
    {
        if (app.madeWindows)
            app.madeWindows->onboarding().close();
    }

private:
    KnuckletApp& app;
};

class KnuckletApp::ShareCardOnDemand final : public ShareCardWindow {
public:
    explicit ShareCardOnDemand(KnuckletApp& app)
        : app(app)
    {
    }

    void show(AppState& state) override
    {
        if (auto* windows = app.windows())
            windows->shareCard().show(state);
    }

private:
    KnuckletApp& app;
};

KnuckletApp::KnuckletApp(Platform& platform, MakeWindows makeWindows)
    : platform(platform)
    , makeWindows(std::move(makeWindows))
    , state(platform, windowFactories())
    , modelObservation(state.observe([this] { modelChanged(); }))
{
    updateLabel();
    installItem();
    platform.instance().onStartedAgain(lifetime.guard([this] { startedAgain(); }));
}

KnuckletApp::~KnuckletApp() = default;

WindowFactories KnuckletApp::windowFactories()
{
    return {
        .onboarding = [this] { return std::make_unique<OnboardingOnDemand>(*this); },
        .shareCard = [this] { return std::make_unique<ShareCardOnDemand>(*this); },
    };
}

Windows* KnuckletApp::windows()
{
    if (!madeWindows)
        madeWindows = makeWindows(state);
    return madeWindows.get();
}

void KnuckletApp::installItem()
{
    platform.menuBarItem().install(lifetime.guard([this](std::optional<ScreenPixel> place) {
        if (auto* windows = this->windows())
            windows->panel().toggle(place);
    }),
        {
            { translate("KnuckletApp", "Open Knucklet"),
                lifetime.guard([this](std::optional<ScreenPixel> place) {
                    if (auto* windows = this->windows())
                        windows->panel().open(place);
                }) },
            { translate("KnuckletApp", "Setup Assistant…"),
                lifetime.guard([this](std::optional<ScreenPixel>) { state.onboarding->show(state, 0); }) },
            { translate("KnuckletApp", "Quit Knucklet"),
                [&desktop = platform.desktop()](std::optional<ScreenPixel>) { desktop.terminate(); } },
        },
        lifetime.guard([this](const std::vector<MenuBarCommand>& commands, std::optional<ScreenPixel> place) {
            if (auto* windows = this->windows())
                windows->showMenu(commands, place);
        }));
}

void KnuckletApp::modelChanged()
{
    // A burst of input changes the model thousands of times in one turn of the event loop; the label follows
    // once. It mostly reads as before, and to find that out costs a hundredth of another turn.
    if (labelIsPending || menuBarLabel(state) == label)
        return;
    labelIsPending = true;
    platform.timers().callLater(lifetime.guard([this] { updateLabel(); }));
}

void KnuckletApp::updateLabel()
{
    labelIsPending = false;
    label = menuBarLabel(state);
    platform.menuBarItem().setLabel(label);
}

void KnuckletApp::startedAgain()
{
    auto* windows = this->windows();
    if (!windows)
        return;
    if (platform.menuBarItem().isShown())
        windows->panel().open({});
    else
        windows->panel().openAsWindow();
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
