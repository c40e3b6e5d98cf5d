#pragma once

#include <QLocalSocket>
#include <QString>

#include <cstdint>

/// Plays the hands of a user at another machine: a client of a VNC server, by RFC 6143, that sends keys and
/// looks at nothing.
class RemoteHands final {
public:
    /// Connects to the server's socket, at which nobody is asked for a password.
    [[nodiscard]] bool connectTo(const QString& socket);

    /// The keysyms are those of <X11/keysymdef.h>.
    void pressKey(std::uint32_t keysym) { send(keysym, true); }
    void releaseKey(std::uint32_t keysym) { send(keysym, false); }
    /// Returns when the server has done all that it was sent.
    [[nodiscard]] bool sync();

private:
    void send(std::uint32_t keysym, bool isDown);
    /// As many bytes as the server has to send next; fewer when it does not.
    QByteArray read(qint64 length);

    QLocalSocket server;
};
