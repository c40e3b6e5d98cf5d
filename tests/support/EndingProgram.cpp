// A program that does nothing but end, for the test of how programs end. It says what happens to it on its
// standard output. Its first argument names what is special about it, and its second whether the toolkit
// serves its loop.

#include "platform/linux/process/AutostartEntry.h"
#include "platform/linux/process/Child.h"
#include "platform/linux/process/OwnProcess.h"
#include "platform/linux/process/WaylandDisplay.h"
#include "platform/linux/windows/ServedLoop.h"
#include "platform/linux/windows/ToolkitEnd.h"

#include <QCoreApplication>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <thread>
#include <tuple>

namespace {

void say(const char* words)
{
    std::puts(words);
    std::fflush(stdout);
}

}

int main(int argc, char** argv)
{
    const std::string_view kind = argc > 1 ? argv[1] : "";
    const bool hasToolkit = argc > 2 && std::string_view(argv[2]) == "with the toolkit";
    std::optional<QCoreApplication> application;
    EventLoop loop;
    OwnProcess desktop(loop,
        {
            .beginEnd = [] { say("began to end"); },
            .drainInput = [] { say("drained"); },
            .makeWay = [] { say("made way"); },
            .openFile = {},
        });
    WaylandDisplay display(loop, [&desktop] { desktop.displayLost(); });
    std::optional<ServedLoop> served;
    std::optional<ToolkitEnd> toolkitEnd;
    if (hasToolkit) {
        application.emplace(argc, argv);
        served.emplace(loop);
        toolkitEnd.emplace(desktop, display);
        loop.handOver({ .run = QCoreApplication::exec, .quit = QCoreApplication::exit });
    }
    if (kind == "is slow to start") {
        say("starting");
        std::ignore = std::getchar();
    }
    desktop.onWillTerminate([] { say("first observer"); });
    desktop.onWillTerminate([&] {
        say("second observer");
        if (kind == "ends slowly")
            std::ignore = std::getchar();
    });

    if (kind == "ends itself" || kind == "ends itself without cleaning up")
        desktop.terminate();
    loop.callLater([&] {
        say("running");
        if (kind == "loses its display in the toolkit")
            std::exit(1);
        if (kind == "hears that the Wayland connection broke") {
            // As Qt says it before it ends the process by itself.
            qWarning("The Wayland connection broke. Did the Wayland compositor die?");
            _exit(255);
        }
        if (kind == "hears something fatal from another thread") {
            std::signal(SIGABRT, [](int) { _exit(255); });
            std::thread([] { qFatal("no display"); }).detach();
        }
        if (kind == "hears something fatal") {
            std::signal(SIGABRT, [](int) { _exit(255); });
            qFatal("no display");
        }
        if (kind == "loses its display")
            desktop.displayLost();
        if (kind == "cannot start itself again") {
            std::remove(argv[0]);
            desktop.openNewInstance([&] {
                say("answered");
                desktop.terminate();
            });
            say("still running");
        }
        if (kind == "cannot be started at login") {
            std::remove(argv[0]);
            say(AutostartEntry().registerItem() ? "registered" : "not registered");
            desktop.terminate();
        }
        if (kind == "starts a program") {
            std::ignore = startDetached({ "grep", "SigBlk", "/proc/self/status" }, ChildStreams::Inherited);
        }
        if (kind == "ends itself twice") {
            desktop.terminate();
            desktop.terminate();
        }
    });
    const int result = loop.run();
    say("loop returned");
    if (kind == "ends itself without cleaning up")
        std::exit(result);
    return result;
}
