#include "platform/linux/process/WaylandDisplay.h"

#include "platform/linux/process/BaseFolders.h"
#include "platform/linux/process/Session.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

/// Where every program of the session finds its compositor; empty when it is nowhere.
std::string compositorSocket()
{
    const char* name = std::getenv("WAYLAND_DISPLAY");
    const std::string display = name && *name ? name : "wayland-0";
    if (display.starts_with('/'))
        return display;
    const auto folder = runtimeFolder();
    return folder ? (*folder / display).string() : "";
}

FileDescriptor connectTo(const std::string& path)
{
    sockaddr_un address { .sun_family = AF_UNIX, .sun_path = {} };
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return {};
    path.copy(address.sun_path, path.size());
    // Not waiting for one that takes no connection.
    FileDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return connection;
}

}

WaylandDisplay::WaylandDisplay(EventLoop& loop, std::function<void()> lost)
    : lost(std::move(lost))
    , connection(isWaylandSession() ? connectTo(compositorSocket()) : FileDescriptor())
{
    if (connection.isOpen())
        watch.emplace(loop, connection.get(), [this] { readConnection(); });
}

bool WaylandDisplay::isLost()
{
    // What it says, if anything, is of no interest.
    std::array<char, 4096> said;
    while (connection.isOpen() && !hasEnded) {
        const auto count = recv(connection.get(), said.data(), said.size(), MSG_DONTWAIT);
        if (count < 0 && errno == EAGAIN)
            break;
        hasEnded = count == 0 || (count < 0 && errno != EINTR);
    }
    return hasEnded;
}

void WaylandDisplay::readConnection()
{
    if (!isLost())
        return;
    watch.reset();
    lost();
}
