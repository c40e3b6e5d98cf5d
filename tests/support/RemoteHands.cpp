#include "support/RemoteHands.h"

#include "support/Patience.h"

#include <QtEndian>

namespace {

/// Messages to the server, and one from it.
constexpr char framebufferUpdateRequest = 3;
constexpr char keyEvent = 4;
constexpr char framebufferUpdate = 0;

constexpr qint64 bytesPerPixel = 4;

}

bool RemoteHands::connectTo(const QString& socket)
{
    server.connectToServer(socket);
    if (!server.waitForConnected(patience) || read(12) != "RFB 003.008\n")
        return false;
    server.write("RFB 003.008\n");
    // Of the ways to prove who one is, the one without any.
    const auto count = read(1);
    if (count.isEmpty() || !read(count[0]).contains('\1'))
        return false;
    server.write("\1", 1);
    if (read(4) != QByteArray(4, '\0'))
        return false;
    // Others may stay.
    server.write("\1", 1);
    // Size, form of the pixels, and name.
    const auto desktop = read(24);
    read(desktop.size() < 24 ? 0 : qFromBigEndian<qint32>(desktop.constData() + 20));
    return server.isValid();
}

bool RemoteHands::sync()
{
    // A pixel is sent after all that was done before it was asked for.
    constexpr char question[] { framebufferUpdateRequest, 0, 0, 0, 0, 0, 0, 1, 0, 1 };
    server.write(question, sizeof question);
    return read(16 + bytesPerPixel).startsWith(framebufferUpdate);
}

void RemoteHands::send(std::uint32_t keysym, bool isDown)
{
    QByteArray message(8, '\0');
    message[0] = keyEvent;
    message[1] = static_cast<char>(isDown);
    qToBigEndian(keysym, message.data() + 4);
    server.write(message);
}

QByteArray RemoteHands::read(qint64 length)
{
    while (server.bytesAvailable() < length && server.waitForReadyRead(patience)) { }
    return server.read(length);
}
