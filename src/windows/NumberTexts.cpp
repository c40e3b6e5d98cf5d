#include "windows/NumberTexts.h"

#include "support/UserLocale.h"
#include "windows/IcuCheck.h"

#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

struct NumberTexts::Icu {
    icu::number::LocalizedNumberFormatter formatter;
};

NumberTexts::NumberTexts(const std::string& locale)
    : icu(
        std::make_unique<Icu>(Icu { icu::number::NumberFormatter::withLocale(icu::Locale(locale.c_str())) }))
{
}

NumberTexts NumberTexts::forUser() { return NumberTexts(userNumberLocale()); }

NumberTexts::NumberTexts(NumberTexts&&) noexcept = default;
NumberTexts::~NumberTexts() = default;

std::string NumberTexts::grouped(std::int64_t number) const
{
    UErrorCode status = U_ZERO_ERROR;
    const auto formatted = icu->formatter.formatInt(number, status).toString(status);
    check(status);
    std::string utf8;
    return formatted.toUTF8String(utf8);
}
