#include "platform/linux/process/AutostartEntry.h"

#include "platform/linux/process/BaseFolders.h"
#include "platform/linux/process/FindProgram.h"
#include "platform/linux/process/KeyFile.h"
#include "platform/linux/process/Session.h"
#include "platform/linux/process/Text.h"
#include "support/AtomicFile.h"
#include "support/InstalledFiles.h"

#include <algorithm>
#include <vector>

namespace {

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
std::optional<std::filesystem::path> effectiveEntry()
{
    for (const auto& folder : configurationFolders()) {
        if (isThere(entryIn(folder)))
            return entryIn(folder);
    }
    return {};
}

/// The effective entry unless it is switched off.
std::optional<KeyGroup> entryThatStarts()
{
    const auto file = effectiveEntry();
    // A link to /dev/null, with which some people switch an entry off, has no such group.
    auto entry = file ? readKeyGroup(*file, "Desktop Entry") : std::nullopt;
    if (entry && (isTrue(*entry, "Hidden") || isFalse(*entry, "X-GNOME-Autostart-enabled")))
        entry.reset();
    return entry;
}

bool isMeantForThisDesktop(const KeyGroup& entry)
{
    const auto desktops = listOf(environment("XDG_CURRENT_DESKTOP"), ':');
    const auto namesIt = [&](const char* key) {
        const auto named = listOf(valueOf(entry, key), ';');
        return std::find_first_of(named.begin(), named.end(), desktops.begin(), desktops.end())
            != named.end();
    };
    return (!entry.contains("OnlyShowIn") || namesIt("OnlyShowIn")) && !namesIt("NotShowIn");
}

/// A text of an entry as it is meant.
std::string unescaped(std::string_view text)
{
    std::string meant;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            meant += text[i];
            continue;
        }
        constexpr std::string_view letters = "sntr\\";
        constexpr std::string_view meanings = " \n\t\r\\";
        const auto letter = letters.find(text[++i]);
        if (letter == std::string_view::npos)
            meant += '\\';
        meant += letter == std::string_view::npos ? text[i] : meanings[letter];
    }
    return meant;
}

/// The first word of a command line, which names the program, without its quotes.
std::string programOf(std::string_view commandLine)
{
    std::string program;
    char quote = 0;
    for (std::size_t i = 0; i < commandLine.size(); ++i) {
        const char character = commandLine[i];
        const char next = i + 1 < commandLine.size() ? commandLine[i + 1] : '\0';
        if ((character == '\\' && quote != '\'') || (character == '%' && next == '%')) {
            program += next;
            ++i;
        } else if (character == quote) {
            quote = 0;
        } else if (quote == 0 && (character == '"' || character == '\'')) {
            quote = character;
        } else if (quote == 0 && character == ' ') {
            break;
        } else {
            program += character;
        }
    }
    return program;
}

/// Whether there is a program to start, and not another one of the same name, such as an older copy. What a
/// program of another name does, which the user has put in front of this one, cannot be known.
bool startsThisProgram(const KeyGroup& entry)
{
    const auto needed = unescaped(valueOf(entry, "TryExec"));
    const auto program = findProgram(programOf(unescaped(valueOf(entry, "Exec"))));
    if (!program || (!needed.empty() && !findProgram(needed)))
        return false;
    std::error_code unknown;
    return program->filename() != ownExecutable().filename()
        || std::filesystem::equivalent(*program, ownExecutable(), unknown);
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

LoginItemStatus AutostartEntry::status()
{
    if (!configurationFolder())
        return LoginItemStatus::NotFound;
    const auto entry = entryThatStarts();
    return entry && isMeantForThisDesktop(*entry) && startsThisProgram(*entry)
        ? LoginItemStatus::Enabled
        : LoginItemStatus::NotRegistered;
}

bool AutostartEntry::registerItem()
{
    if (status() == LoginItemStatus::Enabled)
        return true;
    return writeUserEntry(autostartEntry(ownExecutable().native())) && status() == LoginItemStatus::Enabled;
}

bool AutostartEntry::unregisterItem()
{
    // One that starts another program, or none, in place of this one goes as well.
    if (!entryThatStarts())
        return true;
    std::error_code refused;
    if (const auto configuration = configurationFolder())
        std::filesystem::remove(entryIn(*configuration), refused);
    if (!entryThatStarts())
        return true;
    // An entry of the system's can only be hidden by one of the user's own.
    return writeUserEntry("[Desktop Entry]\nType=Application\nName=Knucklet\nHidden=true\n")
        && !entryThatStarts();
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
