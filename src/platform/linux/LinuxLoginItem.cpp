#include "platform/linux/LinuxLoginItem.h"

#include "platform/linux/BaseFolders.h"

#include <fstream>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

using DesktopEntry = std::unordered_map<std::string, std::string>;

constexpr std::uintmax_t largestDesktopEntry = 64 * 1024;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// The keys of the group "Desktop Entry"; nothing when there is no such group. Of a repeated key, the last
/// one counts.
std::optional<DesktopEntry> parseDesktopEntry(std::istream& lines)
{
    std::optional<DesktopEntry> entry;
    bool isInGroup = false;
    for (std::string line; std::getline(lines, line);) {
        const std::string_view text = trimmed(line);
        if (text.starts_with('[')) {
            isInGroup = text == "[Desktop Entry]";
            if (isInGroup && !entry)
                entry.emplace();
            continue;
        }
        const auto equals = text.find('=');
        if (!isInGroup || text.starts_with('#') || equals == std::string_view::npos)
            continue;
        (*entry)[std::string(trimmed(text.substr(0, equals)))] = trimmed(text.substr(equals + 1));
    }
    return entry;
}

/// Nothing when there is no such file, when it is no desktop entry, and when it is something that must not be
/// read, such as a FIFO. A link to /dev/null, with which some people switch an entry off, is no desktop entry
/// either.
std::optional<DesktopEntry> readDesktopEntry(const std::filesystem::path& file)
{
    std::error_code unreadable;
    if (!std::filesystem::is_regular_file(file, unreadable))
        return {};
    if (std::filesystem::file_size(file, unreadable) > largestDesktopEntry)
        return {};
    std::ifstream lines(file);
    return parseDesktopEntry(lines);
}

/// Desktops write "true" and "false"; "1" and "0" are what entries of old had.
bool isTrue(const DesktopEntry& entry, const std::string& key)
{
    const auto found = entry.find(key);
    return found != entry.end() && (found->second == "true" || found->second == "1");
}

bool isFalse(const DesktopEntry& entry, const std::string& key)
{
    const auto found = entry.find(key);
    return found != entry.end() && (found->second == "false" || found->second == "0");
}

}

LoginItemStatus LinuxLoginItem::status()
{
    const auto folder = configurationFolder();
    if (!folder)
        return LoginItemStatus::NotFound;
    const auto entry = readDesktopEntry(*folder / "autostart" / "org.knucklet.Knucklet.desktop");
    if (!entry || isTrue(*entry, "Hidden") || isFalse(*entry, "X-GNOME-Autostart-enabled"))
        return LoginItemStatus::NotRegistered;
    return LoginItemStatus::Enabled;
}
