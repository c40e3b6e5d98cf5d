#include "windows/DateTexts.h"

#include "support/UserLocale.h"
#include "windows/IcuCheck.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <chrono>
#include <utility>

namespace {

using Format = std::unique_ptr<icu::DateFormat>;

/// Where a day of ICU is a day of ours.
Format inUtc(Format format)
{
    format->adoptTimeZone(icu::TimeZone::getGMT()->clone());
    return format;
}

/// The locale's own order and punctuation for the named parts of a date.
Format forParts(const char16_t* skeleton, const icu::Locale& locale)
{
    UErrorCode status = U_ZERO_ERROR;
    Format format(icu::DateFormat::createInstanceForSkeleton(skeleton, locale, status));
    check(status);
    return inUtc(std::move(format));
}

Format forPattern(const char16_t* pattern, const icu::Locale& locale)
{
    UErrorCode status = U_ZERO_ERROR;
    Format format = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
    check(status);
    return inUtc(std::move(format));
}

std::string text(const Format& format, CivilDay day)
{
    const std::chrono::milliseconds sinceEpoch = day.time_since_epoch();
    icu::UnicodeString formatted;
    format->format(static_cast<UDate>(sinceEpoch.count()), formatted);
    std::string utf8;
    return formatted.toUTF8String(utf8);
}

}

struct DateTexts::Icu {
    Format weekdayAndDate;
    Format weekdayAndFullDate;
    Format date;
    Format weekdayLetter;
};

DateTexts::DateTexts(const std::string& locale)
{
    const icu::Locale icuLocale(locale.c_str());
    icu = std::make_unique<Icu>(Icu {
        .weekdayAndDate = forParts(u"EEEEdMMM", icuLocale),
        .weekdayAndFullDate = forParts(u"EEEEdMMMM", icuLocale),
        .date = forParts(u"dMMM", icuLocale),
        .weekdayLetter = forPattern(u"ccccc", icuLocale),
    });
}

DateTexts DateTexts::forUser() { return DateTexts(userDateLocale()); }

DateTexts::DateTexts(DateTexts&&) noexcept = default;
DateTexts::~DateTexts() = default;

std::string DateTexts::weekdayAndDate(CivilDay day) const { return text(icu->weekdayAndDate, day); }

std::string DateTexts::weekdayAndFullDate(CivilDay day) const { return text(icu->weekdayAndFullDate, day); }

std::string DateTexts::date(CivilDay day) const { return text(icu->date, day); }

std::string DateTexts::weekdayLetter(CivilDay day) const { return text(icu->weekdayLetter, day); }
