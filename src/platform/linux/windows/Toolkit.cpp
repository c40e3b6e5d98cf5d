#include "platform/linux/windows/Toolkit.h"

#include "platform/linux/process/OwnProcess.h"
#include "support/Debug.h"
#include "support/InstalledFiles.h"

#include <QFile>
#include <QIcon>
#include <QSettings>
#include <QWindow>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

constexpr const char* noDisplay = "offscreen";

// What messages are told to, which come without an argument.
OwnProcess* processOfMessages = nullptr;

/// The program says nothing, and neither does the toolkit in its name.
void handleMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    tellDeveloper(message.toStdString());
    if (type != QtFatalMsg)
        return;
    // Such as a display that goes away while it is being opened. A core file would help nobody.
    if (processOfMessages)
        processOfMessages->willTerminate();
    std::_Exit(EXIT_FAILURE);
}

/// Hears of all windows that come and go.
class ShownWindows final : public QObject {
public:
    explicit ShownWindows(std::function<void(bool)> changed)
        : changed(std::move(changed))
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if ((event->type() == QEvent::Show || event->type() == QEvent::Hide) && watched->isWindowType())
            update();
        return false;
    }

private:
    void update()
    {
        const auto windows = QGuiApplication::topLevelWindows();
        const bool areShown
            = std::ranges::any_of(windows, [](const auto* window) { return window->isVisible(); });
        if (std::exchange(wereShown, areShown) != areShown)
            changed(areShown);
    }

    std::function<void(bool)> changed;
    bool wereShown = false;
};

/// Has the pictures of a closed window go back to the system. The allocator takes the first one that is freed
/// for the size of what comes and goes, and keeps room for it from then on: measured with glibc 2.36, 14 MB
/// after the assistant's second showing.
void returnLargeMemory()
{
#ifdef M_MMAP_THRESHOLD
    // Its own threshold, which it moves only while nobody has set it.
    constexpr int large = 128 * 1024;
    mallopt(M_MMAP_THRESHOLD, large);
#endif
}

/// What task bars and window lists show. They look for the desktop entry, which names it as well, but not
/// everywhere, and find none where the program is not installed.
QIcon programIcon()
{
    QIcon icon;
    for (const int size : { 16, 24, 32, 48, 64, 128 }) {
        const auto name = "icons/hicolor/" + std::to_string(size) + "x" + std::to_string(size)
            + "/apps/org.knucklet.Knucklet.png";
        if (const auto file = sharedFile(name))
            icon.addFile(QFile::decodeName(file->c_str()));
    }
    return icon;
}

/// Who names the toolkit's platform knows what there is.
QByteArray chosenPlatform() { return qgetenv("QT_QPA_PLATFORM"); }

/// The toolkit's platforms in the order in which they are tried, ending with one that is always there: the
/// toolkit ends the process where none is.
QByteArray platformsToTry()
{
    QByteArrayList platforms;
    if (!chosenPlatform().isEmpty())
        platforms << chosenPlatform();
    // First also in a Wayland session, which places windows as it likes; its X server, where it has one, lets
    // the panel stand beside its icon.
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        platforms << "xcb";
    platforms << "wayland" << noDisplay;
    return platforms.join(';');
}

}

Toolkit::Toolkit(OwnProcess& process, std::function<void(bool)> windowsShown)
    : shownWindows(std::make_unique<ShownWindows>(std::move(windowsShown)))
{
    processOfMessages = &process;
    qInstallMessageHandler(handleMessage);
    returnLargeMemory();

    // All that the program shows it draws itself. On a desktop that is built with GTK its theme would load
    // that toolkit as well: measured with Qt 6.4, 13 MB more in memory and 26 ms more of processor time, with
    // the same picture. Plasma's brings 24 MB.
    QGuiApplication::setDesktopSettingsAware(false);

    // The toolkit takes options of its own, and keeps what it is given.
    static QByteArray platforms;
    platforms = platformsToTry();
    static int count;
    static char name[] = "knucklet";
    static char option[] = "-platform";
    static std::array<char*, 4> arguments;
    arguments = { name, option, platforms.data(), nullptr };
    count = static_cast<int>(arguments.size()) - 1;
    application.emplace(count, arguments.data());

    QApplication::setApplicationName("Knucklet");
    QApplication::setApplicationVersion(KNUCKLET_VERSION);
    QApplication::setDesktopFileName("org.knucklet.Knucklet");
    // What the toolkit keeps of its own accord, such as the folders that its dialogs have shown, it is to
    // keep nowhere: nothing can be made below this.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/dev/null");
    QApplication::setWindowIcon(programIcon());
    // A program of the menu bar outlives its windows.
    QApplication::setQuitOnLastWindowClosed(false);
    application->installEventFilter(shownWindows.get());
}

Toolkit::~Toolkit() { processOfMessages = nullptr; }

bool Toolkit::hasDisplay() const
{
    return QGuiApplication::platformName() != noDisplay || chosenPlatform().contains(noDisplay);
}
