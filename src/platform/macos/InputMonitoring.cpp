#include "platform/macos/InputMonitoring.h"

#include <CoreGraphics/CoreGraphics.h>

#include <tuple>

bool InputMonitoring::preflight() { return CGPreflightListenEventAccess(); }

// Whether it was granted at once does not matter: who asks, asks `preflight` again.
void InputMonitoring::request() { std::ignore = CGRequestListenEventAccess(); }
