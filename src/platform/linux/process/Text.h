#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The text without the blanks around it, and without the ends of lines.
std::string_view trimmed(std::string_view text);

/// What stands between the separators. Nothing is left out but what is empty at the end.
std::vector<std::string> listOf(std::string_view text, char separator);
