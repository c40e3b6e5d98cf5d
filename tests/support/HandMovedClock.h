#pragma once

#include "platform/Clock.h"

#include <cstdint>

/// A clock that stands still between the moves of a test.
class HandMovedClock final : public Clock {
public:
    explicit HandMovedClock(Moment moment)
        : moment(moment)
    {
    }

    Moment now() const override
    {
        ++timesRead;
        return moment + static_cast<std::int64_t>(timesRead - 1) * stepPerReading;
    }

    Moment moment;
    /// How far each reading moves it on.
    std::chrono::milliseconds stepPerReading { 0 };
    mutable int timesRead = 0;
};
