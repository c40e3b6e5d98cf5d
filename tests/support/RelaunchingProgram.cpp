// The program's model on the real platform, without a panel. At a line on its standard input it starts itself
// again as the program does, and holds its own end up until the next line. When it begins to count and when
// it has saved for the last time, it writes its process id and today's keys to the file "said" in its folder,
// which the instance that follows it continues.

#include "model/AppState.h"
#include "platform/Desktop.h"
#include "platform/Instance.h"
#include "platform/linux/ResidentPlatform.h"

#include <unistd.h>

#include <fstream>
#include <tuple>

namespace {

class NoOnboardingWindow final : public OnboardingWindow {
public:
    void show(AppState&, int) override { }
    void close() override { }
};

class NoShareCardWindow final : public ShareCardWindow {
public:
    void show(AppState&) override { }
};

/// False when there will be none.
bool awaitLine()
{
    char character = 0;
    while (read(STDIN_FILENO, &character, 1) == 1) {
        if (character == '\n')
            return true;
    }
    return false;
}

void say(const char* what, const AppState& state)
{
    const std::int64_t& keys = state.todayKeys;
    std::ofstream("said", std::ios::app) << what << ' ' << getpid() << ' ' << keys << '\n';
}

}

int main()
{
    const auto platform = makePlatform();
    if (!platform->instance().claim())
        return 0;
    AppState state(*platform,
        {
            .onboarding = [] { return std::make_unique<NoOnboardingWindow>(); },
            .shareCard = [] { return std::make_unique<NoShareCardWindow>(); },
        });
    platform->desktop().onWillTerminate([&] { say("ending", state); });

    auto& loop = static_cast<ResidentPlatform&>(*platform).eventLoop();
    DescriptorWatch input(loop, STDIN_FILENO, [&] {
        input.watch(DescriptorWatch::For::Nothing);
        if (!awaitLine())
            return;
        state.relaunch();
        std::ignore = awaitLine();
    });
    say("counting", state);
    return platform->run();
}
