#include "model/StatsFile.h"
#include "model/StatsStore.h"
#include "support/Files.h"
#include "support/HandMovedClock.h"
#include "support/OneFolder.h"
#include "support/TestArea.h"

#include <QtTest>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

namespace fs = std::filesystem;

namespace {

const std::string today = "2026-11-15";

/// Counts a key and saves, again and again, and says after each save how many keys are safe.
[[noreturn]] void addAndSave(const OneFolder& folder, int safePipe)
{
    const HandMovedClock clock(Moment {});
    StatsStore store(folder, clock);
    for (;;) {
        store.add(1, 0, today);
        store.saveIfDirty();
        const auto safe = store.count(today).keys;
        if (write(safePipe, &safe, sizeof safe) != sizeof safe)
            _exit(1);
    }
}

/// The number that the child says next, if it comes in time; nothing once the child is gone.
std::optional<std::int64_t> nextSafe(int safePipe, SteadyClock::time_point deadline)
{
    const auto left = std::max(deadline - SteadyClock::now(), SteadyClock::duration::zero());
    const timespec timeout = { .tv_sec = left / 1s, .tv_nsec = (left % 1s) / 1ns };
    pollfd readable = { .fd = safePipe, .events = POLLIN, .revents = 0 };
    std::int64_t safe = 0;
    if (ppoll(&readable, 1, &timeout, nullptr) != 1 || read(safePipe, &safe, sizeof safe) != sizeof safe)
        return {};
    return safe;
}

/// Starts the loop, kills it at a moment within its first few saves, and gives the last number that it said.
std::int64_t killWhileSaving(const OneFolder& folder, SteadyClock::duration lifetime)
{
    std::array<int, 2> pipeEnds;
    if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0)
        return -1;
    const auto child = fork();
    if (child == 0)
        addAndSave(folder, pipeEnds[1]);
    close(pipeEnds[1]);

    // What counts is the time since the first save, so that starting up, however slow, is no part of it.
    auto safe = nextSafe(pipeEnds[0], SteadyClock::now() + 5min);
    const auto deadline = SteadyClock::now() + lifetime;
    while (const auto next = nextSafe(pipeEnds[0], deadline))
        safe = next;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    while (const auto next = nextSafe(pipeEnds[0], SteadyClock::now()))
        safe = next;

    close(pipeEnds[0]);
    return safe.value_or(-1);
}

} // namespace

class StatsStoreKillTest : public QObject {
    Q_OBJECT

private slots:
    void aKilledProcessLeavesAWholeFileNoOlderThanItsLastSave_data();
    void aKilledProcessLeavesAWholeFileNoOlderThanItsLastSave();
};

void StatsStoreKillTest::aKilledProcessLeavesAWholeFileNoOlderThanItsLastSave_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<int>("kills");
    QTest::addColumn<std::chrono::microseconds>("longestLife");

    // The disk makes the kernel's part of a save long, and memory the program's.
    QTest::newRow("on the disk") << QDir::tempPath() << 300 << std::chrono::microseconds(4ms);
    const QString memory = "/dev/shm";
    QTest::newRow("in memory") << (QDir(memory).exists() ? memory : QDir::tempPath()) << 700
                               << std::chrono::microseconds(500us);
}

void StatsStoreKillTest::aKilledProcessLeavesAWholeFileNoOlderThanItsLastSave()
{
    QFETCH(const QString, place);
    QFETCH(const int, kills);
    QFETCH(const std::chrono::microseconds, longestLife);
    const QTemporaryDir temporary(place + "/XXXXXX");
    const OneFolder folder(temporary.path().toStdString());
    const auto file = *folder.folder / "Knucklet" / "stats.json";
    DayTable otherDays;
    for (int day = 0; day < 100; ++day)
        otherDays["another day " + std::to_string(day)] = { day, day };
    fs::create_directory(file.parent_path());
    put(file, encodeStats(otherDays));

    int killsWithinASave = 0;
    std::mt19937 random(1);
    std::uniform_int_distribution<std::int64_t> life(0, longestLife.count());
    for (int i = 0; i < kills; ++i) {
        const auto safe = killWhileSaving(folder, std::chrono::microseconds(life(random)));

        auto days = decodeStats(contentOf(file));
        QVERIFY(safe > 0);
        QVERIFY(days);
        const auto saved = days->at(today).keys;
        QVERIFY(saved == safe || saved == safe + 1);
        days->erase(today);
        QCOMPARE(days, otherDays);
        killsWithinASave += fs::exists(file.string() + ".new") ? 1 : 0;
    }

    // Otherwise the kills have proved nothing.
    QVERIFY(killsWithinASave > 0);
    const HandMovedClock clock(Moment {});
    StatsStore store(folder, clock);
    store.add(1, 0, today);
    store.saveIfDirty();
    QCOMPARE(namesIn(file.parent_path()), std::set<std::string> { "stats.json" });
    qInfo("%d of %d kills fell within a save", killsWithinASave, kills);
}

static const TestArea area("StatsStoreKill", runTest<StatsStoreKillTest>);
#include "StatsStoreKillTest.moc"
