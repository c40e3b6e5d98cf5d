#include "platform/linux/process/SettingsFile.h"

#include "platform/linux/process/BaseFolders.h"
#include "platform/linux/process/IniFile.h"
#include "support/AtomicFile.h"

#include <strings.h>

#include <string>
#include <tuple>

namespace {

/// Nothing where there is no configuration folder.
std::optional<std::filesystem::path> settingsFile()
{
    const auto folder = configurationFolder();
    return folder ? std::optional(*folder / "Knucklet" / "Knucklet.conf") : std::nullopt;
}

/// Nothing when there is a file that cannot be read, or something that is no file.
std::optional<IniFile> settingsIn(const std::filesystem::path& file)
{
    if (const auto text = readFile(file))
        return IniFile(*text);
    std::error_code unknown;
    return std::filesystem::exists(file, unknown) ? std::nullopt : std::optional(IniFile(""));
}

}

bool SettingsFile::boolean(std::string_view key) const
{
    const auto file = settingsFile();
    const auto settings = file ? settingsIn(*file) : std::nullopt;
    const std::string value(settings ? settings->value(key).value_or("") : "");
    return value == "1" || strcasecmp(value.c_str(), "true") == 0;
}

void SettingsFile::setBoolean(std::string_view key, bool value)
{
    const auto file = settingsFile();
    auto settings = file ? settingsIn(*file) : std::nullopt;
    if (!settings)
        return;
    settings->setValue(key, value ? "true" : "false");
    std::error_code ignored;
    std::filesystem::create_directories(file->parent_path(), ignored);
    // Where it cannot be written, the next run goes by the old settings.
    std::ignore = replaceFile(*file, settings->text());
}
