#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArray>
#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

/// The windows of a display as its window manager has them, and what a user asks of the manager.
class DesktopWindows final {
public:
    explicit DesktopWindows(const QByteArray& display);

    /// A window that the manager manages, shown or iconified; XCB_WINDOW_NONE when there is none of that
    /// title.
    xcb_window_t find(const QString& title) const;
    /// The window that has the keyboard, as the manager says.
    xcb_window_t active() const;
    bool isShown(xcb_window_t window) const;
    /// Whether somebody, such as the manager while it moves a window, keeps the keys from all windows. Not to
    /// be asked while a menu may open: the window that has the keyboard is told of the question, and its menu
    /// closes.
    bool isKeyboardGrabbed() const;
    /// Where the window stands on the screen, in pixels, without a frame and without a shadow of its own.
    QRect place(xcb_window_t window) const;
    /// A place on the first entry of the program's menu that is open, in pixels.
    std::optional<QPoint> firstMenuEntry() const;
    /// What the manager leaves to windows on the first workspace, in pixels; null while it has not said so.
    QRect workArea() const;
    /// The names in the window's _NET_WM_STATE.
    QStringList states(xcb_window_t window) const;
    /// What the window says of its program, in WM_CLASS: by its name and by its kind. The latter is what
    /// desktops look for in desktop entries.
    QStringList classNames(xcb_window_t window) const;
    /// The widths of the icons that the window brings along.
    QList<int> iconSizes(xcb_window_t window) const;
    /// The window by which the manager says that it is there; each manager has another one.
    xcb_window_t manager() const;
    /// Of all windows at a place of the screen, the one that is seen there.
    xcb_window_t top(QPoint place) const;

    /// Whether a program keeps this selection, such as the clipboard.
    bool hasSelectionOwner(const char* selection) const;

    void iconify(xcb_window_t window) const;
    /// As with the button of its frame.
    void close(xcb_window_t window) const;
    void maximize(xcb_window_t window) const;
    void move(xcb_window_t window, QPoint place) const;
    /// Opens a window of another program and gives it the keyboard.
    xcb_window_t openOther(const QRect& place) const;
    /// Takes the keyboard from the window that has it.
    void takeKeyboard() const;
    /// Returns when the manager has seen whatever has been pressed so far, at the price of the focus; false
    /// when that does not come. While it is behind it may keep the next press from a bar.
    [[nodiscard]] static bool awaitManager(const QByteArray& display);
    /// How many presses, repeats among them, the windows of the other program have received since the last
    /// call. The manager learns, as from any program, when its user last typed.
    int receivedPresses() const;

private:
    xcb_atom_t atom(const char* name) const;
    std::vector<std::uint32_t> property(xcb_window_t window, const char* name) const;
    void tellManager(xcb_window_t window, const char* type, const std::array<std::uint32_t, 5>& data) const;

    XcbConnection connection;
    xcb_window_t root = XCB_WINDOW_NONE;
};
