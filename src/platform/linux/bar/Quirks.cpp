#include "platform/linux/bar/Quirks.h"

#include <fstream>

namespace {

// The notification area of mate-panel runs as a process of its own,
// /usr/lib/mate-panel/notification-area-applet, or inside the panel where the distribution has built it so.
bool isMate(const std::string& bar) { return bar == "notification-ar" || bar == "mate-panel"; }

bool isWaybar(const std::string& bar) { return bar == "waybar"; }

bool isLxqt(const std::string& bar) { return bar == "lxqt-panel"; }

bool isGnome(const std::string& bar) { return bar == "gnome-shell"; }

// In Plasma the items register with a daemon and not with the bar, in versions 5 and 6.
bool isPlasma(const std::string& bar) { return bar == "kded5" || bar == "kded6"; }

}

std::string processName(std::uint32_t processId)
{
    std::string name;
    std::ifstream file("/proc/" + std::to_string(processId) + "/comm");
    std::getline(file, name);
    return name;
}

// mate-panel 1.27.0 shows a label in place of the icon: as soon as the property is there, even empty, the
// icon is gone. Tried: the label alone, which leaves two numbers that nobody can tell from a clock. waybar
// 0.9.17 ignores labels. Both scale an icon to the height of the bar and let it be as wide as it is.
// mate-panel does so in points: on a screen with two pixels to a point the text is there, but not sharp. A
// larger pixmap changes nothing.
bool takesTextInTheIconOnly(const std::string& bar) { return isMate(bar) || isWaybar(bar); }

// mate-panel 1.27.0, waybar 0.9.17 and lxqt-panel 1.2.1 load a symbolic icon like any other. Its drawing is
// #232629 for those that look no further, and on a dark bar nothing is to be seen: 1.2 to 1 on #353535.
// Tried: a gray instead, which is 3.1 to 1 there, and 1.1 to 1 on the blue that waybar's own style gives its
// tray.
bool drawsNamedIconsUncolored(const std::string& bar) { return isMate(bar) || isWaybar(bar) || isLxqt(bar); }

// The AppIndicator extension 59 in gnome-shell 48.7 makes its icon as soon as it has an item's properties,
// but knows labels only a moment later: no counts are seen until they change. It introspects the item after
// that. Tried: the same label again, which it takes for no change; another one before it, and it shows both
// at once.
bool readsLabelTooEarly(const std::string& bar) { return isGnome(bar); }

// The AppIndicator extension in gnome-shell 43.9 reads an item and asks for the owner of its name at the same
// time. Where the owner is heard of second it forgets the identifier and the menu, asks again a second later,
// fails at comparing the answer with nothing, and drops the item: at about every second start. Of an item
// that is registered by its path it asks no owner.
bool losesItemsWithNames(const std::string& bar) { return isGnome(bar); }

// The notification area of mate-panel 1.27.0 is watcher and host in one. The host listens for items only when
// the watcher has answered it, and reads the list of those that were there before from a copy that is renewed
// a moment after an item has come: one that registers in between is seen neither way for as long as the panel
// lives. Seen at 2 of 564 starts, where both started together.
bool missesItemsOfItsStart(const std::string& bar) { return isMate(bar); }

// mate-panel 1.27.0 and waybar 0.9.17 call Activate with a point of the icon's own small window. Taken for
// one of the screen, it opens the panel in the upper left corner.
bool countsPlacesFromTheIcon(const std::string& bar) { return isMate(bar) || isWaybar(bar); }

// gnome-shell is the compositor, and that of Plasma tells plasmashell. Any other bar of a Wayland session
// hears the place of no window, not even of its own: what it calls a place may be one within the icon, as
// with the wrapper-2.0 of xfce4-panel 4.20.4.
bool knowsItsPlace(const std::string& bar) { return isGnome(bar) || isPlasma(bar); }
