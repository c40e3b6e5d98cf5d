#include "platform/linux/input/WaylandTap.h"

#include "platform/linux/process/Child.h"
#include "tap/TapProtocol.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds longestPause = 60s;

// Whoever presses this often between two records is no human: such a record is broken.
constexpr std::uint32_t mostPresses = 1'000'000;

}

WaylandTap::WaylandTap(EventLoop& loop, std::filesystem::path tapProgram, std::chrono::milliseconds patience)
    : loop(loop)
    , tapProgram(std::move(tapProgram))
    , patience(patience)
    , restart(loop, [this] { giveNotice(); })
{
}

WaylandTap::~WaylandTap() = default;

bool WaylandTap::create(std::function<void(const TapEvent&)> handler)
{
    if (tap)
        return false;

    startHelper();
    // It greets when it may count, and ends when it may not. On a machine that is too busy for either it
    // still gets its chance.
    if (helper)
        helper->waitForOutputOrEnd(patience);
    if (!helper || !helper->isRunning())
        return false;
    tap = Tap { .handler = std::move(handler) };
    return true;
}

void WaylandTap::enable()
{
    if (!tap)
        return;
    if (!std::exchange(tap->isRunning, true)) {
        // What has been read by now is announced no more.
        loop.callLater(lifetime.guard([this] { readRecords(); }));
    }
    if (helper && helper->isRunning())
        return;
    startHelper();
    if (!helper)
        helperEnded();
}

void WaylandTap::receive()
{
    if (helper)
        helper->readOutput();
    readRecords();
}

void WaylandTap::drain()
{
    if (helper) {
        // The helper takes the closed pipe for a goodbye, writes what it has and ends.
        helper->closeInput();
        helper->waitForEnd(patience);
    }
    readRecords();
    tap.reset();
    restart.stop();
}

void WaylandTap::startHelper()
{
    helper = Child::start(loop, { tapProgram }, ChildStreams::InputAndOutputHere,
        { .output = [this] { readRecords(); }, .end = [this] { helperEnded(); } });
}

void WaylandTap::readRecords()
{
    TapRecord record;
    while (tap && tap->isRunning && helper && helper->output().size() >= sizeof record) {
        std::memcpy(&record, helper->output().data(), sizeof record);
        helper->output().erase(0, sizeof record);
        if (std::max(record.keys, record.clicks) > mostPresses) {
            helper->output().clear();
            helper->kill();
            return;
        }
        deliver(TapEvent::Kind::Key, record.keys);
        deliver(TapEvent::Kind::Click, record.clicks);
        if (record != TapRecord {})
            restartPause = 0s;
    }
}

void WaylandTap::deliver(TapEvent::Kind kind, std::uint32_t times)
{
    for (std::uint32_t i = 0; i < times; ++i)
        tap->handler({ .kind = kind });
}

void WaylandTap::helperEnded()
{
    readRecords();
    if (!tap)
        return;
    restart.start(restartPause);
    restartPause = std::clamp(2 * restartPause, std::chrono::seconds(1s), longestPause);
}

// To the program this is a tap that the system has disabled, which it enables again.
void WaylandTap::giveNotice()
{
    if (tap && tap->isRunning)
        tap->handler({ .kind = TapEvent::Kind::Disabled });
}
