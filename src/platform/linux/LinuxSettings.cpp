#include "platform/linux/LinuxSettings.h"

#include "platform/linux/BaseFolders.h"

#include <QFile>
#include <QSettings>

#include <optional>

namespace {

/// Nothing where there is no configuration folder, and where something other than a file stands in the file's
/// place: opening a FIFO would never return.
std::optional<QString> settingsFile()
{
    const auto folder = configurationFolder();
    if (!folder)
        return {};
    const auto file = *folder / "Knucklet" / "Knucklet.conf";
    std::error_code unknown;
    if (std::filesystem::exists(file, unknown) && !std::filesystem::is_regular_file(file, unknown))
        return {};
    return QFile::decodeName(file.c_str());
}

QString settingName(std::string_view key)
{
    return QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
}

}

bool LinuxSettings::boolean(std::string_view key) const
{
    const auto file = settingsFile();
    if (!file)
        return false;
    // Not QVariant's own conversion, which takes every word but "false" and "0" for true.
    const QString text = QSettings(*file, QSettings::IniFormat).value(settingName(key)).toString();
    return text.compare("true", Qt::CaseInsensitive) == 0 || text == "1";
}

void LinuxSettings::setBoolean(std::string_view key, bool value)
{
    const auto file = settingsFile();
    if (!file)
        return;
    // A crash or a power cut can leave this lock behind, empty, and QSettings would then wait for it for half
    // a minute. Nobody else writes this file.
    QFile::remove(*file + ".lock");
    QSettings settings(*file, QSettings::IniFormat);
    settings.setValue(settingName(key), value);
    settings.sync();
}
