#include "model/DayKeys.h"

#include "Build.h"
#include "model/calendar/CalendarModule.h"
#include "support/Module.h"

#include <array>
#include <charconv>

namespace {

using namespace std::chrono;

void appendNumber(std::string& text, int number, std::size_t leastLength)
{
    std::array<char, 16> digits {};
    const auto* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    const auto length = static_cast<std::size_t>(end - digits.data());
    if (length < leastLength)
        text.append(leastLength - length, '0');
    text.append(digits.data(), length);
}

/// The number at the beginning of the text, which is cut off; 0 where there is none.
int takeNumber(std::string_view& text)
{
    int number = 0;
    const auto* end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

class PlainDayKeys final : public DayKeys {
public:
    std::string key(CivilDay day) const override
    {
        const year_month_day date(day);
        std::string key;
        appendNumber(key, static_cast<int>(date.year()), 4);
        key += '-';
        appendNumber(key, static_cast<int>(static_cast<unsigned>(date.month())), 2);
        key += '-';
        appendNumber(key, static_cast<int>(static_cast<unsigned>(date.day())), 2);
        return key;
    }

    std::optional<CivilDay> parse(const std::string& key) const override
    {
        std::string_view rest = key;
        const year readYear(takeNumber(rest));
        // The hyphens read as signs.
        const month readMonth(0U - static_cast<unsigned>(takeNumber(rest)));
        const day readDay(0U - static_cast<unsigned>(takeNumber(rest)));
        const year_month_day date(readYear, readMonth, readDay);
        if (!date.ok())
            return {};

        // It is the way back that decides: it shows a tail, missing zeros and signs.
        const CivilDay day(date);
        if (this->key(day) != key)
            return {};
        return day;
    }
};

/// Null where the calendar module cannot be had.
std::unique_ptr<DayKeys> makeCalendarKeys(const std::string& locale)
{
    const auto make = reinterpret_cast<decltype(&knuckletCalendar)>(
        Module("knucklet-calendar.so").load("knuckletCalendar"));
    return std::unique_ptr<DayKeys>(make ? make(buildId, locale.c_str()) : nullptr);
}

} // namespace

std::unique_ptr<DayKeys> makeDayKeys(const std::string& locale)
{
    if (!isPlainLocale(locale)) {
        if (auto keys = makeCalendarKeys(locale))
            return keys;
    }
    // Also the keys of a locale whose own cannot be had: counting goes on.
    return std::make_unique<PlainDayKeys>();
}
