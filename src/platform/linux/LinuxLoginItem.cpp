#include "platform/linux/LinuxLoginItem.h"

#include "platform/linux/BaseFolders.h"
#include "platform/linux/KeyFile.h"
#include "support/AtomicFile.h"

#include <QCoreApplication>
#include <QFile>
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
    if (!configurationFolder())
        return LoginItemStatus::NotFound;
    const auto file = effectiveEntry();
    if (!file)
        return LoginItemStatus::NotRegistered;
    // A link to /dev/null, with which some people switch an entry off, has no such group.
    const auto entry = readKeyGroup(*file, "Desktop Entry");
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
