#include "platform/linux/LinuxFolders.h"

#include "platform/linux/BaseFolders.h"

std::optional<std::filesystem::path> LinuxFolders::applicationSupport() const
{
    return baseFolder("XDG_DATA_HOME", ".local/share");
}

std::optional<std::filesystem::path> LinuxFolders::picture(std::string_view name) const
{
    std::error_code unknown;
    const auto place = std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path();
    // Installed, the program lies in a folder beside "share"; where it was built, beside it itself.
    for (const auto& share : { place.parent_path() / "share", place / "share" }) {
        auto file = share / "knucklet" / name;
        file += ".png";
        if (std::filesystem::is_regular_file(file, unknown))
            return file;
    }
    return {};
}
