#pragma once

#include <cstdint>
#include <memory>
#include <string>

/// Writes whole numbers for people, in UTF-8, with the digits and the grouping of one locale.
class NumberTexts final {
public:
    /// An ICU locale such as "de_DE".
    explicit NumberTexts(const std::string& locale);
    static NumberTexts forUser();
    NumberTexts(NumberTexts&&) noexcept;
    ~NumberTexts();

    /// Such as "12,345".
    std::string grouped(std::int64_t number) const;

private:
    struct Icu;
    std::unique_ptr<Icu> icu;
};
