#include "support/UserLocale.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>
#include <string_view>

namespace {

// What "no preference" reads as. ICU's own reading of "C", en_US_POSIX, writes numbers without grouping.
constexpr std::string_view withoutPreference = "en_US";

bool isLetter(char character)
{
    return ('a' <= character && character <= 'z') || ('A' <= character && character <= 'Z');
}

bool isDigit(char character) { return '0' <= character && character <= '9'; }

bool isLanguage(std::string_view text)
{
    return (text.size() == 2 || text.size() == 3) && std::ranges::all_of(text, isLetter);
}

bool isTerritory(std::string_view text)
{
    return (text.size() == 2 && std::ranges::all_of(text, isLetter))
        || (text.size() == 3 && std::ranges::all_of(text, isDigit));
}

/// The script that a modifier such as "latin" asks for; empty for the rest ("euro"), which change no date or
/// number.
std::string_view script(std::string_view modifier)
{
    if (modifier == "latin")
        return "Latn";
    if (modifier == "cyrillic")
        return "Cyrl";
    if (modifier == "devanagari")
        return "Deva";
    return {};
}

/// `posix` is language[_TERRITORY][.codeset][@modifier].
std::string icuLocale(std::string_view posix)
{
    const auto modifierAt = std::min(posix.find('@'), posix.size());
    const auto modifier = posix.substr(std::min(modifierAt + 1, posix.size()));
    const auto name = posix.substr(0, std::min(posix.find('.'), modifierAt));
    const auto territoryAt = std::min(name.find('_'), name.size());
    const auto language = name.substr(0, territoryAt);
    const auto territory = name.substr(territoryAt);

    if (!isLanguage(language) || (!territory.empty() && !isTerritory(territory.substr(1))))
        return std::string(withoutPreference);

    std::string locale(language);
    if (const auto subtag = script(modifier); !subtag.empty())
        locale.append("_").append(subtag);
    return locale.append(territory);
}

std::string userLocale(const char* category)
{
    for (const auto* variable : std::array { "LC_ALL", category, "LANG" }) {
        const auto* value = std::getenv(variable);
        if (value && *value != '\0')
            return icuLocale(value);
    }
    return std::string(withoutPreference);
}

} // namespace

std::string userDateLocale() { return userLocale("LC_TIME"); }

std::string userNumberLocale() { return userLocale("LC_NUMERIC"); }

std::vector<std::string> userLanguages()
{
    std::vector<std::string> languages;
    const auto* value = std::getenv("LANGUAGE");
    std::istringstream list(value ? value : "");
    for (std::string language; std::getline(list, language, ':');) {
        if (!language.empty())
            languages.push_back(icuLocale(language));
    }
    if (languages.empty())
        languages.push_back(userLocale("LC_MESSAGES"));
    return languages;
}
