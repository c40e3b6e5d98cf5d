#include "support/Bars.h"

#include "platform/linux/Xcb.h"
#include "support/Screenshot.h"

#include <QSettings>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");

// The clock stands far from the tray, so that nothing but icons ever shows near the right end.
const char* const xfceSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="%1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="clock">
      <property name="digital-layout" type="uint" value="3"/>
      <property name="digital-time-font" type="string" value="Sans 9"/>
    </property>
    <property name="plugin-2" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-3" type="string" value="systray"/>
  </property>
</channel>
)";

// Of the two names the extension has one; which, depends on who has packaged it.
const char* const gnomeSettings = R"([org/gnome/shell]
enabled-extensions=['ubuntu-appindicators@ubuntu.com', 'appindicatorsupport@rgcjonas.gmail.com']
welcome-dialog-last-shown-version='1000'

[org/gnome/desktop/interface]
enable-animations=false

[org/gnome/desktop/lockdown]
disable-lock-screen=true

[org/gnome/desktop/notifications]
show-banners=false

[org/gnome/desktop/background]
picture-options='none'
primary-color='#2f4058'
)";

const char* const lxqtSettings = R"(panels=panel1

[panel1]
alignment=-1
animation-duration=0
iconSize=22
panelSize=28
plugins=spacer, statusnotifier
position=Top
width=100
width-percent=true

[spacer]
expandable=true
type=spacer

[statusnotifier]
type=statusnotifier
)";

const char* const mateSettings = R"([org/mate/panel/general]
toplevel-id-list=['top']
object-id-list=['tray']

[org/mate/panel/toplevels/top]
enable-animations=false
expand=true
orientation='top'
size=28

[org/mate/panel/objects/tray]
object-type='applet'
applet-iid='NotificationAreaAppletFactory::NotificationArea'
toplevel-id='top'
panel-right-stick=true
locked=true
)";

// A desktop that belongs to no activity would not be shown.
const char* const plasmaActivities = R"([activities]
7c5c6a5e-5ba8-4b1d-9f0d-3c1c7e0f2b6a=Default

[main]
currentActivity=7c5c6a5e-5ba8-4b1d-9f0d-3c1c7e0f2b6a
)";

// An item of the tray that is known and not wanted stays away.
const char* const plasmaSettings = R"([Containments][1]
activityId=7c5c6a5e-5ba8-4b1d-9f0d-3c1c7e0f2b6a
formfactor=0
lastScreen=0
location=0
plugin=org.kde.desktopcontainment
wallpaperplugin=org.kde.color

[Containments][1][Wallpaper][org.kde.color][General]
Color=47,64,88

[Containments][2]
formfactor=2
lastScreen=0
location=3
plugin=org.kde.panel

[Containments][2][Applets][3]
plugin=org.kde.plasma.panelspacer

[Containments][2][Applets][4]
plugin=org.kde.plasma.systemtray

[Containments][2][Applets][4][Configuration]
SystrayContainmentId=5

[Containments][2][General]
AppletOrder=3;4

[Containments][5]
formfactor=2
lastScreen=0
location=3
plugin=org.kde.plasma.private.systemtray

[Containments][5][General]
extraItems=
knownItems=%1
showAllItems=true
)";

// A panel of Plasma 6 keeps a distance from the edge of the screen otherwise. Opaque, so that the desktop
// does not show through.
const char* const plasmaPanelSettings = R"([PlasmaViews][Panel 2]
floating=0
panelOpacity=1
)";

const char* const waybarSettings = R"({
  "layer": "top",
  "height": 28,
  "modules-right": ["tray"],
  "tray": { "icon-size": 21 }
}
)";

const char* const waybarStyle = R"(window#waybar { background: #2b303b; color: #ffffff; }
#tray { padding: 0 4px; }
)";

std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window, const char* name)
{
    const auto length = static_cast<std::uint16_t>(std::strlen(name));
    const XcbReply<xcb_intern_atom_reply_t> property(
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, length, name), nullptr));
    if (!property)
        return {};
    const auto cookie = xcb_get_property(connection, 0, window, property->atom, XCB_ATOM_ANY, 0, 1000);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return { first, first + reply->value_len };
}

BarSetup xfce(const char* dark)
{
    return {
        .files = { { ".config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
            QString(xfceSettings).arg(dark).toUtf8() } },
        .processes = { { "xfce4-panel", { "--disable-wm-check" }, watcherName } },
    };
}

BarSetup gnome()
{
    return {
        .files = { { ".config/glib-2.0/settings/keyfile", gnomeSettings } },
        // With its compositor.
        .processes = {},
    };
}

BarSetup lxqt()
{
    return {
        .files = { { ".config/lxqt/panel.conf", lxqtSettings } },
        .processes = { { "lxqt-panel", {}, watcherName } },
    };
}

