// virtual-desktop <program> [<argument>...]: runs a program on a virtual desktop with a window manager and a
// panel.

#include "support/VirtualDesktop.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: virtual-desktop <program> [<argument>...]\n", stderr);
        return 2;
    }

    VirtualDesktop desktop({ .windowManager = true, .panel = true });
    if (!desktop.start()) {
        std::fputs(qPrintable(desktop.failure()), stderr);
        return 1;
    }
    const auto program
        = desktop.launch(arguments.at(1), arguments.mid(2), { .channels = QProcess::ForwardedChannels });
    program->waitForFinished(-1);
    return program->exitStatus() == QProcess::NormalExit ? program->exitCode() : 1;
}
