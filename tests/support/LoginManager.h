#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QVariantMap>

/// A session as the login manager shows it.
class LoginSession final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Session")
    Q_PROPERTY(bool LockedHint READ tellLockedHint)

public:
    LoginSession(const QDBusConnection& bus, const QString& path)
        : bus(bus)
        , path(path)
    {
        this->bus.registerObject(path, this, QDBusConnection::ExportAllProperties);
    }

    void setLocked(bool isLocked)
    {
        lockedHint = isLocked;
        changed("org.freedesktop.login1.Session", { { "LockedHint", isLocked } });
    }

    void changed(const QString& changedInterface, const QVariantMap& properties)
    {
        auto signal
            = QDBusMessage::createSignal(path, "org.freedesktop.DBus.Properties", "PropertiesChanged");
        signal << changedInterface << properties << QStringList();
        bus.send(signal);
    }

    bool lockedHint = false;
    bool wasAsked = false;

private:
    bool tellLockedHint()
    {
        wasAsked = true;
        return lockedHint;
    }

    QDBusConnection bus;
    QString path;
};

/// The login manager, with the session of the program that asks and another one.
class LoginManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    explicit LoginManager(const QDBusConnection& bus)
        : own(bus, "/org/freedesktop/login1/session/_32")
        , another(bus, "/org/freedesktop/login1/session/_33")
        , bus(bus)
    {
        this->bus.registerObject("/org/freedesktop/login1", this, QDBusConnection::ExportAllSlots);
        this->bus.registerService("org.freedesktop.login1");
    }

    /// Whether a program has asked for its session and whether that is locked, and hears of every change from
    /// here on.
    bool hasClient() const { return !client.isEmpty() && own.wasAsked; }
    /// Waits until that program has heard what was said so far.
    void awaitHearing() const
    {
        bus.call(QDBusMessage::createMethodCall(client, "/", "org.freedesktop.DBus.Peer", "Ping"));
    }

    /// As before and after the machine sleeps.
    void tellOfSleep(bool begins)
    {
        auto signal = QDBusMessage::createSignal(
            "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep");
        signal << begins;
        bus.send(signal);
    }

    LoginSession own;
    LoginSession another;

public slots:
    // NOLINTNEXTLINE(readability-identifier-naming)
    QDBusObjectPath GetSession(const QString& name, const QDBusMessage& message)
    {
        client = message.service();
        return QDBusObjectPath("/org/freedesktop/login1/session/" + QString(name == "auto" ? "_32" : "_33"));
    }

private:
    QDBusConnection bus;
    QString client;
};
