#include "platform/linux/ResidentPlatform.h"

#include "platform/linux/process/Session.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

ResidentPlatform::ResidentPlatform()
    : running(loop,
        {
            .beginEnd = [this] { place.beginEnd(); },
            .drainInput = [this] { input.drain(); },
            .makeWay = [this] { place.makeWay(); },
            .openFile =
                [this](const auto& file) {
                    if (toolkitDuties.openFile)
                        toolkitDuties.openFile(file);
                },
        })
    , item(loop, sessionBus,
          {
              .pointer = [this] { return pointer(); },
              .tokenCame = [this](const auto& token) { activationTokenCame(token); },
              .textShown =
                  [this](bool isShown) {
                      textIsShown = isShown;
                      letPressesWait();
                  },
          },
          [this] { return x11.isStuck(); })
{
}

ResidentPlatform::~ResidentPlatform() = default;

int ResidentPlatform::run()
{
    // What an instance has left that crashed. From here on this one has the place.
    shared.clear();
    return loop.run();
}

void ResidentPlatform::setToolkitDuties(ToolkitDuties duties)
{
    toolkitDuties = std::move(duties);
    // The token that came with the click on the item, for which the windows are only now made.
    if (!activationToken.empty())
        toolkitDuties.useActivationToken(std::exchange(activationToken, {}));
}

void ResidentPlatform::setWindowsShown(bool areShown)
{
    windowsAreShown = areShown;
    letPressesWait();
}

/// As long as nobody who sees the counts misses them.
void ResidentPlatform::letPressesWait()
{
    x11.letPressesWait(windowsAreShown ? 0ms : textIsShown ? X11Input::shownWait : X11Input::usualWait);
}

/// On a real X server, where the pointer stands is more certain than what any host says of a click.
std::optional<ScreenPixel> ResidentPlatform::pointer()
{
    if (isWaylandSession())
        return {};
    return x11.pointer();
}

void ResidentPlatform::displayLost()
{
    // In a Wayland session the X server serves older programs only, and comes and goes with them.
    if (!isWaylandSession())
        running.displayLost();
}

void ResidentPlatform::activationTokenCame(const std::string& token)
{
    if (toolkitDuties.useActivationToken)
        toolkitDuties.useActivationToken(token);
    else
        activationToken = token;
}

std::unique_ptr<Platform> makePlatform()
{
    auto platform = std::make_unique<ResidentPlatform>();
    if (!platform->hasDisplay())
        return {};
    return platform;
}
