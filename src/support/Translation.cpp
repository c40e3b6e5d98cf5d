#include "support/Translation.h"

#include "support/UserLocale.h"

#include <algorithm>

namespace {

/// The language without its last part, such as a territory; empty after the first one.
std::string_view shortened(std::string_view language)
{
    const auto end = language.rfind('_');
    return language.substr(0, end == std::string_view::npos ? 0 : end);
}

}

std::string translate(std::string_view context, std::string_view text)
{
    const auto table = translations();
    for (const auto& wanted : userLanguages()) {
        for (std::string_view language = wanted; !language.empty(); language = shortened(language)) {
            const auto found = std::ranges::find_if(table, [&](const Translation& each) {
                return each.language == language && each.context == context && each.text == text;
            });
            if (found != table.end())
                return std::string(found->translation);
        }
    }
    return std::string(text);
}
