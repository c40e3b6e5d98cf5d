#pragma once

#include "model/StatsStore.h"
#include "windows/Theme.h"
#include "windows/ui/View.h"

#include <QCoreApplication>
#include <QString>

#include <cstdint>
#include <vector>

class AppState;
class DateTexts;
class Desktop;
class ListenAccess;

/// A caption and, below it, a big number.
struct StatTile {
    QString title;
    std::int64_t value = 0;
    QString symbol;
    ThemeColor color;

    View body() const;
};

/// The last days as bars, key presses above clicks, each with its weekday.
struct WeekChart {
    std::vector<StatsStore::Day> days;
    const DateTexts& dates;

    View body() const;

private:
    View day(const StatsStore::Day& day, std::int64_t scale) const;

    Q_DECLARE_TR_FUNCTIONS(WeekChart)
};

/// The panel: today's counts, the week, the totals, and the program's few controls.
struct StatsView {
    AppState& state;
    const DateTexts& dates;
    ListenAccess& listenAccess;
    Desktop& desktop;

    View body() const;

private:
    View header(const StatsStore::Day& today) const;
    View tiles() const;
    View banner() const;
    View permissionBanner() const;
    View commandToGrant() const;
    View relaunchBanner() const;
    View footerStats() const;
    View allTime() const;
    View bestDay() const;
    View controls() const;
    View buttons() const;

    /// "Nov 15" for "2026-11-15"; a key that is no day stays as it is.
    QString shortDate(const std::string& day) const;

    Q_DECLARE_TR_FUNCTIONS(StatsView)
};
