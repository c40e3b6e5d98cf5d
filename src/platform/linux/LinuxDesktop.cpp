#include "platform/linux/LinuxDesktop.h"

#include "platform/linux/OpenFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QSessionManager>
#include <QSocketNotifier>

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace {

// Signal handlers and exit handlers are called without an argument, so that what they need stands here.
std::atomic<int> signalEvent = -1;
std::atomic<LinuxDesktop*> desktopAtExit = nullptr;

void wakeMainLoop(int)
{
    const int savedError = errno;
    eventfd_write(signalEvent, 1);
    errno = savedError;
}

/// A handler, and not a blocked signal that is read from a descriptor: children inherit a blocked signal and
/// could then not be ended with it, while a handler ends at exec.
void handleSignal(int signal)
{
    struct sigaction action { };
    // nohup asks for the program to outlive its terminal.
    if (signal == SIGHUP && sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = wakeMainLoop;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

/// Xlib, which the toolkit uses beside xcb, writes a line to the error output when it finds the display gone.
/// It is not linked here: where it is loaded, it is told to keep quiet, and ends the process all the same.
void keepXlibQuiet()
{
    void* xlib = dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD);
    if (!xlib)
        return;
    using Handler = int (*)(void* display);
    using SetHandler = Handler (*)(Handler);
    if (const auto setHandler = reinterpret_cast<SetHandler>(dlsym(xlib, "XSetIOErrorHandler")))
        setHandler([](void*) { return 0; });
}

}

LinuxDesktop::LinuxDesktop(std::function<void()> drainInput, std::function<void()> makeWay)
    : drainInput(std::move(drainInput))
    , makeWay(std::move(makeWay))
{
    desktopAtExit = this;
    // The loop has ended by then, so that nothing can be counted after the observers have saved.
    QObject::connect(
        QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &context, [this] { willTerminate(); });
    keepXlibQuiet();
    listenForSignals();
    listenForSessionManager();
}

LinuxDesktop::~LinuxDesktop()
{
    // The handlers stay: a second signal changes nothing about an end that has begun.
    signalNotifier.reset();
    close(signalEvent.exchange(-1));
    desktopAtExit = nullptr;
}

void LinuxDesktop::onWillTerminate(std::function<void()> observer)
{
    // Losing the display makes Qt call exit() from within the loop, and nothing but this hears of it.
    // Registered only now, when all that the observers use exists: what is made first is destroyed last.
    if (observers.empty())
        std::atexit(runObserversAtExit);
    observers.push_back(std::move(observer));
}

void LinuxDesktop::terminate()
{
    // Later, so that it also works before the loop has begun. exit() and not quit(), which any open window
    // can refuse.
    QMetaObject::invokeMethod(
        &context, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
}

void LinuxDesktop::openNewInstance(std::function<void()> done)
{
    makeWay();
    // Returns once the executable has been started, or could not be.
    std::ignore = QProcess::startDetached(QCoreApplication::applicationFilePath(), {});
    QMetaObject::invokeMethod(&context, std::move(done), Qt::QueuedConnection);
}

// There is no such place in any desktop's settings. A page of the program's own says how things stand.
void LinuxDesktop::openInputMonitoringSettings()
{
    const QDir program = QCoreApplication::applicationDirPath();
    for (const char* share : { "../share", "share" }) {
        const QString page = program.filePath(share) + "/doc/knucklet/input-monitoring.html";
        if (QFileInfo::exists(page)) {
            openFile(QDir::cleanPath(page));
            return;
        }
    }
}

void LinuxDesktop::runObserversAtExit()
{
    if (LinuxDesktop* desktop = desktopAtExit)
        desktop->willTerminate();
}

void LinuxDesktop::listenForSignals()
{
    signalEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    signalNotifier = std::make_unique<QSocketNotifier>(signalEvent, QSocketNotifier::Read);
    QObject::connect(signalNotifier.get(), &QSocketNotifier::activated, &context, [this] {
        eventfd_t count = 0;
        eventfd_read(signalEvent, &count);
        terminate();
    });
    for (const int signal : { SIGTERM, SIGINT, SIGHUP })
        handleSignal(signal);
    // A server that is gone, and a limit on the size of files, show in what the calls return. As signals they
    // would end the program before it has saved.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

// The end of a session is the toolkit's own affair: it quits when the manager says so, and asks the user
// nothing.
void LinuxDesktop::listenForSessionManager()
{
    const auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!application)
        return;
    // Whether the program starts at login is the login item's affair. A manager that brings back what was
    // running would start it a second time, which opens the panel.
    const auto stayAway
        = [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); };
    // Directly: the manager's answer is written when this returns.
    QObject::connect(
        application, &QGuiApplication::commitDataRequest, &context, stayAway, Qt::DirectConnection);
    QObject::connect(
        application, &QGuiApplication::saveStateRequest, &context, stayAway, Qt::DirectConnection);
}

void LinuxDesktop::willTerminate()
{
    if (std::exchange(isTerminating, true))
        return;
    drainInput();
    for (const auto& observer : observers)
        observer();
    // Who is started from here on must not leave because of an instance that is as good as gone.
    makeWay();
}
