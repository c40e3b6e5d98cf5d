#pragma once

#include <string>
#include <vector>

/// The locale for dates by its ICU name, such as "de_DE" or "sr_Latn_RS", from LC_ALL, LC_TIME or LANG. No
/// preference (nothing set, "C", "POSIX") and values that name no locale read as "en_US".
std::string userDateLocale();

/// The locale for numbers, in the same way from LC_ALL, LC_NUMERIC or LANG.
std::string userNumberLocale();

/// The languages that the user reads, by the same names, the favorite first: from LANGUAGE, which may name
/// several, else from LC_ALL, LC_MESSAGES or LANG.
std::vector<std::string> userLanguages();
