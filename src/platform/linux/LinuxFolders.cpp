#include "platform/linux/LinuxFolders.h"

#include "platform/linux/BaseFolders.h"

std::optional<std::filesystem::path> LinuxFolders::applicationSupport() const
{
    return baseFolder("XDG_DATA_HOME", ".local/share");
}
