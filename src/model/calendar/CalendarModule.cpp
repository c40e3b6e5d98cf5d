#include "model/calendar/CalendarModule.h"

#include "Build.h"

#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <string_view>

namespace {

using namespace std::chrono;

constexpr auto millisecondsOfDay = static_cast<UDate>(milliseconds(days(1)).count());

class CalendarKeys final : public DayKeys {
public:
    CalendarKeys(const char* locale, UErrorCode& status)
        : format(icu::UnicodeString(u"yyyy-MM-dd"), icu::Locale(locale), status)
    {
        // Where a day of ICU is a day of ours.
        format.adoptTimeZone(icu::TimeZone::getGMT()->clone());
    }

    std::string key(CivilDay day) const override
    {
        icu::UnicodeString text;
        std::string key;
        return format.format(static_cast<UDate>(day.time_since_epoch().count()) * millisecondsOfDay, text)
            .toUTF8String(key);
    }

    std::optional<CivilDay> parse(const std::string& key) const override
    {
        icu::ParsePosition position;
        const auto date = format.parse(icu::UnicodeString::fromUTF8(key), position);
        if (position.getIndex() == 0)
            return {};

        // ICU reads the 13th month, tails, missing zeros and the digits of other locales: it is the way back
        // that decides.
        const CivilDay day(days(static_cast<days::rep>(date / millisecondsOfDay)));
        if (this->key(day) != key)
            return {};
        return day;
    }

private:
    icu::SimpleDateFormat format;
};

} // namespace

DayKeys* knuckletCalendar(const char* build, const char* locale)
{
    if (std::string_view(build) != buildId)
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    auto keys = std::make_unique<CalendarKeys>(locale, status);
    return U_SUCCESS(status) ? keys.release() : nullptr;
}
