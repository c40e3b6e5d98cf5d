#include "platform/linux/WaylandTap.h"

#include "tap/TapProtocol.h"

#include <algorithm>

namespace {

using namespace std::chrono_literals;

// There is only ever one of each.
constexpr EventTapId theTap { 1 };
constexpr RunLoopSourceId theSource { 1 };

constexpr std::chrono::milliseconds patience = 200ms;
constexpr std::chrono::seconds longestPause = 60s;

// Whoever presses this often between two records is no human: such a record is broken.
constexpr std::uint32_t mostPresses = 1'000'000;

/// The helper reports presses and never repeats.
class Press final : public TapEvent {
public:
    std::int64_t integer(EventField) const override { return 0; }
};

const Press press;

}

WaylandTap::WaylandTap(const QString& tapProgram)
{
    helper.setProgram(tapProgram);
    helper.setStandardErrorFile(QProcess::nullDevice());
    restart.setSingleShot(true);
    QObject::connect(&helper, &QProcess::readyReadStandardOutput, &helper, [this] { readRecords(); });
    QObject::connect(&helper, &QProcess::stateChanged, &helper, [this](QProcess::ProcessState state) {
        if (state == QProcess::NotRunning)
            helperEnded();
    });
    QObject::connect(&restart, &QTimer::timeout, &restart, [this] { giveNotice(); });
}

WaylandTap::~WaylandTap()
{
    // Nobody is left to hear of its end.
    helper.disconnect();
    helper.kill();
    helper.waitForFinished();
}

std::optional<EventTapId> WaylandTap::create(
    const EventTapParameters& parameters, TapCallback callback, void* userInfo)
{
    if (tap)
        return std::nullopt;

    helper.start();
    // It greets when it may count, and ends when it may not. On a machine that is too busy for either it
    // still gets its chance.
    helper.waitForReadyRead(static_cast<int>(patience.count()));
    if (helper.state() == QProcess::NotRunning)
        return std::nullopt;
    tap = Tap { .events = parameters.eventsOfInterest, .callback = callback, .userInfo = userInfo };
    return theTap;
}

RunLoopSourceId WaylandTap::makeRunLoopSource(EventTapId) { return theSource; }

void WaylandTap::addToMainRunLoop(RunLoopSourceId)
{
    if (!tap)
        return;
    tap->isRunning = true;
    // What has been read by now is announced no more.
    QMetaObject::invokeMethod(
        &helper, [this] { readRecords(); }, Qt::QueuedConnection);
}

void WaylandTap::enable(EventTapId)
{
    if (helper.state() == QProcess::NotRunning)
        helper.start();
}

void WaylandTap::drain()
{
    // The helper takes the closed pipe for a goodbye, writes what it has and ends.
    helper.closeWriteChannel();
    helper.waitForFinished(static_cast<int>(patience.count()));
    readRecords();
    tap.reset();
    restart.stop();
}

void WaylandTap::readRecords()
{
    TapRecord record;
    while (tap && tap->isRunning && helper.bytesAvailable() >= static_cast<qint64>(sizeof record)) {
        helper.read(reinterpret_cast<char*>(&record), sizeof record);
        if (std::max(record.keys, record.clicks) > mostPresses) {
            helper.readAll();
            helper.kill();
            return;
        }
        deliver(EventType::KeyDown, record.keys);
        deliver(EventType::OtherMouseDown, record.clicks);
        if (record != TapRecord {})
            restartPause = 0s;
    }
}

void WaylandTap::deliver(EventType type, std::uint32_t times)
{
    if (!(tap->events & eventMask(type)))
        return;
    for (std::uint32_t i = 0; i < times; ++i)
        tap->callback(type, &press, tap->userInfo);
}

void WaylandTap::helperEnded()
{
    readRecords();
    // The rest of a record that it did not finish.
    helper.readAll();
    if (!tap)
        return;
    restart.start(restartPause);
    restartPause = std::clamp(2 * restartPause, std::chrono::seconds(1s), longestPause);
}

// To the program this is a tap that the system has disabled, which it enables again.
void WaylandTap::giveNotice()
{
    if (tap && tap->isRunning)
        tap->callback(EventType::TapDisabledByTimeout, &press, tap->userInfo);
}
