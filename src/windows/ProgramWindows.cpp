#include "windows/ProgramWindows.h"

#include "model/AppState.h"
#include "platform/Appearance.h"
#include "platform/PanelHost.h"
#include "platform/Platform.h"
#include "platform/WindowPlatform.h"
#include "windows/DateTexts.h"
#include "windows/PanelWindow.h"
#include "windows/StatsView.h"
#include "windows/ui/Language.h"
#include "windows/ui/Look.h"

#include <QLocale>

ProgramWindows::ProgramWindows(Platform& platform, WindowPlatform& windowPlatform, AppState& state)
    : platform(platform)
    , windowPlatform(windowPlatform)
    , state(state)
    , assistant(platform, windowPlatform, [this] { prepareViews(); })
    , dayCard(platform, windowPlatform, [this] { prepareViews(); })
{
}

ProgramWindows::~ProgramWindows() = default;

void ProgramWindows::showMenu(const std::vector<MenuBarCommand>& commands, std::optional<ScreenPixel> place)
{
    prepareViews();
    menu.show(commands, windowPlatform.panelHost().pointAt(place), place);
}

void ProgramWindows::toggle(std::optional<ScreenPixel> place)
{
    if (panelWindow && panelWindow->isVisible())
        panelWindow->hide();
    else if (!windowPlatform.panelHost().isClickSpent())
        open(place);
}

void ProgramWindows::open(std::optional<ScreenPixel> place)
{
    preparedPanel().openBeside(windowPlatform.panelHost().pointAt(place));
}

void ProgramWindows::openAsWindow() { preparedPanel().openAsWindow(); }

PanelWindow& ProgramWindows::preparedPanel()
{
    if (!panelWindow) {
        prepareViews();
        panelWindow = std::make_unique<PanelWindow>(
            [this] {
                return StatsView { state, *dates, platform.listenAccess(), platform.desktop() }.body();
            },
            windowPlatform.panelHost(), windowPlatform.windowActivation(), windowPlatform.windowEdges());
        modelObservation = state.observe([this] { panelWindow->invalidate(); });
    }
    return *panelWindow;
}

void ProgramWindows::prepareViews()
{
    if (dates)
        return;
    loadTranslation(QLocale());
    loadFonts();
    applyAppearance();
    appearanceObservation = windowPlatform.appearance().observe([this] { applyAppearance(); });
    dates = std::make_unique<DateTexts>(DateTexts::forUser());
}

void ProgramWindows::applyAppearance()
{
    const auto& wanted = windowPlatform.appearance();
    applyLook(wanted.colorScheme(), wanted.motion(), wanted.accent());
}
