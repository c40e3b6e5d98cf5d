// ProcessBench: what the whole program takes of the machine, beside the least that counting can cost and,
// where they are installed, beside other programs of the tray. Each figure is told with its aim. Counts and
// ratios beyond their limit are named; only a program that does not do its work makes it fail.

#include "ProcessUse.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/VirtualDesktop.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

const QString program = QStringLiteral(KNUCKLET_PROGRAM);
const QString bareCounter = QStringLiteral(BARE_COUNTER_PROGRAM);

/// None of them counts anything; they are what else stands in trays.
const QStringList peers { "parcellite", "xfce4-clipman", "volumeicon", "pasystray", "qlipper", "flameshot",
    "copyq" };

constexpr auto idleTime = 30s;
constexpr auto motionTime = 10s;
constexpr auto motionInterval = 2ms;
constexpr int starts = 10;
constexpr int rounds = 5;

/// The save timer ticks six times a minute; two more are for whatever the desktop has to say.
constexpr double mostWakeUpsPerMinute = 8;

constexpr xcb_keysym_t keysymA = 0x61;

/// How somebody types, and what the program has to do besides counting.
struct Typing {
    const char* what = "";
    /// In each round.
    int presses = 100;
    std::chrono::milliseconds interval = 20ms;
    /// From a thousand on, the texts that are shown change with every hundredth press; below, with every one.
    qint64 keysToday = 12'340;
    bool showsCounts = false;
    /// How many times the processor time of the bare counter it may take.
    std::optional<double> mostRatio {};
};

/// Several measurements of one thing.
struct Sample {
    std::vector<double> values;

    double median() const
    {
        auto sorted = values;
        std::ranges::sort(sorted);
        return sorted.empty() ? 0 : sorted[sorted.size() / 2];
    }
    double least() const { return values.empty() ? 0 : std::ranges::min(values); }
    double greatest() const { return values.empty() ? 0 : std::ranges::max(values); }
};

/// Prints the figures, one line each. What is beyond its limit is named and fails nothing, since the machine
/// may be busy with others; a program that does not do its work fails.
class Report final {
public:
    void tell(const char* what, double value, const char* unit, const char* aim)
    {
        std::printf("%-46s %9.1f %-4s %-22s aim %s\n", what, value, unit, "", aim);
        std::fflush(stdout);
    }
    void tell(const char* what, const Sample& sample, const char* unit, const char* aim)
    {
        const auto range = QByteArray::number(sample.least(), 'f', 1) + " to "
            + QByteArray::number(sample.greatest(), 'f', 1);
        std::printf("%-46s %9.1f %-4s %-22s aim %s\n", what, sample.median(), unit, range.constData(), aim);
        std::fflush(stdout);
    }
    void judge(const char* what, double value, double limit)
    {
        if (value > limit)
            std::printf("BEYOND ITS LIMIT: %s: %.1f, more than %.1f\n", what, value, limit);
    }
    void fail(const QString& what)
    {
        hasFailed = true;
        std::printf("FAILED: %s\n", qPrintable(what));
        std::fflush(stdout);
    }

    bool hasFailed = false;
};

void letTimePass(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Types at a steady pace.
void type(Injector& injector, int presses, std::chrono::microseconds interval)
{
    const auto letter = injector.keyCode(keysymA);
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; i < presses; ++i) {
        injector.typeKey(letter);
        injector.sync();
        next += interval;
        std::this_thread::sleep_until(next);
    }
}

/// Has today begin with so many keys, and a table of a year behind it.
void prepare(const VirtualDesktop& desktop, qint64 keysToday, bool showsCounts)
{
    const auto today = QDate::currentDate();
    QJsonObject days;
    for (int day = 1; day <= 365; ++day)
        days[today.addDays(-day).toString(Qt::ISODate)]
            = QJsonObject { { "keys", 9000 }, { "clicks", 2000 } };
    days[today.toString(Qt::ISODate)] = QJsonObject { { "keys", keysToday }, { "clicks", 56 } };
    writeStatsFile(desktop, QJsonDocument(days).toJson(QJsonDocument::Compact));
    writeSettingsFile(desktop,
        QByteArray("[General]\nhasCompletedOnboarding=true\nshowCountsInMenuBar=")
            + (showsCounts ? "true\n" : "false\n"));
}

