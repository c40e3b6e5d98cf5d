#include "platform/linux/process/Text.h"

#include <sstream>

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\v\f\r\n";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::vector<std::string> listOf(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream { std::string(text) };
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}
