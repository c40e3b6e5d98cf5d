#pragma once

#include "support/FakeProgram.h"
#include "windows/DateTexts.h"
#include "windows/NumberTexts.h"
#include "windows/ShareCardView.h"

#include <cstdint>
#include <string>
#include <vector>

/// The card of the fake platform's program. The platform is set up first, then the program starts.
class FakeCard final {
public:
    explicit FakeCard(const std::string& stats = {}, const std::string& locale = "en_US");

    /// Starts the program if it does not run yet.
    AppState& start();
    /// The card of this moment.
    ShareCardView view(const QImage& picture = {});

    FakeProgram program;

private:
    DateTexts dates;
    NumberTexts numbers;
    AppState* state = nullptr;
};

/// A stats file of some days, each as {"2026-11-15", 4567, 1234}.
struct FakeDay {
    std::string day;
    std::int64_t keys = 0;
    std::int64_t clicks = 0;
};
std::string statsOf(const std::vector<FakeDay>& days);

/// A week of work that ends today, on the fake platform's first day, without being the best day.
std::string ordinaryWeek();
/// The picture that comes with the program.
QImage cardPicture();
