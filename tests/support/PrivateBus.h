#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryFile>

/// A session bus of the test's own. It ends with this object, and with the process should that crash.
class PrivateBus final {
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    /// Where to connect to; empty when the bus did not start.
    QString address() const { return busAddress; }

    /// Neither reads nor answers until it goes on.
    void hang();
    void goOn();
    void end();

private:
    QTemporaryFile configuration;
    QProcess daemon;
    QString busAddress;
};