BarSetup mate()
{
    const QString applet = "org.mate.panel.applet.NotificationAreaAppletFactory";
    const QStringList settingsInFile { "GSETTINGS_BACKEND=keyfile" };
    return {
        .files = { { ".config/glib-2.0/settings/keyfile", mateSettings } },
        .processes = {
            { programOfService(applet), {}, applet, settingsInFile },
            { "mate-panel", {}, watcherName, settingsInFile },
        },
    };
}

BarSetup plasma()
{
    const QStringList items { "battery", "cameraindicator", "clipboard", "devicenotifier",
        "keyboardindicator", "keyboardlayout", "manage-inputmethod", "mediacontroller", "networkmanagement",
        "notifications", "printmanager", "volume" };
    const QString version = QString::number(installedPlasma());
    const QStringList session { "KDE_FULL_SESSION=true", "KDE_SESSION_VERSION=" + version,
        "XDG_CURRENT_DESKTOP=KDE", "QT_QUICK_BACKEND=software" };
    const QString activities = "org.kde.ActivityManager";
    return {
        .files = { { ".config/plasma-org.kde.plasma.desktop-appletsrc",
                       QString(plasmaSettings)
                           .arg("org.kde.plasma." + items.join(",org.kde.plasma."))
                           .toUtf8() },
            { ".config/plasmashellrc", plasmaPanelSettings },
            { ".config/kactivitymanagerdrc", plasmaActivities } },
        .processes = {
            { programOfService(activities), {}, activities, session },
            { "kded" + version, {}, watcherName, session },
            { "plasmashell", {}, "org.kde.plasmashell", session },
        },
    };
}

BarSetup trayer()
{
    return {
        .files = {},
        .processes = { { "trayer",
            { "--edge", "top", "--align", "right", "--widthtype", "percent", "--width", "100", "--height",
                "28", "--SetPartialStrut", "true" },
            {} } },
    };
}

BarSetup waybar()
{
    return {
        .files = { { ".config/waybar/config", waybarSettings }, { ".config/waybar/style.css", waybarStyle } },
        .processes = { { "waybar", {}, watcherName } },
    };
}

}

std::optional<Bar> barNamed(const QByteArray& name)
{
    const std::pair<const char*, Bar> names[] { { "xfce4-panel", Bar::Xfce },
        { "xfce4-panel-dark", Bar::DarkXfce }, { "gnome-shell", Bar::Gnome }, { "lxqt-panel", Bar::Lxqt },
        { "mate-panel", Bar::Mate }, { "plasmashell", Bar::Plasma },
        { "plasmashell-wayland", Bar::PlasmaOnWayland }, { "trayer", Bar::Trayer }, { "waybar", Bar::Waybar },
        { "xfce4-panel-wayland", Bar::XfceOnWayland } };
    const auto* found = std::find_if(
        std::begin(names), std::end(names), [&](const auto& each) { return each.first == name; });
    return found == std::end(names) ? std::nullopt : std::optional(found->second);
}

BarSetup barSetup(Bar bar)
{
    switch (bar) {
    case Bar::Xfce:
    case Bar::XfceOnWayland:
        return xfce("false");
    case Bar::DarkXfce:
        return xfce("true");
    case Bar::Gnome:
        return gnome();
    case Bar::Lxqt:
        return lxqt();
    case Bar::Mate:
        return mate();
    case Bar::Plasma:
    case Bar::PlasmaOnWayland:
        return plasma();
    case Bar::Trayer:
        return trayer();
    case Bar::Waybar:
        return waybar();
    }
    return {};
}

bool isOnWayland(Bar bar)
{
    return bar == Bar::Gnome || bar == Bar::PlasmaOnWayland || bar == Bar::Waybar
        || bar == Bar::XfceOnWayland;
}

int installedPlasma() { return programOfService("org.kde.kded6").isEmpty() ? 5 : 6; }

QRect iconIn(const QImage& bar)
{
    QImage empty = bar;
    for (int y = 0; y < bar.height(); ++y) {
        for (int x = bar.width() / 2; x < bar.width(); ++x)
            empty.setPixel(x, y, bar.pixel(bar.width() / 2, y));
    }
    return difference(empty, bar);
}

bool isUpperEdgeTaken(const QByteArray& display)
{
    const XcbConnection connection(xcb_connect(display.constData(), nullptr));
    if (xcb_connection_has_error(connection.get()))
        return false;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const auto windows = numbers(connection.get(), root, "_NET_CLIENT_LIST");
    return std::any_of(windows.begin(), windows.end(), [&](xcb_window_t window) {
        // What it takes of the left, right, upper and lower edge, and from where to where.
        const auto taken = numbers(connection.get(), window, "_NET_WM_STRUT_PARTIAL");
        return taken.size() == 12 && taken[2] > 0;
    });
}

QString programOfService(const QString& busName)
{
    const QSettings service("/usr/share/dbus-1/services/" + busName + ".service", QSettings::IniFormat);
    return service.value("D-BUS Service/Exec").toString();
}
