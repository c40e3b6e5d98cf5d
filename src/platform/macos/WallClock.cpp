#include "platform/macos/WallClock.h"

Moment WallClock::now() const
{
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}
