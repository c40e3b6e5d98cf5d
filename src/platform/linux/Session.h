#pragma once

#include <QString>

/// Whether the desktop session is a Wayland session. An X server is then there for older programs only: it
/// sees their input and knows their windows, but not those of the session.
bool isWaylandSession();

/// A program of Knucklet's own that users do not start themselves, beside the running executable's folder or,
/// where it runs as it was built, below it.
QString libexecProgram(const QString& name);
