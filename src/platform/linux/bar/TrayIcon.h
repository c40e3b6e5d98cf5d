#pragma once

#include "platform/MenuBarItem.h"
#include "platform/linux/Xcb.h"
#include "platform/linux/bar/MenuBarIcon.h"
#include "platform/linux/bar/XcbPicture.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <memory>
#include <optional>
#include <string>

/// The menu-bar item for bars of the older kind, which take in small windows of other programs: the System
/// Tray Protocol of freedesktop.org, on a connection of its own to the X server. It shows the icon alone; the
/// counts are in its tooltip. Nothing is to be seen while no such bar is there, nor without an X server.
class TrayIcon final {
public:
    /// Both are told the middle of the icon. `menuWanted` is called for a click that asks for the menu.
    TrayIcon(EventLoop& loop, MenuBarAction activated, MenuBarAction menuWanted);
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;
    ~TrayIcon();

    /// Its text has the characters of counts only. It is the window's name as well, for screen readers.
    void setToolTip(const std::string& toolTip);
    /// Whether a bar has taken the icon in and shows it.
    bool isShown() const { return isEmbedded && isMapped; }

private:
    struct Atoms {
        xcb_atom_t tray = XCB_ATOM_NONE;
        xcb_atom_t manager = XCB_ATOM_NONE;
        xcb_atom_t opcode = XCB_ATOM_NONE;
        xcb_atom_t visual = XCB_ATOM_NONE;
        xcb_atom_t embedding = XCB_ATOM_NONE;
        xcb_atom_t name = XCB_ATOM_NONE;
        xcb_atom_t utf8 = XCB_ATOM_NONE;
        xcb_atom_t windowType = XCB_ATOM_NONE;
        xcb_atom_t toolTipType = XCB_ATOM_NONE;
    };

    /// Where the icon's window is on the screens, and how large.
    struct Place {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    void askForAtoms(int screenNumber);
    void dispatch();
    void handle(const xcb_generic_event_t& event);
    void handleError(const xcb_generic_error_t& error);
    void handleClick(const xcb_button_press_event_t& click);
    void handleParent(xcb_window_t parent);
    void findTray();
    void trayFound(xcb_window_t newTray);
    void visualFound(xcb_visualid_t offered);
    void leaveTray();
    void dropWindow();
    void makeWindow(const PixelFormat& newFormat);
    void nameWindow();
    void askForDock();
    void drawIcon();
    void draw(xcb_window_t target, const PixelFormat& targetFormat, const IconPixmap& picture,
        PicturePlace picturePlace);
    void showToolTip();
    void hideToolTip();
    void drawToolTip();
    IconPixmap toolTipPicture() const;

    EventLoop& loop;
    MenuBarAction activated;
    MenuBarAction menuWanted;
    std::string toolTip;
    XcbConnection connection;
    std::optional<XcbQuestions> questions;
    const xcb_screen_t* screen = nullptr;
    Atoms atoms;
    std::unique_ptr<DescriptorWatch> watch;
    LoopTimer toolTipDelay;

    /// The tray's own window, and what there is while there is a tray.
    xcb_window_t tray = XCB_WINDOW_NONE;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_colormap_t colors = XCB_NONE;
    PixelFormat format;
    Place place;
    bool isEmbedded = false;
    bool isMapped = false;
    bool needsDrawing = false;

    xcb_window_t toolTipWindow = XCB_WINDOW_NONE;
    PixelFormat toolTipFormat;
    bool toolTipNeedsDrawing = false;

    Lifetime lifetime;
};
