#include "platform/linux/portal/PictureApplications.h"

#include "platform/linux/process/BaseFolders.h"
#include "platform/linux/process/KeyFile.h"

#include <QLocale>
#include <QStandardPaths>
#include <QUrl>

namespace {

const std::string pictureType = "image/png";

QString text(std::string_view value)
{
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

/// The applications that a group of a file names for pictures, by the names of their entries.
QStringList named(const std::filesystem::path& file, std::string_view group)
{
    const auto keys = readKeyGroup(file, group);
    return keys ? text(valueOf(*keys, pictureType)).split(';', Qt::SkipEmptyParts) : QStringList();
}

/// The names of the entries of all applications for pictures, the user's favorites first.
QStringList pictureEntries()
{
    auto lists = configurationFolders();
    for (const auto& folder : dataFolders())
        lists.push_back(folder / "applications");

    QStringList entries;
    QStringList removed;
    for (const auto* group : { "Default Applications", "Added Associations" }) {
        for (const auto& folder : lists)
            entries += named(folder / "mimeapps.list", group);
    }
    for (const auto& folder : lists)
        removed += named(folder / "mimeapps.list", "Removed Associations");
    for (const auto& folder : dataFolders()) {
        for (const auto& entry : named(folder / "applications" / "mimeinfo.cache", "MIME Cache")) {
            if (!removed.contains(entry))
                entries << entry;
        }
    }
    entries.removeDuplicates();
    return entries;
}

/// The value in the user's language, where the entry has it.
QString localized(const KeyGroup& entry, const std::string& key)
{
    const auto locale = QLocale::system().name();
    for (const auto& language : { locale, locale.section('_', 0, 0) }) {
        if (const auto value = valueOf(entry, key + "[" + language.toStdString() + "]"); !value.empty())
            return text(value);
    }
    return text(valueOf(entry, key));
}

/// Whether the entry is for the user to see and its program is there.
bool isUsable(const KeyGroup& entry)
{
    if (isTrue(entry, "Hidden") || isTrue(entry, "NoDisplay") || isTrue(entry, "Terminal"))
        return false;
    const auto needed = text(valueOf(entry, "TryExec"));
    return needed.isEmpty() || !QStandardPaths::findExecutable(needed).isEmpty();
}

/// Nothing when the application is not there.
std::optional<Application> application(const QString& entryName)
{
    for (const auto& folder : dataFolders()) {
        const auto entry = readKeyGroup(folder / "applications" / entryName.toStdString(), "Desktop Entry");
        if (!entry)
            continue;
        const Application found { localized(*entry, "Name"), text(valueOf(*entry, "Icon")),
            text(valueOf(*entry, "Exec")) };
        // An entry of the user's own stands for the machine's, also when it only hides it.
        if (isUsable(*entry) && !found.name.isEmpty() && !commandToOpen({}, found).isEmpty())
            return found;
        return {};
    }
    return {};
}

QChar unescaped(QChar character)
{
    switch (character.unicode()) {
    case 's':
        return ' ';
    case 'n':
        return '\n';
    case 't':
        return '\t';
    case 'r':
        return '\r';
    default:
        return character;
    }
}

/// Undoes the escapes that every text of an entry may have.
QString unescapedText(const QString& text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '\\' && i + 1 < text.size();
        result += isEscape ? unescaped(text[++i]) : text[i];
    }
    return result;
}

/// The arguments of a command line, without their quotes. Empty when a quote is not closed.
QStringList splitCommand(const QString& command)
{
    QStringList arguments;
    QString argument;
    bool isInArgument = false;
    bool isQuoted = false;
    for (qsizetype i = 0; i < command.size(); ++i) {
        const auto character = command[i];
        if (character == '"') {
            isQuoted = !isQuoted;
            isInArgument = true;
        } else if (isQuoted && character == '\\' && i + 1 < command.size()) {
            argument += command[++i];
        } else if (!isQuoted && (character == ' ' || character == '\t')) {
            if (isInArgument)
                arguments << argument;
            argument.clear();
            isInArgument = false;
        } else {
            argument += character;
            isInArgument = true;
        }
    }
    if (isInArgument)
        arguments << argument;
    return isQuoted ? QStringList() : arguments;
}

/// What a placeholder of a command line, such as the "f" of "%f", stands for.
QString replacement(QChar placeholder, const QString& file, const Application& application)
{
    switch (placeholder.unicode()) {
    case 'f':
    case 'F':
        return file;
    case 'u':
    case 'U':
        return QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    case 'c':
        return application.name;
    case '%':
        return "%";
    default:
        return {};
    }
}

}

QList<Application> pictureApplications()
{
    QList<Application> applications;
    for (const auto& entry : pictureEntries()) {
        if (const auto found = application(entry))
            applications << *found;
    }
    return applications;
}

QStringList commandToOpen(const QString& file, const Application& application)
{
    QStringList command;
    bool hasFile = false;
    for (const auto& argument : splitCommand(unescapedText(application.command))) {
        // The icon is two arguments where there is one, and none where not.
        if (argument == "%i") {
            if (!application.iconName.isEmpty())
                command << "--icon" << application.iconName;
            continue;
        }
        QString replaced;
        bool namesFile = false;
        for (qsizetype i = 0; i < argument.size(); ++i) {
            if (argument[i] != '%' || i + 1 == argument.size()) {
                replaced += argument[i];
                continue;
            }
            const auto placeholder = argument[++i];
            namesFile = namesFile || QStringLiteral("fFuU").contains(placeholder);
            replaced += replacement(placeholder, file, application);
        }
        // An argument that was nothing but a placeholder of no meaning is none.
        if (!replaced.isEmpty() || namesFile || argument.isEmpty())
            command << replaced;
        hasFile = hasFile || namesFile;
    }
    if (!command.isEmpty() && !hasFile)
        command << file;
    return command;
}
