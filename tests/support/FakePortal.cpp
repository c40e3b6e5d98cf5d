#include "support/FakePortal.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QFile>

namespace {

const QString root = QStringLiteral("/org/freedesktop/portal/desktop");

}

FakePortal::FakePortal(const QString& busAddress)
    : bus(QDBusConnection::connectToBus(busAddress, "portal"))
{
    bus.registerVirtualObject(root, this, QDBusConnection::SubPath);
    bus.registerService("org.freedesktop.portal.Desktop");
}

FakePortal::~FakePortal() { QDBusConnection::disconnectFromBus("portal"); }

void FakePortal::answer(uint response, const QVariantMap& results)
{
    const auto request = requests.takeFirst();
    auto signal = QDBusMessage::createTargetedSignal(
        request.sender, request.path, "org.freedesktop.portal.Request", "Response");
    signal << response << results;
    bus.send(signal);
}

bool FakePortal::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    Request request { .method = message.interface().section('.', -1) + '.' + message.member(),
        .arguments = message.arguments(),
        .options = qdbus_cast<QVariantMap>(message.arguments().constLast()),
        .fileContent = {},
        .path = {},
        .sender = message.service() };
    for (const auto& argument : message.arguments()) {
        if (!argument.canConvert<QDBusUnixFileDescriptor>())
            continue;
        const auto descriptor = argument.value<QDBusUnixFileDescriptor>();
        QFile file;
        if (file.open(descriptor.fileDescriptor(), QFile::ReadOnly))
            request.fileContent = file.readAll();
    }
    auto sender = message.service().mid(1);
    request.path
        = root + "/request/" + sender.replace('.', '_') + '/' + request.options["handle_token"].toString();
    requests << request;
    return connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request.path))));
}
