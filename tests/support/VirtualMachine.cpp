#include "support/VirtualMachine.h"

#include "support/Patience.h"

#include <QFileInfo>
#include <QJsonDocument>

#include <sys/prctl.h>

#include <csignal>

namespace {

const QByteArray upMark = "guest is up\n";
const QByteArray doneMark = "guest is done\n";

}

VirtualMachine::VirtualMachine(Kind kind)
    : kind(kind)
{
    emulator.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    emulator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

VirtualMachine::~VirtualMachine()
{
    emulator.kill();
    emulator.waitForFinished(patience);
}

bool VirtualMachine::start()
{
    const bool isBare = kind == Kind::Bare;
    const QString folder = isBare ? BARE_GUEST_FOLDER : DESKTOP_GUEST_FOLDER;
    const QStringList programs = isBare
        ? QStringList { folder, BUILD_FOLDER "/libexec", QFileInfo(KNUCKLET_TAP).path() }
        : QStringList { folder, BUILD_FOLDER };
    if (QProcess::execute(isBare ? SCRIPTS_FOLDER "/guest" : SCRIPTS_FOLDER "/guest-desktop", programs) != 0)
        return false;
    if (!monitorServer.listen(files.filePath("monitor")) || !shellServer.listen(files.filePath("shell")))
        return false;
    // Emulated in software, so that it is the same machine everywhere, also on one that is itself virtual.
    QStringList arguments { "-machine", "pc", "-accel", "tcg", "-cpu", "max", "-nodefaults",
        "-no-user-config", "-display", "none", "-no-reboot", //
        "-kernel", folder + "/kernel", "-initrd", folder + "/ramdisk", //
        "-append", "console=ttyS0 quiet loglevel=1 panic=-1 mitigations=off random.trust_cpu=on", //
        "-chardev", "socket,id=shell,path=" + shellServer.fullServerName(), "-serial", "chardev:shell",
        "-qmp", "unix:" + monitorServer.fullServerName(), //
        "-device", "virtio-keyboard-pci" };
    if (isBare) {
        arguments << "-m"
                  << "256"
                  << "-device"
                  << "virtio-mouse-pci";
    } else {
        arguments
            << "-m"
            << "1536"
            << "-smp"
            << "2"
            << "-device"
            << "virtio-tablet-pci" //
            << "-virtfs"
            << "local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap" //
            << "-device"
            << QString("virtio-gpu-pci,xres=%1,yres=%2").arg(screenSize.width()).arg(screenSize.height());
    }
    emulator.start("qemu-system-x86_64", arguments);
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
    send({ QJsonObject { { "type", "rel" }, { "data", QJsonObject { { "axis", "x" }, { "value", 1 } } } } });
}

void VirtualMachine::moveTo(QPoint place)
{
    // The emulator's screen is this wide and this high, whatever it shows.
    constexpr int whole = 0x8000;
    const auto axis = [](const char* name, int value, int size) {
        return QJsonObject { { "type", "abs" },
            { "data", QJsonObject { { "axis", name }, { "value", value * whole / size } } } };
    };
    send({ axis("x", place.x(), screenSize.width()), axis("y", place.y(), screenSize.height()) });
}

QImage VirtualMachine::picture()
{
    const QString file = files.filePath("screen");
    command("screendump", { { "filename", file } });
    return QImage(file);
}

void VirtualMachine::plugInKeyboard(const QString& name)
{
    command("device_add", { { "driver", "virtio-keyboard-pci" }, { "id", name } });
}

void VirtualMachine::unplug(const QString& name)
{
    command("device_del", { { "id", name } });
    // It gets what is typed until the guest has let go of it.
    awaitMessage([&name](const QJsonObject& message) {
        return message["event"].toString() == "DEVICE_DELETED"
            && message["data"]["device"].toString() == name;
    });
}

void VirtualMachine::sendKey(const QString& key, bool isDown)
{
    const QJsonObject code { { "type", "qcode" }, { "data", key } };
    send({ QJsonObject {
        { "type", "key" }, { "data", QJsonObject { { "down", isDown }, { "key", code } } } } });
}

void VirtualMachine::sendButton(const QString& button, bool isDown)
{
    send({ QJsonObject {
        { "type", "btn" }, { "data", QJsonObject { { "down", isDown }, { "button", button } } } } });
}

void VirtualMachine::send(const QJsonArray& events) { command("input-send-event", { { "events", events } }); }

void VirtualMachine::command(const QString& name, const QJsonObject& arguments)
{
    const QJsonObject text { { "execute", name }, { "arguments", arguments } };
    monitor->write(QJsonDocument(text).toJson(QJsonDocument::Compact) + '\n');
    awaitMessage([&name](const QJsonObject& message) {
        if (message.contains("error"))
            qFatal("%s: %s", qPrintable(name), QJsonDocument(message).toJson().constData());
        return message.contains("return");
    });
}

void VirtualMachine::awaitMessage(const std::function<bool(const QJsonObject&)>& isAwaited)
{
    QJsonObject message;
    while (!isAwaited(message)) {
        while (!monitor->canReadLine()) {
            if (!monitor->waitForReadyRead(patience))
                qFatal("the emulator does not answer");
        }
        message = QJsonDocument::fromJson(monitor->readLine()).object();
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
