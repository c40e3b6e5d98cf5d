#include "support/ShownPanel.h"

#include "windows/ui/Look.h"

#include <QApplication>
#include <QTest>

ShownPanel::ShownPanel(const std::string& locale)
    : dates(locale)
{
    static const bool fontsLoaded = (loadFonts(), true);
    Q_UNUSED(fontsLoaded);
}

ShownPanel::~ShownPanel()
{
    QApplication::setLayoutDirection(Qt::LeftToRight);
    applyLook(ColorScheme::Light, Motion::Full);
}

Host& ShownPanel::open()
{
    if (!state) {
        state = &program.start();
        auto& platform = program.platform;
        auto& settings = platform.appearance();
        const auto apply = [&settings] { applyLook(settings.colorScheme(), settings.motion()); };
        apply();
        appearance = settings.observe(apply);

        host = std::make_unique<Host>([this, &platform] {
            ++renders;
            return StatsView { *state, dates, platform.listenAccess(), platform.desktop() }.body();
        });
        model = state->observe([this] { host->invalidate(); });
    }
    host->show();
    return *host;
}
