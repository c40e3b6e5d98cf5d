#include "platform/linux/LinuxTimers.h"

#include <QTimer>

LinuxTimers::LinuxTimers() = default;
LinuxTimers::~LinuxTimers() = default;

TimerId LinuxTimers::scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick)
{
    auto timer = std::make_unique<QTimer>();
    // The ticks of coarse timers are put together with those of other programs, so that the machine wakes up
    // once for all of them. They may be off by 5%, which nobody notices here.
    timer->setTimerType(Qt::CoarseTimer);
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), std::move(tick));
    timer->start(interval);

    const TimerId id { ++lastId };
    timers.emplace(id, std::move(timer));
    return id;
}

void LinuxTimers::invalidate(TimerId timer)
{
    const auto found = timers.extract(timer);
    if (!found)
        return;
    found.mapped()->stop();
    // Not deleted here: this may be the timer's own tick.
    found.mapped().release()->deleteLater();
}

void LinuxTimers::callLater(std::function<void()> call)
{
    QMetaObject::invokeMethod(&pendingCalls, std::move(call), Qt::QueuedConnection);
}
