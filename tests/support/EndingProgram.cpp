// A program that does nothing but end, for the test of how programs end. It says what happens to it on its
// standard output. Its argument names what is special about it.

#include "platform/linux/LinuxDesktop.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <string_view>
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
    QCoreApplication application(argc, argv);
    LinuxDesktop desktop([] { say("drained"); }, [] { say("made way"); });
    desktop.onWillTerminate([] { say("first observer"); });
    desktop.onWillTerminate([&] {
        say("second observer");
        if (kind == "ends slowly")
            std::ignore = std::getchar();
    });

    if (kind == "ends itself" || kind == "ends itself without cleaning up")
        desktop.terminate();
    QTimer::singleShot(0, &application, [&] {
        say("running");
        if (kind == "loses its display")
            std::exit(1);
        if (kind == "cannot start itself again") {
            std::remove(argv[0]);
            desktop.openNewInstance([&] {
                say("answered");
                desktop.terminate();
            });
            say("still running");
        }
        if (kind == "ends itself twice") {
            desktop.terminate();
            desktop.terminate();
        }
    });
    const int result = application.exec();
    say("loop returned");
    if (kind == "ends itself without cleaning up")
        std::exit(result);
    return result;
}
