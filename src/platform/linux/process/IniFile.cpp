#include "platform/linux/process/IniFile.h"

#include "platform/linux/process/Text.h"

#include <strings.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view lineEnds = "\r\n";

/// The size of the first line, with its end as any system writes it.
std::size_t lineSize(std::string_view text)
{
    const auto end = text.find_first_of(lineEnds);
    if (end == std::string_view::npos)
        return text.size();
    return end + (text.substr(end).starts_with("\r\n") ? 2 : 1);
}

/// The line in front of its comment, which a semicolon begins that is not within quotes.
std::string_view withoutComment(std::string_view line)
{
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"')
            isQuoted = !isQuoted;
        else if (line[i] == '\\')
            ++i;
        else if (line[i] == ';' && !isQuoted)
            return line.substr(0, i);
    }
    return line;
}

std::string_view withoutQuotes(std::string_view text)
{
    const bool isQuoted = text.size() >= 2 && text.starts_with('"') && text.ends_with('"');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

struct Entry {
    std::string_view key;
    std::string_view value;
};

/// Nothing when the line says something else.
std::optional<Entry> entryOf(std::string_view line)
{
    const auto meant = withoutComment(line);
    const auto equals = meant.find('=');
    if (equals == std::string_view::npos)
        return {};
    return Entry { trimmed(meant.substr(0, equals)), withoutQuotes(trimmed(meant.substr(equals + 1))) };
}

/// The section that the line begins; nothing when it begins none.
std::optional<std::string_view> sectionOf(std::string_view line)
{
    const auto meant = trimmed(withoutComment(line));
    if (!meant.starts_with('['))
        return {};
    return trimmed(meant.substr(1, meant.find(']') - 1));
}

bool isGeneral(std::string_view section)
{
    constexpr std::string_view name = "General";
    return section.size() == name.size() && strncasecmp(section.data(), name.data(), name.size()) == 0;
}

}

IniFile::IniFile(std::string_view text)
{
    if (text.starts_with(byteOrderMark)) {
        mark = byteOrderMark;
        text.remove_prefix(byteOrderMark.size());
    }
    // Keys in front of every section belong to it as well.
    bool isInGeneral = true;
    while (!text.empty()) {
        const auto size = lineSize(text);
        const auto line = text.substr(0, size);
        if (const auto section = sectionOf(line))
            isInGeneral = isGeneral(*section);
        lines.push_back({ std::string(line), isInGeneral });
        text.remove_prefix(size);
    }
}

std::optional<std::string_view> IniFile::value(std::string_view key) const
{
    const auto line = lastLineOf(key);
    return line ? std::optional(entryOf(lines[*line].text)->value) : std::nullopt;
}

void IniFile::setValue(std::string_view key, std::string_view value)
{
    const auto entry = std::string(key) + '=' + std::string(value);
    if (const auto line = lastLineOf(key)) {
        auto& text = lines[*line].text;
        const auto meant = withoutComment(text);
        // The blanks in front of a comment, or the end of the line, stay too.
        const auto kept
            = static_cast<std::size_t>(trimmed(meant).data() + trimmed(meant).size() - text.data());
        text.replace(0, kept, entry);
        return;
    }
    auto place = std::find_if(lines.rbegin(), lines.rend(), [](const Line& line) {
        return line.isGeneral && (sectionOf(line.text) || entryOf(line.text));
    }).base();
    const bool hasSection = place != lines.begin();
    if (!hasSection)
        place = lines.end();
    if (place != lines.begin() && std::prev(place)->text.find_last_of(lineEnds) == std::string::npos)
        std::prev(place)->text += '\n';
    place = lines.insert(place, { entry + '\n', true });
    if (!hasSection)
        lines.insert(place, { "[General]\n", true });
}

std::string IniFile::text() const
{
    auto text = mark;
    for (const auto& line : lines)
        text += line.text;
    return text;
}

std::optional<std::size_t> IniFile::lastLineOf(std::string_view key) const
{
    for (auto line = lines.size(); line-- > 0;) {
        const auto entry = entryOf(lines[line].text);
        if (lines[line].isGeneral && entry && entry->key == key)
            return line;
    }
    return {};
}
