#include "platform/linux/WaylandTap.h"

#include "support/Patience.h"
#include "support/Script.h"
#include "support/TestArea.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <chrono>
#include <csignal>

namespace {

constexpr std::uint64_t tapMask = mouseDownMask | eventMask(EventType::KeyDown);

/// What a tap reported. It answers a notice as the program does.
struct Reports {
    EventTap* taps = nullptr;
    std::optional<EventTapId> tap;
    int keys = 0;
    int clicks = 0;
    int notices = 0;
    std::int64_t repeats = 0;
};

const TapEvent* report(EventType type, const TapEvent* event, void* userInfo)
{
    auto& reports = *static_cast<Reports*>(userInfo);
    switch (type) {
    case EventType::KeyDown:
        ++reports.keys;
        reports.repeats += event->integer(EventField::KeyboardAutorepeat);
        break;
    case EventType::TapDisabledByTimeout:
    case EventType::TapDisabledByUserInput:
        ++reports.notices;
        reports.taps->enable(*reports.tap);
        break;
    default:
        ++reports.clicks;
    }
    return event;
}

void startTap(WaylandTap& taps, Reports& reports, std::uint64_t events = tapMask)
{
    reports.taps = &taps;
    reports.tap = taps.create({ .eventsOfInterest = events }, report, &reports);
    QVERIFY(reports.tap);
    taps.addToMainRunLoop(taps.makeRunLoopSource(*reports.tap));
    taps.enable(*reports.tap);
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
    void onlyTheEventsOfInterestAreReported();
    void nothingIsReportedBeforeTheTapRuns();
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
    QString helper(const QByteArray& body) { return script(*folder, "helper", body); }
    qsizetype starts() const { return readLines(*folder, "starts").size(); }
    /// Begins a helper's script: writes down each start, with its time.
    QByteArray noteStart() const { return "date +%s%N >>" + folder->filePath("starts").toUtf8() + "\n"; }

    std::optional<QTemporaryDir> folder;
};

void WaylandTapTest::init() { folder.emplace(); }

void WaylandTapTest::aRecordBecomesAsManyEvents()
{
    WaylandTap taps(helper(greet + write(3, 2) + write(300, 0) + stayUntilGoodbye));
    Reports reports;

    startTap(taps, reports);

    QTRY_COMPARE(reports.keys, 303);
    QCOMPARE(reports.clicks, 2);
    QCOMPARE(reports.repeats, 0);
    QCOMPARE(reports.notices, 0);
}

void WaylandTapTest::onlyTheEventsOfInterestAreReported()
{
    WaylandTap taps(helper(greet + write(3, 2) + stayUntilGoodbye));
    Reports reports;

    startTap(taps, reports, mouseDownMask);

    QTRY_COMPARE(reports.clicks, 2);
    QCOMPARE(reports.keys, 0);
}

void WaylandTapTest::nothingIsReportedBeforeTheTapRuns()
{
    WaylandTap taps(helper(
        greet + write(3, 2) + "touch " + folder->filePath("written").toUtf8() + "\n" + stayUntilGoodbye));
    Reports reports;
    const auto tap = taps.create({ .eventsOfInterest = tapMask }, report, &reports);
    QVERIFY(tap);

    QTRY_VERIFY(QFile::exists(folder->filePath("written")));
    QCoreApplication::processEvents();
    const int keysBefore = reports.keys;
    taps.addToMainRunLoop(taps.makeRunLoopSource(*tap));

    QTRY_COMPARE(reports.keys, 3);
    QCOMPARE(keysBefore, 0);
    QCOMPARE(reports.clicks, 2);
}

void WaylandTapTest::aHelperThatMayNotCountRefusesTheTap()
{
    WaylandTap taps(helper("exit 77\n"));
    Reports reports;

    const auto tap = taps.create({ .eventsOfInterest = tapMask }, report, &reports);

    QVERIFY(!tap);
}

void WaylandTapTest::withoutAHelperTheTapIsRefused()
{
    WaylandTap taps(folder->filePath("absent"));
    Reports reports;

    const auto tap = taps.create({ .eventsOfInterest = tapMask }, report, &reports);

    QVERIFY(!tap);
}

void WaylandTapTest::aSecondTapIsRefused()
{
    WaylandTap taps(helper(greet + stayUntilGoodbye));
    Reports reports;
    startTap(taps, reports);

    const auto second = taps.create({ .eventsOfInterest = tapMask }, report, &reports);

    QVERIFY(!second);
}

void WaylandTapTest::aHelperThatIsSlowToGreetGetsItsChance()
{
    const QByteArray gate = folder->filePath("gate").toUtf8();
    QCOMPARE(mkfifo(gate.constData(), 0600), 0);
    WaylandTap taps(helper("cat " + gate + "\n" + greet + write(1, 0) + stayUntilGoodbye));
    Reports reports;

    startTap(taps, reports);
    QFile opened(gate);
    QVERIFY(opened.open(QIODevice::WriteOnly));
    opened.close();

    QTRY_COMPARE(reports.keys, 1);
}

void WaylandTapTest::anEndedHelperIsStartedAgainAndNothingCountsTwice()
{
    WaylandTap taps(helper(noteStart() + greet + "if [ $(wc -l <" + folder->filePath("starts").toUtf8()
        + ") = 1 ]; then\n" + write(5, 1) + "kill -KILL $$\nfi\n" + write(2, 0) + stayUntilGoodbye));
    Reports reports;

    startTap(taps, reports);

    QTRY_COMPARE(reports.keys, 7);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(reports.notices, 1);
    QCOMPARE(starts(), 2);
}

void WaylandTapTest::aHelperThatKeepsEndingIsStartedEverLessOften()
{
    using namespace std::chrono_literals;
    WaylandTap taps(helper(noteStart() + greet));
    Reports reports;

    startTap(taps, reports);
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
    WaylandTap taps(helper(noteStart() + greet + write(1, 0)));
    Reports reports;
    QElapsedTimer time;
    time.start();

    startTap(taps, reports);
    QTRY_VERIFY(starts() >= 10);

    // With pauses it would have been minutes.
    QVERIFY(time.elapsed() < 5000);
    QVERIFY(reports.keys >= 9);
}

void WaylandTapTest::halfARecordCountsNothing()
{
    WaylandTap taps(helper(noteStart() + greet + "if [ $(wc -l <" + folder->filePath("starts").toUtf8()
        + ") = 1 ]; then\nprintf 'abcd'; exit 0\nfi\n" + write(2, 1) + stayUntilGoodbye));
    Reports reports;

    startTap(taps, reports);

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
    WaylandTap taps(helper(noteStart() + greet + "if [ $(wc -l <" + folder->filePath("starts").toUtf8()
        + ") = 1 ]; then\n" + write(keys, clicks) + stayUntilGoodbye + "fi\n" + write(2, 1)
        + stayUntilGoodbye));
    Reports reports;

    startTap(taps, reports);

    QTRY_COMPARE(reports.keys, 2);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(starts(), 2);
}

void WaylandTapTest::drainingDeliversWhatTheHelperStillHolds()
{
    WaylandTap taps(helper(greet + stayUntilGoodbye + write(4, 1)));
    Reports reports;
    startTap(taps, reports);

    taps.drain();

    QCOMPARE(reports.keys, 4);
    QCOMPARE(reports.clicks, 1);
    QCOMPARE(reports.notices, 0);
}

void WaylandTapTest::nothingIsStartedAfterDraining()
{
    WaylandTap taps(helper(noteStart() + greet + stayUntilGoodbye));
    Reports reports;
    startTap(taps, reports);

    taps.drain();
    QCoreApplication::processEvents();

    QCOMPARE(starts(), 1);
    QCOMPARE(reports.notices, 0);
}

void WaylandTapTest::drainingDoesNotWaitForAHelperThatHangs()
{
    WaylandTap taps(helper(greet + write(1, 0) + "exec sleep 60\n"));
    Reports reports;
    startTap(taps, reports);
    QTRY_COMPARE(reports.keys, 1);
    QElapsedTimer time;
    time.start();

    taps.drain();

    QVERIFY(time.elapsed() < 5000);
}

void WaylandTapTest::theHelperEndsWithTheTap()
{
    std::optional<WaylandTap> taps(std::in_place,
        helper(greet + "echo $$ >" + folder->filePath("process").toUtf8() + "\n" + write(1, 0)
            + "exec sleep 60\n"));
    Reports reports;
    startTap(*taps, reports);
    QTRY_COMPARE(reports.keys, 1);
    const pid_t process = readLines(*folder, "process").constFirst().toInt();
    QCOMPARE(kill(process, 0), 0);

    taps.reset();

    QCOMPARE(kill(process, 0), -1);
    QCOMPARE(reports.notices, 0);
}

static const TestArea area("WaylandTap", runTest<WaylandTapTest>);

#include "WaylandTapTest.moc"
