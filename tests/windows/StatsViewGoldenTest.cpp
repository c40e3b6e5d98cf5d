#include "support/FakeCard.h"
#include "support/GoldenPicture.h"
#include "support/ShownPanel.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QTest>

#include <string>

namespace {

const std::string oneDay = R"({"2026-11-15":{"keys":1,"clicks":0}})";
const std::string greatest = R"({"2026-11-15":{"keys":9223372036854775807,"clicks":0}})";

}

/// The panel's looks, as pictures that anybody can look at.
class StatsViewGoldenTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void thePanelLooksAsItDid_data();
    void thePanelLooksAsItDid();
};

void StatsViewGoldenTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
}

void StatsViewGoldenTest::thePanelLooksAsItDid_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<bool>("isDark");

    for (const auto* state : { "empty", "one-day", "week", "permission", "relaunch", "greatest" }) {
        for (const bool isDark : { false, true })
            QTest::addRow("%s %s", state, isDark ? "dark" : "light")
                << state << std::string("en_US") << isDark;
    }
    for (const bool isDark : { false, true })
        QTest::addRow("German %s", isDark ? "dark" : "light") << "week" << std::string("de_DE") << isDark;
}

void StatsViewGoldenTest::thePanelLooksAsItDid()
{
    QFETCH(const QString, state);
    QFETCH(const std::string, locale);
    QFETCH(const bool, isDark);
    ShownPanel panel(locale);
    auto& platform = panel.program.platform;
    platform.setAppearance(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    if (state != "permission")
        platform.grantAccess();
    if (state == "relaunch")
        platform.refuseTap();
    if (state == "week")
        platform.storeSetting("showCountsInMenuBar", true);
    if (state != "empty")
        panel.program.writeStatsFile(state == "one-day" ? oneDay
                : state == "greatest"                   ? greatest
                                                        : ordinaryWeek());

    const auto picture = panel.open().grab().toImage();

    const auto name = QString("panel-%1-%2-%3@%4x")
                          .arg(state, QString::fromStdString(locale), isDark ? "dark" : "light")
                          .arg(picture.devicePixelRatio());
    QVERIFY(looksLikeGolden(picture, name));
}

static const TestArea area("StatsViewGolden", runTest<StatsViewGoldenTest, QApplication>);
#include "StatsViewGoldenTest.moc"
