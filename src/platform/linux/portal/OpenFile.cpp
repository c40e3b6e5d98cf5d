#include "platform/linux/portal/OpenFile.h"

#include "platform/linux/portal/Portal.h"
#include "platform/linux/process/Child.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QFile>

#include <tuple>

namespace {

void openWithDesktop(const QString& path)
{
    std::ignore = startDetached({ "xdg-open", QFile::encodeName(path).toStdString() }, ChildStreams::Nowhere);
}

}

void openFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;

    // The portal takes no address of a local file, only the open file itself.
    auto call = portalMessage("OpenURI", "OpenFile");
    call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(file.handle())) << QVariantMap();
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call));
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, path] {
        if (answer->isError())
            openWithDesktop(path);
        answer->deleteLater();
    });
}
