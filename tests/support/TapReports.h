#pragma once

#include "platform/EventTap.h"

#include <functional>

/// What a tap and a monitor reported.
struct TapReports {
    int keys = 0;
    int repeats = 0;
    int clicks = 0;
    int notices = 0;
    int monitored = 0;
};

/// The handler of a tap, which only counts. The reports must outlive it.
std::function<void(const TapEvent&)> reportTo(TapReports& reports);
