#include "support/FakeProgram.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace std::chrono;

class RecordingOnboarding final : public OnboardingWindow {
public:
    RecordingOnboarding(std::vector<int>& shown, std::vector<std::string>& calls)
        : shown(shown)
        , calls(calls)
    {
    }

    void show(AppState&, int startPage) override { shown.push_back(startPage); }
    void close() override { calls.emplace_back("close onboarding"); }

private:
    std::vector<int>& shown;
    std::vector<std::string>& calls;
};

class RecordingShareCard final : public ShareCardWindow {
public:
    explicit RecordingShareCard(int& shown)
        : shown(shown)
    {
    }

    void show(AppState&) override { ++shown; }

private:
    int& shown;
};

std::filesystem::path statsPath(const QTemporaryDir& folder)
{
    return std::filesystem::path(folder.path().toStdString()) / "Knucklet" / "stats.json";
}

}

FakeProgram::FakeProgram()
    : platform(folder.path().toStdString(), sys_days(2026y / 11 / 15) + 12h)
{
}

AppState& FakeProgram::start()
{
    const WindowFactories windows {
        .onboarding = [this]() -> std::unique_ptr<OnboardingWindow> {
            platform.calls.emplace_back("make onboarding");
            return std::make_unique<RecordingOnboarding>(onboardingShown, platform.calls);
        },
        .shareCard = [this]() -> std::unique_ptr<ShareCardWindow> {
            platform.calls.emplace_back("make share card");
            return std::make_unique<RecordingShareCard>(shareCardShown);
        },
    };
    state = std::make_unique<AppState>(platform, windows);
    return *state;
}

void FakeProgram::writeStatsFile(const std::string& text) const
{
    std::filesystem::create_directories(statsPath(folder).parent_path());
    std::ofstream(statsPath(folder), std::ios::binary) << text;
}

std::optional<std::string> FakeProgram::statsFile() const
{
    std::ifstream file(statsPath(folder), std::ios::binary);
    if (!file)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
}
