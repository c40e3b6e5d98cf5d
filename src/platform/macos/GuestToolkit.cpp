#include "platform/macos/GuestToolkit.h"

#include <QApplication>

namespace {

/// The program says nothing, and neither does the toolkit in its name.
void keepQuiet(QtMsgType, const QMessageLogContext&, const QString&) { }

// The toolkit takes options of its own, and keeps what it is given.
int count = 1;
char name[] = "knucklet";
char* arguments[] { name, nullptr };

}

struct GuestToolkit::Application {
    QApplication toolkit { count, arguments };
};

GuestToolkit::GuestToolkit()
{
    qInstallMessageHandler(keepQuiet);
    // Else it would take the place of the application's delegate, and show the program in the Dock.
    QCoreApplication::setAttribute(Qt::AA_PluginApplication);
    application = std::make_unique<Application>();
    QApplication::setApplicationName("Knucklet");
    QApplication::setApplicationVersion(KNUCKLET_VERSION);
    // A program of the menu bar outlives its windows.
    QApplication::setQuitOnLastWindowClosed(false);
}

GuestToolkit::~GuestToolkit() = default;
