#include "app/WindowsModule.h"

#include "Build.h"
#include "platform/WindowPlatform.h"
#include "windows/ProgramWindows.h"

#include <string_view>
#include <utility>

namespace {

/// The windows with what they stand on.
class PlacedWindows final : public Windows {
public:
    PlacedWindows(Platform& platform, std::unique_ptr<WindowPlatform> windowPlatform, AppState& state)
        : windowPlatform(std::move(windowPlatform))
        , windows(platform, *this->windowPlatform, state)
    {
    }

    OnboardingWindow& onboarding() override { return windows.onboarding(); }
    ShareCardWindow& shareCard() override { return windows.shareCard(); }
    Panel& panel() override { return windows.panel(); }
    void showMenu(const std::vector<MenuBarCommand>& commands, std::optional<ScreenPixel> place) override
    {
        windows.showMenu(commands, place);
    }

private:
    std::unique_ptr<WindowPlatform> windowPlatform;
    ProgramWindows windows;
};

}

Windows* knuckletWindows(const char* build, Platform* platform, AppState* state)
{
    if (std::string_view(build) != buildId)
        return nullptr;
    auto windowPlatform = makeWindowPlatform(*platform);
    if (!windowPlatform)
        return nullptr;
    return std::make_unique<PlacedWindows>(*platform, std::move(windowPlatform), *state).release();
}
