#include "model/CompactCount.h"

#include <array>
#include <charconv>

namespace {

std::string oneDecimal(double value, char unit)
{
    // The longest text is that of 2^63 / 1,000,000: thirteen digits, a full stop, one more digit and the
    // unit.
    std::array<char, 24> text {};
    // Rounds as printf does: 1.25 becomes 1.2, since the double is exactly between and 2 is even.
    auto [end, error]
        = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 1);
    *end++ = unit;
    return { text.data(), end };
}

}

std::string compactCount(std::int64_t n)
{
    if (n < 1'000)
        return std::to_string(n);
    if (n <= 999'999)
        return oneDecimal(static_cast<double>(n) / 1'000, 'k');
    return oneDecimal(static_cast<double>(n) / 1'000'000, 'M');
}
