#include "DateTexts.h"

#include "support/Fatal.h"
#include "support/UserLocale.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace {

using Format = std::unique_ptr<icu::DateFormat>;

// ICU fails here only without its data or without memory.
void check(UErrorCode status)
{
    if (U_FAILURE(status))
        fatal();
}

Format inZone(Format format, const std::string& zone)
{
    format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
    return format;
}

/// The locale's own order and punctuation for the named parts of a date.
Format forParts(const char16_t* skeleton, const icu::Locale& locale, const std::string& zone)
{
    UErrorCode status = U_ZERO_ERROR;
    Format format(icu::DateFormat::createInstanceForSkeleton(skeleton, locale, status));
    check(status);
    return inZone(std::move(format), zone);
}

Format forPattern(const char16_t* pattern, const icu::Locale& locale, const std::string& zone)
{
    UErrorCode status = U_ZERO_ERROR;
    Format format = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
    check(status);
    return inZone(std::move(format), zone);
}

std::string text(const Format& format, Moment moment)
{
    icu::UnicodeString formatted;
    format->format(static_cast<UDate>(moment.time_since_epoch().count()), formatted);
    std::string utf8;
    return formatted.toUTF8String(utf8);
}

}

struct DateTexts::Icu {
    icu::Locale locale;
    Format weekdayAndDate;
    Format weekdayAndFullDate;
    Format date;
    Format weekdayLetter;
};

DateTexts::DateTexts(const std::string& locale, const std::string& zone)
{
    const icu::Locale icuLocale(locale.c_str());
    icu = std::make_unique<Icu>(Icu {
        .locale = icuLocale,
        .weekdayAndDate = forParts(u"EEEEdMMM", icuLocale, zone),
        .weekdayAndFullDate = forParts(u"EEEEdMMMM", icuLocale, zone),
        .date = forParts(u"dMMM", icuLocale, zone),
        .weekdayLetter = forPattern(u"ccccc", icuLocale, zone),
    });
}

DateTexts DateTexts::forUser() { return { userDateLocale(), userTimeZone() }; }

DateTexts::DateTexts(DateTexts&&) noexcept = default;
DateTexts::~DateTexts() = default;

std::string DateTexts::weekdayAndDate(Moment moment) const { return text(icu->weekdayAndDate, moment); }

std::string DateTexts::weekdayAndFullDate(Moment moment) const
{
    return text(icu->weekdayAndFullDate, moment);
}

std::string DateTexts::date(Moment moment) const { return text(icu->date, moment); }

std::string DateTexts::weekdayLetter(Moment moment) const { return text(icu->weekdayLetter, moment); }

bool DateTexts::isRightToLeft() const { return icu->locale.isRightToLeft(); }
