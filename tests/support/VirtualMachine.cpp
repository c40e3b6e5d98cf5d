#include "support/VirtualMachine.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <sys/prctl.h>

#include <csignal>

namespace {

// How long the machine may be silent, on a busy host, before it is given up.
constexpr int patience = 60000;

const QByteArray upMark = "guest is up\n";
const QByteArray doneMark = "guest is done\n";

}

VirtualMachine::VirtualMachine()
{
    emulator.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    emulator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

VirtualMachine::~VirtualMachine()
{
    emulator.kill();
    emulator.waitForFinished();
}

bool VirtualMachine::start()
{
    const QString folder = GUEST_FOLDER;
    const QString installed = QFileInfo(KNUCKLET_TAP).path();
    if (QProcess::execute(GUEST_SCRIPT, { folder, BUILT_PROGRAMS, installed }) != 0)
        return false;
    if (!monitorServer.listen(sockets.filePath("monitor")) || !shellServer.listen(sockets.filePath("shell")))
        return false;
    // Emulated in software, so that it is the same machine everywhere, also on one that is itself virtual.
    emulator.start("qemu-system-x86_64",
        { "-machine", "pc", "-accel", "tcg", "-cpu", "max", "-m", "256", "-nodefaults", "-no-user-config",
            "-display", "none", "-no-reboot", //
            "-kernel", folder + "/kernel", "-initrd", folder + "/ramdisk", //
            "-append", "console=ttyS0 quiet loglevel=1 panic=-1 mitigations=off random.trust_cpu=on", //
            "-chardev", "socket,id=shell,path=" + shellServer.fullServerName(), "-serial", "chardev:shell",
            "-qmp", "unix:" + monitorServer.fullServerName(), //
            "-device", "virtio-keyboard-pci", "-device", "virtio-mouse-pci" });
    if (!monitorServer.waitForNewConnection(patience) || !shellServer.waitForNewConnection(patience))
        return false;
    monitor = monitorServer.nextPendingConnection();
    shell = shellServer.nextPendingConnection();
    command("qmp_capabilities");
    readUntil(upMark);
    return true;
}

QByteArray VirtualMachine::run(const QString& command)
{
    shell->write(command.toUtf8() + '\n');
    QByteArray output = readUntil(doneMark);
    if (output.endsWith('\n'))
        output.chop(1);
    return output;
}

void VirtualMachine::typeKey(const QString& key)
{
    pressKey(key);
    releaseKey(key);
}

void VirtualMachine::click(const QString& button)
{
    sendButton(button, true);
    sendButton(button, false);
}

void VirtualMachine::move()
{
    send({ { "type", "rel" }, { "data", QJsonObject { { "axis", "x" }, { "value", 1 } } } });
}

void VirtualMachine::plugInKeyboard(const QString& name)
{
    command("device_add", { { "driver", "virtio-keyboard-pci" }, { "id", name } });
}

void VirtualMachine::unplug(const QString& name) { command("device_del", { { "id", name } }); }

void VirtualMachine::sendKey(const QString& key, bool isDown)
{
    const QJsonObject code { { "type", "qcode" }, { "data", key } };
    send({ { "type", "key" }, { "data", QJsonObject { { "down", isDown }, { "key", code } } } });
}

void VirtualMachine::sendButton(const QString& button, bool isDown)
{
    send({ { "type", "btn" }, { "data", QJsonObject { { "down", isDown }, { "button", button } } } });
}

void VirtualMachine::send(const QJsonObject& event)
{
    command("input-send-event", { { "events", QJsonArray { event } } });
}

void VirtualMachine::command(const QString& name, const QJsonObject& arguments)
{
    const QJsonObject text { { "execute", name }, { "arguments", arguments } };
    monitor->write(QJsonDocument(text).toJson(QJsonDocument::Compact) + '\n');
    while (true) {
        while (!monitor->canReadLine()) {
            if (!monitor->waitForReadyRead(patience))
                qFatal("the emulator does not answer");
        }
        const QJsonObject answer = QJsonDocument::fromJson(monitor->readLine()).object();
        if (answer.contains("error"))
            qFatal("%s: %s", qPrintable(name), QJsonDocument(answer).toJson().constData());
        if (answer.contains("return"))
            return;
    }
}

QByteArray VirtualMachine::readUntil(const QByteArray& mark)
{
    while (!unread.contains(mark)) {
        if (!shell->waitForReadyRead(patience))
            qFatal("the machine does not answer: %s", unread.constData());
        unread += shell->readAll();
        unread.replace("\r", "");
    }
    const auto end = unread.indexOf(mark);
    const QByteArray text = unread.left(end);
    unread.remove(0, end + mark.size());
    return text;
}
