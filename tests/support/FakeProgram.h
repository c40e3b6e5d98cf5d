#pragma once

#include "model/AppState.h"
#include "platform/fake/FakePlatform.h"

#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The model on the fake platform, with a folder of its own and windows that only write down that they were
/// shown. The platform is set up first, then `start()` runs the program's start-up.
class FakeProgram final {
public:
    /// The program starts on 2026-11-15 at 12:00 UTC.
    FakeProgram();

    AppState& start();
    /// Lets the model go while the platform lives on.
    void dropState() { state.reset(); }

    void writeStatsFile(const std::string& text) const;
    /// Nothing when there is no file.
    std::optional<std::string> statsFile() const;

    QTemporaryDir folder;
    FakePlatform platform;
    /// The start page of each `show`, in order.
    std::vector<int> onboardingShown;
    /// How often the day card was shown.
    int shareCardShown = 0;

private:
    std::unique_ptr<AppState> state;
};
