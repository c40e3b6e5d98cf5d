#include "platform/linux/portal/PortalRequest.h"

#include "platform/linux/portal/Portal.h"
#include "support/Debug.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QUuid>

#include <utility>

namespace {

/// Where the portal puts the request of this name.
QString requestPath(const QDBusConnection& bus, const QString& token)
{
    auto sender = bus.baseService().mid(1);
    sender.replace('.', '_');
    return portalPath + "/request/" + sender + '/' + token;
}

}

PortalRequest::PortalRequest(PortalCall call)
    : call(std::move(call))
{
}

void PortalRequest::send(QDBusConnection bus, PortalCall call)
{
    const auto token = "knucklet" + QUuid::createUuid().toString(QUuid::Id128);
    call.options["handle_token"] = token;
    auto message = portalMessage(call.interface, call.method);
    message.setArguments(call.arguments << call.options);

    // Listens before it asks, so that no answer can come too early.
    auto* request = new PortalRequest(std::move(call));
    bus.connect(portalService, requestPath(bus, token), portalInterface("Request"), "Response", request,
        SLOT(answered(uint, QVariantMap)));
    auto* reply = new QDBusPendingCallWatcher(bus.asyncCall(message), request);
    connect(reply, &QDBusPendingCallWatcher::finished, request, [request, reply] {
        if (!reply->isError())
            return;
        tellDeveloper(reply->error().message().toStdString());
        request->deleteLater();
        request->call.unavailable();
    });
}

void PortalRequest::answered(uint response, const QVariantMap& results)
{
    deleteLater();
    if (response == 0)
        call.done(results);
    else
        call.cancelled();
}
