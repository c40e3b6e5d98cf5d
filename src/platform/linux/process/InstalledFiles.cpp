#include "platform/linux/process/InstalledFiles.h"

namespace {

/// The one folder, where what is installed lies, or else the other, which the build makes beside the program:
/// the first that has the file.
std::optional<std::filesystem::path> installedOrAsBuilt(
    const char* installed, const char* asBuilt, const std::filesystem::path& name)
{
    const auto program = ownExecutable().parent_path();
    for (const char* place : { installed, asBuilt }) {
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
    return installedOrAsBuilt("../share", "share", name);
}

std::optional<std::filesystem::path> sharedFile(const std::filesystem::path& name)
{
    auto folder = sharedFolder(name);
    return folder ? std::optional(*folder / name) : std::nullopt;
}

std::filesystem::path libexecProgram(std::string_view name)
{
    constexpr const char* asBuilt = "libexec";
    const auto folder = installedOrAsBuilt(KNUCKLET_LIBEXEC, asBuilt, name);
    return folder.value_or(ownExecutable().parent_path() / asBuilt) / name;
}
