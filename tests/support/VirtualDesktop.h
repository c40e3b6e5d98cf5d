#pragma once

#include "support/Bars.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QSize>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

struct CompositorSetup;

/// What stands on a virtual desktop besides the X server and the session bus.
struct DesktopParts {
    QSize size { 1280, 800 };
    /// Pixels to a point in the sessions of GNOME and of Plasma on Wayland.
    double scale = 1;
    /// The X server is one of VNC, for users at other machines.
    bool isRemote = false;
    /// xfwm4.
    bool windowManager = false;
    /// It also composes the windows, so that they can be transparent.
    bool compositor = false;
    /// One bar along the top, which is ready when the desktop is.
    bool panel = false;
    /// Which one that is, or will be when it is started later.
    Bar bar = Bar::Xfce;
};

struct LaunchOptions {
    /// With forwarded channels the program shares the input as well as the output of this process.
    QProcess::ProcessChannelMode channels = QProcess::SeparateChannels;
    /// What its environment has besides that of the desktop.
    QProcessEnvironment additions {};
};

/// A desktop on which nobody looks: an X server without a screen, a session bus and, if wanted, a window
/// manager and a panel, with a home folder of their own. Any number of them run side by side. Everything ends
/// with this object, and with the process should that crash. Needs an application object.
class VirtualDesktop final {
public:
    explicit VirtualDesktop(const DesktopParts& parts = {});
    VirtualDesktop(const VirtualDesktop&) = delete;
    VirtualDesktop& operator=(const VirtualDesktop&) = delete;
    ~VirtualDesktop();

    /// Starts the parts and returns when all of them are ready for use; false when one of them is missing or
    /// does not come up, see `failure`. To be called once, from the main thread.
    [[nodiscard]] bool start();
    QString failure() const { return failureText; }

    /// In pixels.
    QSize size() const { return parts.size; }
    /// Such as ":3".
    QByteArray display() const { return displayName; }
    QString busAddress() const { return address; }
    /// Where an X server of VNC is to be reached.
    QString remoteSocket() const { return folder() + "/runtime/vnc"; }
    /// The folder with `home`, `runtime` and what the parts wrote to their error output.
    QString folder() const { return directory.path(); }
    /// The whole environment of a program on this desktop; nothing of the outer session is in it.
    QProcessEnvironment environment() const;

    /// Starts a program on this desktop. It ends with the returned object at the latest.
    std::unique_ptr<QProcess> launch(
        const QString& program, const QStringList& arguments = {}, const LaunchOptions& options = {}) const;
    /// Runs a program to its end and says whether it succeeded.
    [[nodiscard]] bool run(const QString& program, const QStringList& arguments = {}) const;

    /// Has GNOME's session, or Plasma's on Wayland, show so many pixels to a point from now on.
    [[nodiscard]] bool setScale(double scale);
    /// Starts the bar, and returns when it is ready for use.
    [[nodiscard]] bool startBar();
    /// Ends the bar at once and without notice.
    void killBar();
    /// Ends the X server at once and without notice, as a crash of it would.
    void killServer();
    /// The same for the session bus.
    void killBus();
    /// The same for the compositor of a session of Wayland.
    void killCompositor();
    /// The X server stops answering, and goes on where it was.
    void freezeServer();
    void thawServer();
    /// The same for the session bus.
    void freezeBus();
    void thawBus();
    /// The same for the window manager.
    void freezeManager();
    void thawManager();

    /// What a part of the desktop has written so far, by its program's name.
    QString logOf(const QString& program) const;

private:
    struct PartOptions;

    bool makeFolders();
    void writeFiles(const QList<BarFile>& files) const;
    bool startServer();
    void lockDisplay();
    void unlockDisplay() const;
    QString displayLock() const;
    bool startBus();
    bool startSettings();
    bool startWindowManager();
    bool startCompositor(const CompositorSetup& setup);
    bool startGnome();
    bool leaveOverview();
    bool tellScale() const;
    bool startPart(const QString& program, const QStringList& arguments);
    bool startPart(const QString& program, const QStringList& arguments, const PartOptions& options);
    QByteArray awaitFirstLine();
    void killPart(std::size_t place);
    void signalManager(int signal);
    bool fail();

    DesktopParts parts;
    QTemporaryDir directory;
    QByteArray displayName;
    /// What its lock holds.
    QByteArray lockText;
    QString address;
    QString failureText;
    /// How the programs of a Wayland session find it.
    QProcessEnvironment session;
    /// In the order of starting; those of the bar come last.
    std::vector<std::unique_ptr<QProcess>> processes;
    std::size_t firstOfBar = 0;
};
