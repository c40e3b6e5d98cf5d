#include "platform/linux/input/WaylandTap.h"

#include "platform/linux/windows/ServedLoop.h"
#include "support/Patience.h"
#include "support/Script.h"
#include "support/TapReports.h"
#include "support/TestArea.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <chrono>
#include <csignal>

namespace {

/// Answers a notice as the program does.
auto reportTo(TapReports& reports, EventTap& tap)
{
    return [report = reportTo(reports), &tap](const TapEvent& event) {
        report(event);
        if (event.kind == TapEvent::Kind::Disabled)
            tap.enable();
    };
}

void startTap(WaylandTap& tap, TapReports& reports)
{
    QVERIFY(tap.create(reportTo(reports, tap)));
    tap.enable();
}

/// The shell command that writes one record of the helper.
QByteArray write(std::uint32_t keys, std::uint32_t clicks)
{
    QByteArray bytes;
    for (const std::uint32_t number : { keys, clicks }) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            bytes += "\\0" + QByteArray::number(number >> shift & 0xFF, 8);
    }
    return "printf '%b' '" + bytes + "'\n";
}

const QByteArray greet = write(0, 0);
const QByteArray stayUntilGoodbye = "while read -r line; do :; done\n";

}

class WaylandTapTest final : public QObject {
    Q_OBJECT

private slots:
    void init();

    void aRecordBecomesAsManyEvents();
    void nothingIsReportedBeforeTheTapIsEnabled();
    void aHelperThatMayNotCountRefusesTheTap();
    void withoutAHelperTheTapIsRefused();
    void aSecondTapIsRefused();
    void aHelperThatIsSlowToGreetGetsItsChance();
    void anEndedHelperIsStartedAgainAndNothingCountsTwice();
    void aHelperThatKeepsEndingIsStartedEverLessOften();
    void aHelperThatHasCountedIsStartedAgainAtOnce();
    void halfARecordCountsNothing();
    void aBrokenRecordEndsItsHelper_data();
    void aBrokenRecordEndsItsHelper();
    void drainingDeliversWhatTheHelperStillHolds();
    void nothingIsStartedAfterDraining();
    void drainingDoesNotWaitForAHelperThatHangs();
    void theHelperEndsWithTheTap();

private:
    std::string helper(const QByteArray& body) { return script(*folder, "helper", body).toStdString(); }
    qsizetype starts() const { return readLines(*folder, "starts").size(); }
    /// Begins a helper's script: writes down each start, with its time.
    QByteArray noteStart() const { return "date +%s%N >>" + folder->filePath("starts").toUtf8() + "\n"; }

    EventLoop loop;
    ServedLoop served { loop };
    std::optional<QTemporaryDir> folder;
};

void WaylandTapTest::init() { folder.emplace(); }

void WaylandTapTest::aRecordBecomesAsManyEvents()
{
    WaylandTap tap(loop, helper(greet + write(3, 2) + write(300, 0) + stayUntilGoodbye));
    TapReports reports;

    startTap(tap, reports);

    QTRY_COMPARE(reports.keys, 303);
    QCOMPARE(reports.clicks, 2);
    QCOMPARE(reports.repeats, 0);
    QCOMPARE(reports.notices, 0);
}

void WaylandTapTest::nothingIsReportedBeforeTheTapIsEnabled()
{
    WaylandTap tap(loop,
        helper(
            greet + write(3, 2) + "touch " + folder->filePath("written").toUtf8() + "\n" + stayUntilGoodbye));
    TapReports reports;
    QVERIFY(tap.create(reportTo(reports, tap)));

    QTRY_VERIFY(QFile::exists(folder->filePath("written")));
    QCoreApplication::processEvents();
    const int keysBefore = reports.keys;
    tap.enable();

    QTRY_COMPARE(reports.keys, 3);
    QCOMPARE(keysBefore, 0);
    QCOMPARE(reports.clicks, 2);
}

void WaylandTapTest::aHelperThatMayNotCountRefusesTheTap()
{
    WaylandTap tap(loop, helper("exit 77\n"), std::chrono::milliseconds(patience));
    TapReports reports;

    const bool isCreated = tap.create(reportTo(reports, tap));

    QVERIFY(!isCreated);
}

void WaylandTapTest::withoutAHelperTheTapIsRefused()
{
    WaylandTap tap(loop, folder->filePath("absent").toStdString());
    TapReports reports;

    const bool isCreated = tap.create(reportTo(reports, tap));

    QVERIFY(!isCreated);
}

void WaylandTapTest::aSecondTapIsRefused()
{
    WaylandTap tap(loop, helper(greet + stayUntilGoodbye));
    TapReports reports;
    startTap(tap, reports);

    const bool second = tap.create(reportTo(reports, tap));

    QVERIFY(!second);
}

void WaylandTapTest::aHelperThatIsSlowToGreetGetsItsChance()
{
    const QByteArray gate = folder->filePath("gate").toUtf8();
    QCOMPARE(mkfifo(gate.constData(), 0600), 0);
    WaylandTap tap(loop, helper("cat " + gate + "\n" + greet + write(1, 0) + stayUntilGoodbye));
    TapReports reports;

    startTap(tap, reports);
    QFile opened(gate);
    QVERIFY(opened.open(QIODevice::WriteOnly));
    opened.close();

    QTRY_COMPARE(reports.keys, 1);
}

