#include "platform/linux/process/BaseFolders.h"

#include "platform/linux/process/Session.h"
#include "platform/linux/process/Text.h"

namespace {

std::optional<std::filesystem::path> absolutePath(const char* variable)
{
    std::filesystem::path path = environment(variable);
    if (!path.is_absolute())
        return {};
    return path;
}

std::vector<std::filesystem::path> withMachineFolders(
    const std::optional<std::filesystem::path>& own, const char* variable, const char* usual)
{
    std::vector<std::filesystem::path> folders;
    if (own)
        folders.push_back(*own);
    const auto value = environment(variable);
    for (const auto& folder : listOf(value.empty() ? usual : value, ':')) {
        if (folder.starts_with('/'))
            folders.emplace_back(folder);
    }
    return folders;
}

}

std::optional<std::filesystem::path> baseFolder(const char* variable, const char* belowHome)
{
    if (auto folder = absolutePath(variable))
        return folder;
    if (const auto home = absolutePath("HOME"))
        return *home / belowHome;
    return {};
}

std::optional<std::filesystem::path> runtimeFolder() { return absolutePath("XDG_RUNTIME_DIR"); }

std::optional<std::filesystem::path> configurationFolder()
{
    return baseFolder("XDG_CONFIG_HOME", ".config");
}

std::vector<std::filesystem::path> configurationFolders()
{
    return withMachineFolders(configurationFolder(), "XDG_CONFIG_DIRS", "/etc/xdg");
}

std::vector<std::filesystem::path> dataFolders()
{
    return withMachineFolders(
        baseFolder("XDG_DATA_HOME", ".local/share"), "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
}
