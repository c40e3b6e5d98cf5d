#pragma once

#include "model/CivilDay.h"

#include <memory>
#include <string>

/// Writes days for people, in UTF-8, as one locale orders and names them. Making one takes milliseconds,
/// using it microseconds.
class DateTexts final {
public:
    /// An ICU locale such as "de_DE".
    explicit DateTexts(const std::string& locale);
    static DateTexts forUser();
    DateTexts(DateTexts&&) noexcept;
    ~DateTexts();

    /// Such as "Sunday, Nov 15".
    std::string weekdayAndDate(CivilDay day) const;
    /// Such as "Sunday, November 15".
    std::string weekdayAndFullDate(CivilDay day) const;
    /// Such as "Nov 15".
    std::string date(CivilDay day) const;
    /// The shortest name of the weekday, such as "S", as it stands alone.
    std::string weekdayLetter(CivilDay day) const;

private:
    struct Icu;
    std::unique_ptr<Icu> icu;
};
