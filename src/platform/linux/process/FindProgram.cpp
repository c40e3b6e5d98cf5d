#include "platform/linux/process/FindProgram.h"

#include "platform/linux/process/Session.h"
#include "platform/linux/process/Text.h"

#include <unistd.h>

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
    for (const auto& folder : listOf(environment("PATH"), ':')) {
        auto file = std::filesystem::path(folder) / name;
        if (canBeStarted(file))
            return file;
    }
    return {};
}
