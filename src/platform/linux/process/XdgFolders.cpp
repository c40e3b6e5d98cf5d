#include "platform/linux/process/XdgFolders.h"

#include "platform/linux/process/BaseFolders.h"
#include "support/InstalledFiles.h"

#include <string>

std::optional<std::filesystem::path> XdgFolders::applicationSupport() const
{
    return baseFolder("XDG_DATA_HOME", ".local/share");
}

std::optional<std::filesystem::path> XdgFolders::picture(std::string_view name) const
{
    return sharedFile("knucklet/" + std::string(name) + ".png");
}
