#include "platform/linux/process/OwnProcess.h"

#include "platform/linux/process/Child.h"
#include "platform/linux/process/CoreFiles.h"
#include "support/InstalledFiles.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace {

// Exit handlers are called without an argument, so that what they need stands here.
OwnProcess* processAtExit = nullptr;

bool isIgnored(int signal)
{
    struct sigaction action { };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t endingSignals()
{
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    // nohup asks for the program to outlive its terminal.
    if (!isIgnored(SIGHUP))
        sigaddset(&ending, SIGHUP);
    return ending;
}

}

OwnProcess::OwnProcess(EventLoop& loop, Duties duties)
    : loop(loop)
    , duties(std::move(duties))
{
    processAtExit = this;
    leaveNoCoreFile();
    // A server that is gone, and a limit on the size of files, show in what the calls return. As signals they
    // would end the program before it has saved.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

OwnProcess::~OwnProcess()
{
    // The signals stay held: a second one changes nothing about an end that has begun.
    processAtExit = nullptr;
}

void OwnProcess::onWillTerminate(std::function<void()> observer)
{
    // A toolkit that loses its display calls exit() from within the loop, and nothing but this hears of it.
    // Registered only now, when all that the observers use exists: what is made first is destroyed last.
    if (observers.empty()) {
        std::atexit(runObserversAtExit);
        watchSignals();
    }
    observers.push_back(std::move(observer));
}

void OwnProcess::terminate()
{
    // Later, so that it also works before the loop has begun.
    loop.callLater(lifetime.guard([this] {
        willTerminate();
        loop.quit(0);
    }));
}

void OwnProcess::openNewInstance(std::function<void()> done)
{
    duties.makeWay();
    // Returns once the executable has been started, or could not be.
    std::ignore = startDetached({ ownExecutable() }, ChildStreams::Inherited);
    loop.callLater(lifetime.guard(std::move(done)));
}

// There is no such place in any desktop's settings. A page of the program's own says how things stand.
void OwnProcess::openInputMonitoringSettings()
{
    if (const auto page = sharedFile("doc/knucklet/input-monitoring.html"))
        duties.openFile(*page);
}

void OwnProcess::willTerminate()
{
    if (std::exchange(isTerminating, true))
        return;
    duties.beginEnd();
    duties.drainInput();
    for (const auto& observer : observers)
        observer();
    // Who is started from here on must not leave because of an instance that is as good as gone.
    duties.makeWay();
}

void OwnProcess::displayLost()
{
    willTerminate();
    loop.quit(EXIT_FAILURE);
}

void OwnProcess::runObserversAtExit()
{
    if (auto* process = processAtExit)
        process->willTerminate();
}

/// There is no other thread yet, which would still be ended by them, and with it the process.
void OwnProcess::watchSignals()
{
    const auto ending = endingSignals();
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    signalQueue = FileDescriptor(signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
    signalWatch.emplace(loop, signalQueue.get(), [this] { readSignals(); });
}

void OwnProcess::readSignals()
{
    signalfd_siginfo signal {};
    while (read(signalQueue.get(), &signal, sizeof signal) == sizeof signal)
        terminate();
}
