#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>

#include <optional>

/// The bars that a virtual desktop can have. Each stands along the top, ends in a tray with nothing else in
/// it, and is set up completely, so that none asks anything at its first start. Those of sessions of Wayland
/// bring their compositor, Waybar sway and Xfce's labwc; GNOME's tray has a menu of the system's beside it.
enum class Bar {
    Xfce,
    DarkXfce,
    Gnome,
    Lxqt,
    Mate,
    Plasma,
    PlasmaOnWayland,
    Trayer,
    Waybar,
    XfceOnWayland,
};

/// By the name of its program, with "-dark" behind it for a dark one, and "-wayland" where it runs on X11
/// too.
std::optional<Bar> barNamed(const QByteArray& name);

/// A file in the home folder of the desktop's user.
struct BarFile {
    QString path;
    QByteArray content;
};

/// One process of a bar.
struct BarProcess {
    QString program;
    QStringList arguments;
    /// The name on the session bus that it has when it is ready; none when a window of the X server tells it.
    QString busName;
    /// "NAME=value", besides what every program of the desktop has.
    QStringList environment {};
};

/// What it takes to run a bar, in the order of starting.
struct BarSetup {
    QList<BarFile> files;
    QList<BarProcess> processes;
};

BarSetup barSetup(Bar bar);

bool isOnWayland(Bar bar);

/// Of the desktops that come with a bar, those of GNOME and Plasma. They may be drawn after it.
inline constexpr QRgb desktopColor = 0xff2f4058;

/// 5 or 6.
int installedPlasma();

/// What stands on the right half of the picture of a bar, which has nothing in its middle.
QRect iconIn(const QImage& bar);

/// Whether a bar has asked for the upper edge of the screen, so that windows keep off. Some do so only after
/// they have shown their icons.
bool isUpperEdgeTaken(const QByteArray& display);

/// The program that a bus would start for this name; empty when none is installed.
QString programOfService(const QString& busName);
