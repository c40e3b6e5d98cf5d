#include "support/InstalledFiles.h"

#include <initializer_list>

namespace {

/// The first of the folders that has the file: where what is installed lies, or where the build has put it.
/// They are named as seen from the program.
std::optional<std::filesystem::path> folderWith(
    const std::filesystem::path& name, std::initializer_list<const char*> installedOrAsBuilt)
{
    const auto program = ownExecutable().parent_path();
    for (const char* place : installedOrAsBuilt) {
        auto folder = (program / place).lexically_normal();
        std::error_code unknown;
        if (std::filesystem::is_regular_file(folder / name, unknown))
            return folder;
    }
    return {};
}

}

const std::filesystem::path& ownExecutable()
{
    static const auto executable = [] {
        std::error_code unknown;
        return std::filesystem::read_symlink("/proc/self/exe", unknown);
    }();
    return executable;
}

std::optional<std::filesystem::path> sharedFolder(const std::filesystem::path& name)
{
    return folderWith(name, { "../share", "share" });
}

std::optional<std::filesystem::path> sharedFile(const std::filesystem::path& name)
{
    auto folder = sharedFolder(name);
    return folder ? std::optional(*folder / name) : std::nullopt;
}

std::filesystem::path libexecProgram(std::string_view name)
{
    constexpr const char* asBuilt = "libexec";
    const auto folder = folderWith(name, { KNUCKLET_LIBEXEC, asBuilt });
    return folder.value_or(ownExecutable().parent_path() / asBuilt) / name;
}

std::optional<std::filesystem::path> moduleFile(const std::filesystem::path& name)
{
    const auto folder = folderWith(name, { KNUCKLET_MODULES, "modules" });
    return folder ? std::optional(*folder / name) : std::nullopt;
}
