#include "platform/linux/process/Session.h"

#include <cstdlib>

std::string_view environment(const char* variable)
{
    const char* value = std::getenv(variable);
    return value ? value : "";
}

bool isWaylandSession()
{
    return environment("XDG_SESSION_TYPE") == "wayland" || !environment("WAYLAND_DISPLAY").empty();
}
