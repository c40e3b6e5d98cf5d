#pragma once

#include "platform/Clock.h"

#include <memory>
#include <string>

/// Writes dates for people, in UTF-8, as one locale orders and names them. Making one takes milliseconds,
/// using it microseconds.
class DateTexts final {
public:
    /// An ICU locale such as "de_DE" and an Olson id such as "Europe/Berlin".
    DateTexts(const std::string& locale, const std::string& zone);
    static DateTexts forUser();
    DateTexts(DateTexts&&) noexcept;
    ~DateTexts();

    /// Such as "Sunday, Nov 15".
    std::string weekdayAndDate(Moment moment) const;
    /// Such as "Sunday, November 15".
    std::string weekdayAndFullDate(Moment moment) const;
    /// Such as "Nov 15".
    std::string date(Moment moment) const;
    /// The shortest name of the weekday, such as "S", as it stands alone.
    std::string weekdayLetter(Moment moment) const;
    /// Whether the locale's language is read from right to left.
    bool isRightToLeft() const;

private:
    struct Icu;
    std::unique_ptr<Icu> icu;
};
