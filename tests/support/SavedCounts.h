#pragma once

#include <QMap>
#include <QString>

class VirtualDesktop;

struct Counts {
    qint64 keys = 0;
    qint64 clicks = 0;

    bool operator==(const Counts&) const = default;
};

/// For the messages of failing comparisons.
char* toString(const Counts& counts);

/// The counts of each day in a text of the stats file's form; empty for any other.
QMap<QString, Counts> parsedDays(const QByteArray& text);
/// The counts of each day in the stats file of a desktop's user.
QMap<QString, Counts> savedDays(const VirtualDesktop& desktop);
/// The sum of all days.
Counts savedCounts(const VirtualDesktop& desktop);
