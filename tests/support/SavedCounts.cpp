#include "support/SavedCounts.h"

#include "support/RunningKnucklet.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

char* toString(const Counts& counts)
{
    return QTest::toString(QStringLiteral("%1 keys, %2 clicks").arg(counts.keys).arg(counts.clicks));
}

QMap<QString, Counts> parsedDays(const QByteArray& text)
{
    QMap<QString, Counts> days;
    const auto file = QJsonDocument::fromJson(text).object();
    for (auto day = file.begin(); day != file.end(); ++day) {
        const QJsonValue counts = day.value();
        days.insert(day.key(), { counts["keys"].toInteger(), counts["clicks"].toInteger() });
    }
    return days;
}

QMap<QString, Counts> savedDays(const VirtualDesktop& desktop) { return parsedDays(statsFile(desktop)); }

Counts savedCounts(const VirtualDesktop& desktop)
{
    Counts sum;
    for (const auto& day : savedDays(desktop))
        sum = { sum.keys + day.keys, sum.clicks + day.clicks };
    return sum;
}
