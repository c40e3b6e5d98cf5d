#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// A session bus of the test's own. It ends with this object, and with the process should that crash.
class PrivateBus final {
public:
    /// What dbus-daemon is to read besides the usual.
    explicit PrivateBus(const QByteArray& furtherConfiguration = {});
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    /// Where to connect to; empty when the bus did not start.
    QString address() const { return addresses.filter("unix:").value(0); }
    /// From another machine; empty where the configuration has no such address.
    QString addressFromAfar() const { return addresses.filter("tcp:").value(0); }

    /// Neither reads nor answers until it goes on.
    void hang();
    void goOn();
    void end();

private:
    // With the bus's configuration and, since it is killed, its socket.
    QTemporaryDir folder;
    QProcess daemon;
    QStringList addresses;
};
