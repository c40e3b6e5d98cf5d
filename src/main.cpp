#include "KnuckletApp.h"
#include "platform/Platform.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    // The program says nothing, and neither does the toolkit in its name.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});

    const QApplication application(argc, argv);
    QApplication::setApplicationName("Knucklet");
    QApplication::setApplicationVersion(KNUCKLET_VERSION);
    QApplication::setDesktopFileName("org.knucklet.Knucklet");
    // A program of the menu bar outlives its windows.
    QApplication::setQuitOnLastWindowClosed(false);

    const auto platform = makePlatform();
    const KnuckletApp app(*platform);
    return QApplication::exec();
}
