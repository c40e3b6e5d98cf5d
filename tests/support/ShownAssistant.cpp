#include "support/ShownAssistant.h"

#include "windows/Onboarding.h"
#include "windows/ui/Look.h"

#include <QApplication>
#include <QTest>

#include <chrono>

namespace {

using namespace std::chrono;

class NoShareCard final : public ShareCardWindow {
public:
    void show(AppState&) override { }
};

}

ShownAssistant::ShownAssistant()
    : platform(folder.path().toStdString(), sys_days(2026y / 11 / 15) + 12h)
{
    static const bool fontsLoaded = (loadFonts(), true);
    Q_UNUSED(fontsLoaded);
    platform.addPictures(PICTURES_FOLDER);
}

ShownAssistant::~ShownAssistant()
{
    state.reset();
    applyLook(ColorScheme::Light, Motion::Full);
}

AppState& ShownAssistant::start()
{
    auto& settings = platform.appearance();
    const auto apply = [&settings] { applyLook(settings.colorScheme(), settings.motion()); };
    apply();
    appearance = settings.observe(apply);
    state = std::make_unique<AppState>(platform,
        WindowFactories {
            .onboarding
            = [this] { return std::make_unique<OnboardingWindowController>(platform, platform, [] {}); },
            .shareCard = [] { return std::make_unique<NoShareCard>(); },
        });
    return *state;
}

QWidget& ShownAssistant::show(int startPage)
{
    if (!state)
        start();
    state->onboarding->show(*state, startPage);
    if (auto* shown = window())
        return *shown;
    QTest::qFail("The assistant has no window", __FILE__, __LINE__);
    return nothing;
}

QWidget* ShownAssistant::window() const
{
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (widget->windowTitle() == "Knucklet Setup")
            return widget;
    }
    return nullptr;
}
