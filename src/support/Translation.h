#pragma once

#include <span>
#include <string>
#include <string_view>

/// A text of the program in one language.
struct Translation {
    /// As a translation's file is named, such as "de" or "pt_BR".
    std::string_view language;
    std::string_view context;
    std::string_view text;
    std::string_view translation;
};

/// What the program says without its windows, in every language there is. The build makes the table of it
/// from the translations' files.
std::span<const Translation> translations();

/// The text in the user's language, where there is a translation into it, else the text itself. For what is
/// shown without the toolkit, which has its own way. The extraction of texts finds the literals of a call.
std::string translate(std::string_view context, std::string_view text);
