#include "support/PrivateBus.h"

#include <sys/prctl.h>

#include <csignal>

PrivateBus::PrivateBus()
{
    daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    daemon.start("dbus-daemon", { "--session", "--nofork", "--print-address" });
    while (!daemon.canReadLine()) {
        if (!daemon.waitForReadyRead())
            return;
    }
    busAddress = QString::fromUtf8(daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus()
{
    daemon.kill();
    daemon.waitForFinished();
}