qint64 keysOfToday(const VirtualDesktop& desktop)
{
    const auto days = QJsonDocument::fromJson(statsFile(desktop)).object();
    return days[QDate::currentDate().toString(Qt::ISODate)].toObject()["keys"].toInteger();
}

class ProcessBench final {
public:
    bool run()
    {
        if (!desktop.start()) {
            std::printf("%s\n", qPrintable(desktop.failure()));
            return false;
        }
        std::printf("%-46s %14s %-22s\n", "", "median", "least to greatest");
        report.tell("size of the program", static_cast<double>(QFileInfo(program).size()) / 1e6, "MB", "1.5");
        measureStart();
        measureTyping({ .what = "50 keys a second, counts not shown", .mostRatio = 1.2 });
        measureTyping({ .what = "50 keys a second, counts shown", .showsCounts = true, .mostRatio = 1.2 });
        measureTyping({ .what = "50 keys a second, the first of a day", .keysToday = 0 });
        measureTyping({ .what = "8 keys a second", .presses = 16, .interval = 125ms, .mostRatio = 2.2 });
        measureFirstOpening();
        measurePanel();
        measureIdling();
        return !report.hasFailed;
    }

private:
    /// From the start of the process to the host's word that the icon is known.
    void measureStart()
    {
        prepare(desktop, 12'340, false);
        auto bus = QDBusConnection::connectToBus(desktop.busAddress(), "start");
        QEventLoop registered;
        bus.connect("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
            "org.kde.StatusNotifierWatcher", "StatusNotifierItemRegistered", &registered, SLOT(quit()));
        QTimer deadline;
        QObject::connect(&deadline, &QTimer::timeout, &registered, [&registered] { registered.exit(1); });
        Sample milliseconds;
        for (int start = 0; start < starts; ++start) {
            deadline.start(patience);
            QElapsedTimer time;
            time.start();
            const auto process = desktop.launch(program);
            if (registered.exec() != 0)
                return report.fail("the icon does not appear");
            milliseconds.values.push_back(static_cast<double>(time.nsecsElapsed()) / 1e6);
            process->terminate();
            process->waitForFinished(patience);
        }
        QDBusConnection::disconnectFromBus("start");
        report.tell("start, up to the icon registered", milliseconds, "ms", "5, at most 10");
    }

    /// The processor time of a key press, of the whole program and of the bare counter, which count the same
    /// presses on the same server.
    void measureTyping(const Typing& typing)
    {
        prepare(desktop, typing.keysToday, typing.showsCounts);
        RunningKnucklet knucklet(desktop, program);
        const auto bare = desktop.launch(bareCounter);
        if (!knucklet.awaitItem() || !QTest::qWaitFor([&] { return bare->canReadLine(); }, patience))
            return report.fail(typing.what + QStringLiteral(": does not start"));

        Injector injector(desktop.display());
        // The first press of a device tells everybody that there is such a device.
        type(injector, 1, typing.interval);
        Sample whole;
        Sample least;
        qint64 wakes = -wakeUps(knucklet.processId());
        for (int round = 0; round < rounds; ++round) {
            const double wholeBefore = processorTime(knucklet.processId());
            const double leastBefore = processorTime(bare->processId());
            type(injector, typing.presses, typing.interval);
            whole.values.push_back((processorTime(knucklet.processId()) - wholeBefore) / typing.presses);
            least.values.push_back((processorTime(bare->processId()) - leastBefore) / typing.presses);
        }
        wakes += wakeUps(knucklet.processId());
        const int presses = rounds * typing.presses;
        // Of the medians: a neighbor on the machine who disturbs one of the two in one round spoils no ratio.
        const double ratio = whole.median() / least.median();

        std::printf("%s\n", typing.what);
        report.tell("  a key press", whole, "us", "-");
        report.tell("  a key press, bare counter", least, "us", "-");
        report.tell("  ratio", ratio, "", "1.5 at 8 a second, 0.8 at 50");
        report.tell("  wake-ups of a key press", static_cast<double>(wakes) / presses, "", "1");
        if (typing.mostRatio)
            report.judge(typing.what, ratio, *typing.mostRatio);

        bare->closeWriteChannel();
        bare->waitForFinished(patience);
        if (!knucklet.end(SIGTERM) || keysOfToday(desktop) != typing.keysToday + presses + 1
            || !bare->readAll().contains(QByteArray::number(presses + 1) + " presses"))
            report.fail(typing.what + QStringLiteral(": not every press was counted"));
    }

    /// Each time of a program that has just been started.
    void measureFirstOpening()
    {
        prepare(desktop, 12'340, false);
        Sample milliseconds;
        for (int round = 0; round < rounds; ++round) {
            RunningKnucklet knucklet(desktop, program);
            if (!knucklet.awaitItem())
                return report.fail("the icon does not appear");
            placePointer();
            letTimePass(1s);
            milliseconds.values.push_back(timeToToggle(knucklet));
            if (!knucklet.end(SIGTERM))
                report.fail("the program does not end");
        }
        report.tell("the first opening, up to the picture", milliseconds, "ms", "60, at most 100");
    }

    /// The panel opens beside the pointer. Over the icon it would bring up the host's tooltip.
    void placePointer()
    {
        Injector injector(desktop.display());
        injector.moveTo(static_cast<std::int16_t>(desktop.size().width() - 5), 200);
        injector.sync();
    }

    /// What the panel costs: memory, the time from the host's call to its picture once more, and typing under
    /// it.
    void measurePanel()
    {
        prepare(desktop, 12'340, false);
        RunningKnucklet knucklet(desktop, program);
        if (!knucklet.awaitItem())
            return report.fail("the icon does not appear");
        const auto process = knucklet.processId();
        Injector injector(desktop.display());
        placePointer();
        letTimePass(1s);

        const auto before = memoryUse(process);
        std::printf("typing 10 keys/s, share of one core\n");
        report.tell("  panel closed", shareWhileTyping(injector, process), "%", "-");
        std::ignore = timeToToggle(knucklet);
        letTimePass(1s);
        const auto open = memoryUse(process);
        report.tell("  panel open", shareWhileTyping(injector, process), "%", "3");
        Sample later;
        for (int opening = 0; opening < rounds; ++opening) {
            std::ignore = timeToToggle(knucklet);
            letTimePass(500ms);
            later.values.push_back(timeToToggle(knucklet));
            letTimePass(500ms);
        }
        std::ignore = timeToToggle(knucklet);
        letTimePass(1s);
        const auto after = memoryUse(process);

        report.tell("later openings, up to the picture", later, "ms", "7, at most 8");
        std::printf("memory, the only program with the toolkit\n");
        report.tell("  before the panel opens", before.share, "MB", "3");
        report.tell("  before, its own", before.own, "MB", "0.8");
        report.tell("  panel open", open.share, "MB", "-");
        report.tell("  panel open, its own", open.own, "MB", "-");
        report.tell("  panel closed again", after.share, "MB", "29");
        report.tell("  panel closed again, its own", after.own, "MB", "-");
        report.judge("memory before the panel opens", before.share, 4.5);
        report.judge("memory before the panel opens, its own", before.own, 1.2);
        report.judge("memory after the panel was open", after.share, 31);
    }

    double shareWhileTyping(Injector& injector, qint64 process)
    {
        QElapsedTimer time;
        time.start();
        const double before = processorTime(process);
        type(injector, 40, 100ms);
        return 100 * (processorTime(process) - before) * 1000 / static_cast<double>(time.nsecsElapsed());
    }

    /// The milliseconds until a pixel of where the panel opens has changed.
    double timeToToggle(const RunningKnucklet& knucklet)
    {
        const QRect place(desktop.size().width() - 40, 330, 1, 1);
        const auto before = screenshot(desktop.display(), place);
        auto call = QDBusMessage::createMethodCall(
            knucklet.itemService(), "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate");
        call << 0 << 0;
        QElapsedTimer time;
        time.start();
        knucklet.sessionBus().send(call);
        while (screenshot(desktop.display(), place) == before) {
            if (time.hasExpired(patience)) {
                report.fail("the panel does not open or close");
                break;
            }
        }
        return static_cast<double>(time.nsecsElapsed()) / 1e6;
    }

    /// What it costs to have the program and not to use it, and the same of its peers beside it.
    void measureIdling()
    {
        prepare(desktop, 12'340, false);
        std::vector<std::unique_ptr<QProcess>> others;
        for (const auto& peer : peers) {
            if (!QStandardPaths::findExecutable(peer).isEmpty())
                others.push_back(desktop.launch(peer));
        }
        RunningKnucklet knucklet(desktop, program);
        if (!knucklet.awaitItem())
            return report.fail("the icon does not appear");
        // For the peers to have started, and for the host to have asked for all it wants to show.
        letTimePass(5s);

        const auto process = knucklet.processId();
        const auto before = wakeUps(process);
        std::vector<qint64> othersBefore;
        for (const auto& other : others)
            othersBefore.push_back(wakeUps(other->processId()));
        letTimePass(idleTime);
        const double idle = perMinute(wakeUps(process) - before, idleTime);
        std::vector<double> othersIdle;
        for (std::size_t i = 0; i < others.size(); ++i)
            // Those of threads that have ended meanwhile are not known.
            othersIdle.push_back(perMinute(
                std::max(wakeUps(others[i]->processId()) - othersBefore[i], qint64 { 0 }), idleTime));

        Injector injector(desktop.display());
        // The first motion of a device tells everybody that there is such a device.
        movePointer(injector, 10);
        const auto beforeMotion = wakeUps(process);
        movePointer(injector, motionTime / motionInterval);
        const double moving = perMinute(wakeUps(process) - beforeMotion, motionTime);

        report.tell("wake-ups a minute, idle", idle, "", "6");
        report.tell("wake-ups a minute, 500 motions a second", moving, "", "6");
        report.judge("wake-ups a minute, idle", idle, mostWakeUpsPerMinute);
        // A tick more or less in so short a time is six a minute.
        report.judge("wake-ups a minute, pointer moving", moving, mostWakeUpsPerMinute + 6);

        std::printf(
            "\n%-20s %12s %12s %12s\n", "side by side, idle", "memory MB", "its own MB", "wake-ups/min");
        tellOfPeer("Knucklet", process, idle);
        for (std::size_t i = 0; i < others.size(); ++i) {
            if (others[i]->state() == QProcess::Running)
                tellOfPeer(qPrintable(others[i]->program()), others[i]->processId(), othersIdle[i]);
        }
        for (const auto& other : others) {
            other->kill();
            other->waitForFinished(patience);
        }
    }

    static double perMinute(qint64 count, std::chrono::seconds time)
    {
        return static_cast<double>(count) * 60 / static_cast<double>(time.count());
    }

    static void movePointer(Injector& injector, std::int64_t moves)
    {
        auto next = std::chrono::steady_clock::now();
        for (std::int64_t move = 0; move < moves; ++move) {
            injector.moveTo(
                static_cast<std::int16_t>(200 + move % 800), static_cast<std::int16_t>(200 + move % 400));
            injector.sync();
            next += motionInterval;
            std::this_thread::sleep_until(next);
        }
    }

    static void tellOfPeer(const char* name, qint64 process, double wakeUpsPerMinute)
    {
        const auto memory = memoryUse(process);
        std::printf("%-20s %12.1f %12.1f %12.0f\n", name, memory.share, memory.own, wakeUpsPerMinute);
    }

    VirtualDesktop desktop { { .windowManager = true, .panel = true } };
    Report report;
};

}

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    return ProcessBench().run() ? 0 : 1;
}
