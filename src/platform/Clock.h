#pragma once

#include <chrono>

/// A point in time, in whole milliseconds since 1970-01-01 00:00 UTC.
using Moment = std::chrono::sys_time<std::chrono::milliseconds>;

/// The wall clock. It may jump either way at any time.
class Clock {
public:
    virtual ~Clock() = default;

    virtual Moment now() const = 0;
};