void WaylandTapTest::anEndedHelperIsStartedAgainAndNothingCountsTwice()
{
    WaylandTap tap(loop,
        helper(noteStart() + greet + "if [ $(wc -l <" + folder->filePath("starts").toUtf8()
            + ") = 1 ]; then\n" + write(5, 1) + "kill -KILL $$\nfi\n" + write(2, 0) + stayUntilGoodbye));
    TapReports reports;

    startTap(tap, reports);

    QTRY_COMPARE(reports.keys, 7);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(reports.notices, 1);
    QCOMPARE(starts(), 2);
}

void WaylandTapTest::aHelperThatKeepsEndingIsStartedEverLessOften()
{
    using namespace std::chrono_literals;
    WaylandTap tap(loop, helper(noteStart() + greet));
    TapReports reports;

    startTap(tap, reports);
    QTRY_COMPARE(starts(), 4);
    const QList<QByteArray> times = readLines(*folder, "starts");
    const auto pause = [&](int index) {
        return std::chrono::nanoseconds(times[index + 1].toLongLong() - times[index].toLongLong());
    };

    QVERIFY(pause(0) < 1s);
    QVERIFY(pause(1) >= 950ms);
    QVERIFY(pause(2) >= 1900ms);
    QCOMPARE(reports.notices, 3);
}

void WaylandTapTest::aHelperThatHasCountedIsStartedAgainAtOnce()
{
    WaylandTap tap(loop, helper(noteStart() + greet + write(1, 0)));
    TapReports reports;
    QElapsedTimer time;
    time.start();

    startTap(tap, reports);
    QTRY_VERIFY(starts() >= 10);

    // With pauses it would have been minutes.
    QVERIFY(time.elapsed() < 8000);
    QVERIFY(reports.keys >= 9);
}

void WaylandTapTest::halfARecordCountsNothing()
{
    WaylandTap tap(loop,
        helper(noteStart() + greet + "if [ $(wc -l <" + folder->filePath("starts").toUtf8()
            + ") = 1 ]; then\nprintf 'abcd'; exit 0\nfi\n" + write(2, 1) + stayUntilGoodbye));
    TapReports reports;

    startTap(tap, reports);

    QTRY_COMPARE(reports.keys, 2);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(starts(), 2);
}

void WaylandTapTest::aBrokenRecordEndsItsHelper_data()
{
    QTest::addColumn<std::uint32_t>("keys");
    QTest::addColumn<std::uint32_t>("clicks");

    QTest::newRow("of more keys than anybody presses") << 0x64636261U << 0U;
    QTest::newRow("of more clicks than anybody makes") << 0U << 0x64636261U;
}

void WaylandTapTest::aBrokenRecordEndsItsHelper()
{
    QFETCH(std::uint32_t, keys);
    QFETCH(std::uint32_t, clicks);
    WaylandTap tap(loop,
        helper(noteStart() + greet + "if [ $(wc -l <" + folder->filePath("starts").toUtf8()
            + ") = 1 ]; then\n" + write(keys, clicks) + stayUntilGoodbye + "fi\n" + write(2, 1)
            + stayUntilGoodbye));
    TapReports reports;

    startTap(tap, reports);

    QTRY_COMPARE(reports.keys, 2);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(starts(), 2);
}

void WaylandTapTest::drainingDeliversWhatTheHelperStillHolds()
{
    WaylandTap tap(loop, helper(greet + stayUntilGoodbye + write(4, 1)), std::chrono::milliseconds(patience));
    TapReports reports;
    startTap(tap, reports);

    tap.drain();

    QCOMPARE(reports.keys, 4);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(reports.notices, 0);
}

void WaylandTapTest::nothingIsStartedAfterDraining()
{
    WaylandTap tap(loop, helper(noteStart() + greet + stayUntilGoodbye));
    TapReports reports;
    startTap(tap, reports);

    tap.drain();
    QCoreApplication::processEvents();

    QCOMPARE(starts(), 1);
    QCOMPARE(reports.notices, 0);
}

void WaylandTapTest::drainingDoesNotWaitForAHelperThatHangs()
{
    WaylandTap tap(loop, helper(greet + write(1, 0) + "exec sleep 60\n"));
    TapReports reports;
    startTap(tap, reports);
    QTRY_COMPARE(reports.keys, 1);
    QElapsedTimer time;
    time.start();

    tap.drain();

    QVERIFY(time.elapsed() < 5000);
}

void WaylandTapTest::theHelperEndsWithTheTap()
{
    std::optional<WaylandTap> tap(std::in_place, loop,
        helper(greet + "echo $$ >" + folder->filePath("process").toUtf8() + "\n" + write(1, 0)
            + "exec sleep 60\n"));
    TapReports reports;
    startTap(*tap, reports);
    QTRY_COMPARE(reports.keys, 1);
    const pid_t process = readLines(*folder, "process").constFirst().toInt();
    QCOMPARE(kill(process, 0), 0);

    tap.reset();

    QCOMPARE(kill(process, 0), -1);
    QCOMPARE(reports.notices, 0);
}

static const TestArea area("WaylandTap", runTest<WaylandTapTest>);

#include "WaylandTapTest.moc"
