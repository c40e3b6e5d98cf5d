#include "platform/linux/process/SystemClock.h"

#include <time.h>

Moment SystemClock::now() const
{
    timespec time {};
    clock_gettime(CLOCK_REALTIME, &time);
    const auto sinceEpoch = std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    return Moment(std::chrono::floor<std::chrono::milliseconds>(sinceEpoch));
}
