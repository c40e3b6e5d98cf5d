#include "support/PrivateBus.h"

#include "support/Patience.h"

#include <QFile>

#include <sys/prctl.h>

#include <csignal>

namespace {

// Nothing can be started through it, so that the outcome of a test does not depend on what is installed.
const char* const busConfiguration = R"(<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
)";

}

PrivateBus::PrivateBus(const QByteArray& furtherConfiguration)
{
    QFile configuration(folder.filePath("configuration"));
    if (!configuration.open(QFile::WriteOnly))
        return;
    configuration.write(
        QString(busConfiguration).arg(folder.path()).toUtf8() + furtherConfiguration + "</busconfig>\n");
    configuration.close();
    daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    daemon.start(
        "dbus-daemon", { "--config-file=" + configuration.fileName(), "--nofork", "--print-address" });
    while (!daemon.canReadLine()) {
        if (!daemon.waitForReadyRead(patience))
            return;
    }
    addresses = QString::fromUtf8(daemon.readLine()).trimmed().split(';');
}

PrivateBus::~PrivateBus() { end(); }

void PrivateBus::hang() { kill(static_cast<pid_t>(daemon.processId()), SIGSTOP); }

void PrivateBus::goOn() { kill(static_cast<pid_t>(daemon.processId()), SIGCONT); }

void PrivateBus::end()
{
    daemon.kill();
    daemon.waitForFinished(patience);
}
