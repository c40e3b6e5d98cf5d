#include "platform/linux/LinuxListenAccess.h"

#include "platform/linux/Session.h"
#include "tap/TapProtocol.h"

#include <QFile>
#include <QFileInfo>

namespace {

// How long the helper may take to say whether it may count. It takes a few milliseconds.
constexpr int patience = 200;

bool canOnlyBeChangedByRoot(const QString& file)
{
    QString place = file;
    while (true) {
        struct stat status { };
        if (lstat(QFile::encodeName(place).constData(), &status) != 0 || status.st_uid != 0
            || S_ISLNK(status.st_mode) || status.st_mode & (S_IWGRP | S_IWOTH))
            return false;
        if (place == "/")
            return true;
        place = QFileInfo(place).absolutePath();
    }
}

}

LinuxListenAccess::LinuxListenAccess(const QString& tapProgram, const QString& grantProgram)
    : tapProgram(tapProgram)
    , grantProgram(grantProgram)
{
    grant.setProgram("pkexec");
    grant.setArguments({ grantProgram });
    grant.setStandardOutputFile(QProcess::nullDevice());
    grant.setStandardErrorFile(QProcess::nullDevice());
}

// Asked every two seconds: no process is started while the helper's file stays as it is.
bool LinuxListenAccess::preflight()
{
    if (!isWaylandSession())
        return true;

    const auto state = helperState();
    if (!state || state == askedFor)
        return state && isGranted;
    const auto answer = askHelper();
    if (answer)
        askedFor = state;
    isGranted = answer.value_or(false);
    return isGranted;
}

void LinuxListenAccess::request()
{
    // What somebody else could have put there is not to be run as root because of a button of ours. A program
    // that runs where it was built has nothing to grant anyway.
    if (!isWaylandSession() || !canOnlyBeChangedByRoot(grantProgram))
        return;
    // A child and not a process of its own, because pkexec asks the one who sits before its parent. While it
    // asks, it need not be started again.
    if (grant.state() == QProcess::NotRunning)
        grant.start();
}

std::optional<LinuxListenAccess::State> LinuxListenAccess::helperState() const
{
    struct stat status { };
    if (stat(QFile::encodeName(tapProgram).constData(), &status) != 0)
        return std::nullopt;
    return State { status.st_ino, status.st_mode, status.st_gid,
        status.st_ctim.tv_sec * 1'000'000'000 + status.st_ctim.tv_nsec };
}

/// Nothing when there is no time to wait for its answer.
std::optional<bool> LinuxListenAccess::askHelper() const
{
    QProcess probe;
    probe.setProgram(tapProgram);
    probe.setArguments({ "--probe" });
    probe.setStandardOutputFile(QProcess::nullDevice());
    probe.setStandardErrorFile(QProcess::nullDevice());
    probe.start();
    if (!probe.waitForFinished(patience))
        return std::nullopt;
    const int code = probe.exitStatus() == QProcess::NormalExit ? probe.exitCode() : -1;
    // Without a device nothing says that the helper may not: it counts as soon as one is plugged in.
    return code == static_cast<int>(TapExit::Done) || code == static_cast<int>(TapExit::NoDevice);
}
