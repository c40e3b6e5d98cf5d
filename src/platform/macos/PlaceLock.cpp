#include "platform/macos/PlaceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

namespace {

constexpr char stays = 's';
constexpr char makesWay = 'w';
constexpr std::chrono::milliseconds betweenLooks { 20 };

}

PlaceLock::PlaceLock(std::filesystem::path folder)
    : folder(std::move(folder))
{
}

PlaceLock::~PlaceLock()
{
    if (file >= 0)
        close(file);
}

bool PlaceLock::claim(std::chrono::milliseconds patience)
{
    if (folder.empty())
        return true;
    std::error_code seenWhenOpening;
    std::filesystem::create_directories(folder, seenWhenOpening);
    file = open((folder / "instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0)
        return true;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (!isMakingWay() || std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(betweenLooks);
    }
    write(stays);
    return true;
}

void PlaceLock::makeWay() const
{
    if (file >= 0)
        write(makesWay);
}

bool PlaceLock::isMakingWay() const
{
    char sign = stays;
    return pread(file, &sign, 1, 0) == 1 && sign == makesWay;
}

// A sign that cannot be written makes the other instance leave instead of wait.
void PlaceLock::write(char sign) const { std::ignore = pwrite(file, &sign, 1, 0); }
