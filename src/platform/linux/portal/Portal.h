#pragma once

#include <QDBusMessage>
#include <QString>

// The desktop portal's names on the bus.

inline const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

/// The full name of one of its interfaces, such as "FileChooser".
inline QString portalInterface(const QString& name) { return "org.freedesktop.portal." + name; }

/// A call of it that has no arguments yet.
inline QDBusMessage portalMessage(const QString& interface, const QString& method)
{
    return QDBusMessage::createMethodCall(portalService, portalPath, portalInterface(interface), method);
}
