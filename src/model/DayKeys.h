#pragma once

#include "model/CivilDay.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// Names days "yyyy-MM-dd" in the calendar and the digits of one locale, and reads such names.
class DayKeys {
public:
    virtual ~DayKeys() = default;

    virtual std::string key(CivilDay day) const = 0;
    /// Nothing for a text that is no key of this locale.
    virtual std::optional<CivilDay> parse(const std::string& key) const = 0;
};

/// The keys of an ICU locale such as "de_DE" or "th_TH", in UTF-8.
std::unique_ptr<DayKeys> makeDayKeys(const std::string& locale);

/// Whether dates are written in the Gregorian calendar and in ASCII digits there. In doubt they are not.
bool isPlainLocale(std::string_view locale);
