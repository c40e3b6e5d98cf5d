#include "platform/linux/process/SharedPictures.h"

#include "platform/Folders.h"
#include "platform/linux/process/BaseFolders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool isTheUsersAlone(const std::filesystem::path& folder)
{
    struct stat status { };
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid()
        && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

}

SharedPictures::SharedPictures(const Folders& folders)
    : folders(folders)
{
}

std::optional<std::filesystem::path> SharedPictures::folder() const
{
    for (const auto& place : places()) {
        if (mkdir(place.c_str(), S_IRWXU) == 0 || (errno == EEXIST && isTheUsersAlone(place)))
            return place;
    }
    return {};
}

void SharedPictures::clear() const
{
    std::error_code ignored;
    for (const auto& place : places())
        std::filesystem::remove_all(place, ignored);
}

std::vector<std::filesystem::path> SharedPictures::places() const
{
    std::vector<std::filesystem::path> all;
    if (const auto runtime = runtimeFolder())
        all.push_back(*runtime / "knucklet");
    if (const auto applicationSupport = folders.applicationSupport())
        all.push_back(*applicationSupport / "Knucklet" / "shared");
    return all;
}
