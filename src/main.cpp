#include "KnuckletApp.h"
#include "platform/Instance.h"
#include "platform/Platform.h"

#include <QApplication>

#include <cstdlib>

int main(int argc, char* argv[])
{
    // The program says nothing, and neither does the toolkit in its name.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
        // Such as a display that does not answer. Nothing has been counted, and a core file helps nobody.
        if (type == QtFatalMsg)
            std::_Exit(1);
    });

    // The toolkit would take options of its own.
    argc = 1;
    prepareApplication();
    const QApplication application(argc, argv);
    QApplication::setApplicationName("Knucklet");
    QApplication::setApplicationVersion(KNUCKLET_VERSION);
    QApplication::setDesktopFileName("org.knucklet.Knucklet");
    // A program of the menu bar outlives its windows.
    QApplication::setQuitOnLastWindowClosed(false);

    const auto platform = makePlatform();
    if (!platform->instance().claim())
        return 0;
    const KnuckletApp app(*platform);
    return QApplication::exec();
}
