#include "platform/linux/input/HelperAccess.h"

#include "platform/linux/process/Child.h"
#include "platform/linux/process/FindProgram.h"
#include "platform/linux/process/Session.h"
#include "tap/TapProtocol.h"

#include <utility>

namespace {

using namespace std::chrono_literals;

/// How long the helper may take when it has already failed to answer in time.
constexpr std::chrono::milliseconds laterPatience = 200ms;

bool canOnlyBeChangedByRoot(const std::filesystem::path& file)
{
    for (auto place = file;; place = place.parent_path()) {
        struct stat status { };
        if (lstat(place.c_str(), &status) != 0 || status.st_uid != 0 || S_ISLNK(status.st_mode)
            || status.st_mode & (S_IWGRP | S_IWOTH))
            return false;
        if (place == "/")
            return true;
    }
}

}

HelperAccess::HelperAccess(EventLoop& loop, std::filesystem::path tapProgram,
    std::filesystem::path grantProgram, std::chrono::milliseconds patience)
    : loop(loop)
    , tapProgram(std::move(tapProgram))
    , grantProgram(std::move(grantProgram))
    , patience(patience)
{
}

HelperAccess::~HelperAccess() = default;

// Asked every two seconds: no process is started while the file of a helper that has answered stays as it is.
bool HelperAccess::preflight()
{
    if (!isWaylandSession())
        return true;

    const auto state = helperState();
    if (!state || state == askedFor)
        return state && isGranted;
    const auto answer = askHelper();
    if (answer)
        askedFor = state;
    isSlow = !answer;
    isGranted = answer.value_or(false);
    return isGranted;
}

void HelperAccess::request()
{
    if (!canBeRequested())
        return;
    // A child and not a process of its own, because pkexec asks the one who sits before its parent. While it
    // asks, it need not be started again.
    if (!grant || !grant->isRunning())
        grant = Child::start(loop, { "pkexec", grantProgram }, ChildStreams::Nowhere);
}

std::string HelperAccess::commandToGrant()
{
    if (!canBeRequested() || findProgram("pkexec"))
        return {};
    return "sudo " + grantProgram.string();
}

// What somebody else could have put there is not to be run as root because of a button of ours. A program
// that runs where it was built has nothing to grant anyway.
bool HelperAccess::canBeRequested() const
{
    return isWaylandSession() && canOnlyBeChangedByRoot(grantProgram);
}

std::optional<HelperAccess::State> HelperAccess::helperState() const
{
    struct stat status { };
    if (stat(tapProgram.c_str(), &status) != 0)
        return std::nullopt;
    return State { status.st_ino, status.st_mode, status.st_gid,
        status.st_ctim.tv_sec * 1'000'000'000 + status.st_ctim.tv_nsec };
}

/// Nothing when there is no time to wait for its answer.
std::optional<bool> HelperAccess::askHelper() const
{
    const auto probe = Child::start(loop, { tapProgram, "--probe" }, ChildStreams::Nowhere);
    if (!probe || !probe->waitForEnd(isSlow ? laterPatience : patience))
        return std::nullopt;
    const auto code = probe->exitCode();
    // Without a device nothing says that the helper may not: it counts as soon as one is plugged in.
    return code == static_cast<int>(TapExit::Done) || code == static_cast<int>(TapExit::NoDevice);
}
