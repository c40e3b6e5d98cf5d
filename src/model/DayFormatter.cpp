#include "model/DayFormatter.h"

#include "model/DayKeys.h"
#include "support/UserLocale.h"

DayFormatter::DayFormatter(const std::string& locale)
    : keys(makeDayKeys(locale))
{
}

DayFormatter DayFormatter::forUser() { return DayFormatter(userDateLocale()); }

DayFormatter::DayFormatter(DayFormatter&&) noexcept = default;
DayFormatter::~DayFormatter() = default;

std::string DayFormatter::key(CivilDay day) const { return keys->key(day); }

std::string DayFormatter::key(Moment moment) const { return key(civilDay(moment)); }

DaySpan DayFormatter::span(Moment moment) const
{
    const auto span = civilSpan(moment);
    return { .key = key(span.day), .begin = span.begin, .end = span.end };
}

std::optional<CivilDay> DayFormatter::parse(const std::string& key) const { return keys->parse(key); }
