#pragma once

#include <string_view>

/// The text without the blanks around it, and without the ends of lines.
std::string_view trimmed(std::string_view text);
