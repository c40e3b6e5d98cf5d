#include "support/Compositors.h"

namespace {

/// What is run when the compositor is ready, in the home of the desktop's user.
const QString announcement = QStringLiteral(".config/announce");

const char* const announcing = R"(xhost +local: >/dev/null
printf '%s\n' "$WAYLAND_DISPLAY" "$DISPLAY" "$XAUTHORITY"
)";

const char* const swaySettings = R"(xwayland force
output X11-1 resolution %1x%2 position 0 0
exec sh %3
)";

CompositorSetup kwin(QSize size, const QString& home)
{
    const QString version = QString::number(installedPlasma());
    return {
        .program = "kwin_wayland",
        .arguments = { "--width", QString::number(size.width()), "--height", QString::number(size.height()),
            "--no-lockscreen", "--no-global-shortcuts", "--xwayland", "sh " + home + '/' + announcement },
        .environment = { "KWIN_COMPOSE=Q" },
        .session = { "XDG_CURRENT_DESKTOP=KDE", "KDE_FULL_SESSION=true", "KDE_SESSION_VERSION=" + version },
        .files = { { announcement, announcing } },
        .isCopied = true,
    };
}

CompositorSetup labwc(QSize size, const QString& home)
{
    const auto mode = QString("wlr-randr --output X11-1 --custom-mode %1x%2\n");
    return {
        .program = "labwc",
        .arguments = { "--startup", "sh " + home + '/' + announcement },
        .environment = { "WLR_BACKENDS=x11", "WLR_RENDERER=pixman" },
        .session = { "XDG_CURRENT_DESKTOP=labwc:wlroots" },
        .files = { { announcement, mode.arg(size.width()).arg(size.height()).toUtf8() + announcing } },
    };
}

CompositorSetup sway(QSize size, const QString& home)
{
    const QString settings = ".config/sway/config";
    return {
        .program = "sway",
        .arguments = { "--config", home + '/' + settings },
        .environment = { "WLR_BACKENDS=x11", "WLR_RENDERER=pixman" },
        .session = { "XDG_CURRENT_DESKTOP=sway" },
        .files = { { settings,
                       QString(swaySettings)
                           .arg(size.width())
                           .arg(size.height())
                           .arg(home + '/' + announcement)
                           .toUtf8() },
            { announcement, announcing } },
        .refusesRoot = true,
    };
}

}

std::optional<CompositorSetup> compositorSetup(Bar bar, QSize size, const QString& home)
{
    switch (bar) {
    case Bar::PlasmaOnWayland:
        return kwin(size, home);
    case Bar::Waybar:
        return sway(size, home);
    case Bar::XfceOnWayland:
        return labwc(size, home);
    case Bar::DarkXfce:
    case Bar::Gnome:
    case Bar::Lxqt:
    case Bar::Mate:
    case Bar::Plasma:
    case Bar::Trayer:
    case Bar::Xfce:
        break;
    }
    return {};
}
