#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The text of an INI file that people may edit, of which only the keys of the section "General" are looked
/// at. Everything else, comments and what cannot be understood included, stays as it is.
class IniFile final {
public:
    explicit IniFile(std::string_view text);

    /// Without its blanks, quotes and comment; nothing when there is no such key. Of a repeated key, the last
    /// one counts.
    std::optional<std::string_view> value(std::string_view key) const;
    void setValue(std::string_view key, std::string_view value);
    std::string text() const;

private:
    struct Line {
        /// Its end included.
        std::string text;
        bool isGeneral = false;
    };

    std::optional<std::size_t> lastLineOf(std::string_view key) const;

    /// What some editors of other systems begin a file with.
    std::string mark;
    std::vector<Line> lines;
};
