#include "platform/linux/windows/ToolkitEnd.h"

#include "platform/linux/process/OwnProcess.h"
#include "platform/linux/process/WaylandDisplay.h"

#include <QEvent>
#include <QGuiApplication>
#include <QSessionManager>
#include <QThread>

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace {

// Who hears what the toolkit says is called without an argument, from any thread.
std::atomic<ToolkitEnd*> listener = nullptr;

/// How long a thread of the toolkit's that is about to end the process waits for the main thread.
constexpr std::chrono::seconds savePatience { 10 };

bool areLastWords(QtMsgType type, const QString& words)
{
    return type == QtFatalMsg || words.startsWith("The Wayland connection");
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

ToolkitEnd::ToolkitEnd(OwnProcess& process, WaylandDisplay& display)
    : process(process)
    , display(display)
    , nextToHear(qInstallMessageHandler(hear))
{
    listener = this;
    QObject::connect(
        QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &context, [this] { endProcess(); });
    QCoreApplication::instance()->installEventFilter(&context);
    keepXlibQuiet();
    listenForSessionManager();
}

ToolkitEnd::~ToolkitEnd()
{
    qInstallMessageHandler(nextToHear);
    listener = nullptr;
}

int ToolkitEnd::run()
{
    if (!context.wasToldToQuit())
        return QCoreApplication::exec();
    endProcess();
    return EXIT_SUCCESS;
}

bool ToolkitEnd::Listener::eventFilter(QObject*, QEvent* event)
{
    isToldToQuit = isToldToQuit || event->type() == QEvent::Quit;
    return false;
}

// Where a Wayland connection fails, Qt says a word, from whichever of its threads has found it out, and ends
// the process without a further one.
void ToolkitEnd::hear(QtMsgType type, const QMessageLogContext& context, const QString& words)
{
    auto* self = listener.load();
    if (!self)
        return;
    const auto next = self->nextToHear;
    const bool isMainThread = QThread::currentThread() == self->context.thread();
    if (isMainThread && (areLastWords(type, words) || self->display.isLost())) {
        self->endProcess();
    } else if (!isMainThread && areLastWords(type, words)) {
        // This object may be gone when the main thread has saved.
        const auto end = self->end;
        QMetaObject::invokeMethod(
            &self->context, [self] { self->endProcess(); }, Qt::QueuedConnection);
        end.wait_for(savePatience);
    }
    if (next)
        next(type, context, words);
}

void ToolkitEnd::endProcess()
{
    process.willTerminate();
    if (!std::exchange(hasEnded, true))
        ended.set_value();
}

// The end of a session is the toolkit's own affair: it quits when the manager says so, and asks the user
// nothing.
void ToolkitEnd::listenForSessionManager()
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
