#include "platform/linux/LinuxLoginItem.h"

#include "platform/linux/BaseFolders.h"
#include "support/AtomicFile.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdlib>
#include <fstream>
#include <sstream>
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

std::filesystem::path entryIn(const std::filesystem::path& configuration)
{
    return configuration / "autostart" / "org.knucklet.Knucklet.desktop";
}

/// Without following links: one that leads nowhere stands in its place all the same.
bool isThere(const std::filesystem::path& file)
{
    std::error_code unknown;
    return std::filesystem::exists(std::filesystem::symlink_status(file, unknown));
}

/// The one entry that the desktop looks at: the user's, else the first of the system's; nothing when there is
/// none.
std::optional<std::filesystem::path> effectiveEntry(const std::filesystem::path& userConfiguration)
{
    if (isThere(entryIn(userConfiguration)))
        return entryIn(userConfiguration);
    const char* folders = std::getenv("XDG_CONFIG_DIRS");
    std::istringstream list(folders && *folders ? folders : "/etc/xdg");
    for (std::string folder; std::getline(list, folder, ':');) {
        if (folder.starts_with('/') && isThere(entryIn(folder)))
            return entryIn(folder);
    }
    return {};
}

bool writeUserEntry(std::string_view text)
{
    const auto configuration = configurationFolder();
    if (!configuration)
        return false;
    const auto file = entryIn(*configuration);
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    return replaceFile(file, text);
}

/// An argument of a command line as entries hold it: within quotes, and then escaped once more as every text
/// of an entry is.
std::string quotedArgument(std::string_view argument)
{
    std::string quoted = "\"";
    for (const char character : argument) {
        switch (character) {
        case '"':
        case '`':
        case '$':
            quoted += "\\\\";
            quoted += character;
            break;
        case '\\':
            quoted += "\\\\\\\\";
            break;
        case '%':
            quoted += "%%";
            break;
        case '\n':
            quoted += "\\n";
            break;
        case '\r':
            quoted += "\\r";
            break;
        case '\t':
            quoted += "\\t";
            break;
        default:
            quoted += character;
        }
    }
    return quoted + '"';
}

}

LoginItemStatus LinuxLoginItem::status()
{
    const auto configuration = configurationFolder();
    if (!configuration)
        return LoginItemStatus::NotFound;
    const auto file = effectiveEntry(*configuration);
    if (!file)
        return LoginItemStatus::NotRegistered;
    const auto entry = readDesktopEntry(*file);
    if (!entry || isTrue(*entry, "Hidden") || isFalse(*entry, "X-GNOME-Autostart-enabled"))
        return LoginItemStatus::NotRegistered;
    return LoginItemStatus::Enabled;
}

bool LinuxLoginItem::registerItem()
{
    if (status() == LoginItemStatus::Enabled)
        return true;
    const auto executable = QFile::encodeName(QCoreApplication::applicationFilePath());
    return writeUserEntry(autostartEntry({ executable.data(), static_cast<std::size_t>(executable.size()) }))
        && status() == LoginItemStatus::Enabled;
}

bool LinuxLoginItem::unregisterItem()
{
    if (status() != LoginItemStatus::Enabled)
        return true;
    std::error_code refused;
    std::filesystem::remove(entryIn(*configurationFolder()), refused);
    if (status() != LoginItemStatus::Enabled)
        return true;
    // An entry of the system's can only be hidden by one of the user's own.
    return writeUserEntry("[Desktop Entry]\nType=Application\nName=Knucklet\nHidden=true\n")
        && status() != LoginItemStatus::Enabled;
}

std::string autostartEntry(std::string_view executable)
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Knucklet\n"
           "Comment=Counts key presses and mouse clicks per day, never which key\n"
           "Exec="
        + quotedArgument(executable)
        + "\n"
          "Icon=org.knucklet.Knucklet\n"
          "Terminal=false\n";
}
