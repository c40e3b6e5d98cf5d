#pragma once

#include "support/Bars.h"

#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

/// A compositor of Wayland that runs in a window as large as the screen: input and pictures go through the X
/// server as everywhere else. Programs see its Wayland and its XWayland only.
struct CompositorSetup {
    QString program;
    QStringList arguments;
    /// "NAME=value", for the compositor alone,
    QStringList environment;
    /// and for every program of the session.
    QStringList session;
    QList<BarFile> files;
    /// Whether it does not run as root, who the desktop's user may be. It is another user's then, and lets
    /// everybody in.
    bool refusesRoot = false;
    /// Whether its file may do what a container forbids, for which it does not start there. A copy may not.
    bool isCopied = false;
};

/// That of a bar of such a session, but for GNOME's. When it is ready, it prints what it has put into
/// WAYLAND_DISPLAY, DISPLAY and XAUTHORITY, each on a line of its own. `home` is that of the desktop's user.
std::optional<CompositorSetup> compositorSetup(Bar bar, QSize size, const QString& home);
