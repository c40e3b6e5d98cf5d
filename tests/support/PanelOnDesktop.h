#pragma once

#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/RunningKnucklet.h"
#include "support/VirtualDesktop.h"

#include <QImage>
#include <QPoint>

#include <memory>

/// The real program in the bar of a virtual desktop, and its panel, as its user sees and handles them.
class PanelOnDesktop final {
public:
    explicit PanelOnDesktop(const DesktopParts& parts = { .windowManager = true, .panel = true })
        : desktop(parts)
    {
    }

    ~PanelOnDesktop();
    PanelOnDesktop(const PanelOnDesktop&) = delete;
    PanelOnDesktop& operator=(const PanelOnDesktop&) = delete;

    /// Starts the desktop, whose user has set up the program before.
    [[nodiscard]] bool start();
    /// Starts the program and waits for its icon in a bar along the top of the whole screen. `extra` is added
    /// to the desktop's environment.
    [[nodiscard]] bool run(const QString& program, const QProcessEnvironment& extra = {});

    /// Waits for the icon to be in a tray that stands there.
    [[nodiscard]] bool findIcon(const QRect& tray);

    void moveTo(QPoint place) const;
    void click(QPoint place) const;
    /// Clicks at a place of the screen that is the panel's once nothing covers it.
    [[nodiscard]] bool clickInPanel(QPoint place) const;
    void clickIcon();
    void type(xcb_keysym_t symbol, int times = 1) const;

    /// Clicks the icon and waits for the panel to be there and to have the keyboard.
    [[nodiscard]] bool open();
    /// How many clicks on the icon the bar has told the program of.
    qsizetype reportedClicks();
    /// The panel's window; XCB_WINDOW_NONE while it is closed.
    xcb_window_t panel() const;
    bool isOpen() const { return panel() != XCB_WINDOW_NONE; }
    /// Where the panel stands, in pixels of the screen; null while it is closed.
    QRect area() const { return windows->place(panel()); }
    /// What the panel looks like now. The pointer is moved out of the way, with the tooltip that it brings.
    QImage picture() const;

    VirtualDesktop desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<DesktopWindows> windows;
    std::unique_ptr<RunningKnucklet> knucklet;
    /// The middle of the icon.
    QPoint icon;

private:
    int clicksOnIcon = 0;
    /// Writes down what goes over the bus.
    std::unique_ptr<QProcess> busLog;
    QByteArray reports;
};
