#pragma once

#include <string_view>

/// A variable of the environment; empty where it is not set.
std::string_view environment(const char* variable);

/// Whether the desktop session is a Wayland session. An X server is then there for older programs only: it
/// sees their input and knows their windows, but not those of the session.
bool isWaylandSession();
