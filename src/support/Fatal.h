#pragma once

#include <cstdint>
#include <cstdlib>

/// Ends the process at once, for states that cannot happen unless the program or its data is wrong beyond
/// repair: a counter that overflows, a negative number of days, no application-data folder. Nothing is saved
/// and nothing is said.
[[noreturn]] inline void fatal() { std::abort(); }

/// The sum of two counts; fatal when it does not fit in 64 bits.
inline std::int64_t checkedAdd(std::int64_t left, std::int64_t right)
{
    std::int64_t sum = 0;
    if (__builtin_add_overflow(left, right, &sum))
        fatal();
    return sum;
}
