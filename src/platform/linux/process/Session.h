#pragma once

/// Whether the desktop session is a Wayland session. An X server is then there for older programs only: it
/// sees their input and knows their windows, but not those of the session.
bool isWaylandSession();
