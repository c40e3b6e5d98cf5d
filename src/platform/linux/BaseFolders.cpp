#include "platform/linux/BaseFolders.h"

#include <cstdlib>

namespace {

std::optional<std::filesystem::path> absolutePath(const char* variable)
{
    const char* value = std::getenv(variable);
    if (!value)
        return {};
    std::filesystem::path path = value;
    if (!path.is_absolute())
        return {};
    return path;
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
