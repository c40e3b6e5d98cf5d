#include "platform/linux/process/Text.h"

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\v\f\r\n";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}
