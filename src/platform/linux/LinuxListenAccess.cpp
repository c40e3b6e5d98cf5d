#include "platform/linux/LinuxListenAccess.h"

#include "platform/linux/Session.h"

bool LinuxListenAccess::preflight() { return !isWaylandSession(); }
