#include "platform/linux/process/FindProgram.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace {

bool canBeStarted(const std::filesystem::path& file)
{
    std::error_code unknown;
    return std::filesystem::is_regular_file(file, unknown) && access(file.c_str(), X_OK) == 0;
}

}

std::optional<std::filesystem::path> findProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos)
        return name.starts_with('/') && canBeStarted(name) ? std::optional<std::filesystem::path>(name)
                                                           : std::nullopt;
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        auto file = std::filesystem::path(folder) / name;
        if (canBeStarted(file))
            return file;
    }
    return {};
}
