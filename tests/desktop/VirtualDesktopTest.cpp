#include "support/VirtualDesktop.h"

#include "platform/linux/Xcb.h"
#include "support/DesktopWindows.h"
#include "support/Files.h"
#include "support/Patience.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <atomic>
#include <filesystem>
#include <thread>

class VirtualDesktopTest : public QObject {
    Q_OBJECT

private slots:
    void severalDesktopsRunSideBySide();
    void aFullDesktopHasAWindowManagerAndATray();
    void nothingOfTheOuterSessionReachesAProgram();
    void aScreenshotShowsWhatIsOnTheScreen();
    void aScreenshotMayShowAPart();
    void askingWhoHoldsTheKeyboardKeepsNobodyFromIt();
    void aPartThatIsNotInstalledIsNamed();
    void everyPartEndsWithTheDesktop();
    void everyPartEndsWhenTheProcessCrashes();
};

namespace {

void paintRoot(const QByteArray& display, std::uint32_t color)
{
    const XcbConnection connection(xcb_connect(display.constData(), nullptr));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    xcb_change_window_attributes(connection.get(), root, XCB_CW_BACK_PIXEL, &color);
    xcb_clear_area(connection.get(), 0, root, 0, 0, 0, 0);
    const XcbReply<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
}

/// The processes whose environment places them on this desktop, with their numbers and names.
QStringList processesOf(const QString& folder)
{
    QStringList processes;
    const auto entries = QDir("/proc").entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        QFile environment(QString("/proc/%1/environ").arg(entry));
        QFile name(QString("/proc/%1/comm").arg(entry));
        if (environment.open(QFile::ReadOnly) && environment.readAll().contains(folder.toUtf8())
            && name.open(QFile::ReadOnly))
            processes.append(entry + ' ' + QString::fromUtf8(name.readAll().trimmed()));
    }
    return processes;
}

}

void VirtualDesktopTest::severalDesktopsRunSideBySide()
{
    VirtualDesktop first;
    VirtualDesktop second({ .size = { 640, 480 } });

    QVERIFY2(first.start(), qPrintable(first.failure()));
    QVERIFY2(second.start(), qPrintable(second.failure()));

    QVERIFY(first.display() != second.display());
    QVERIFY(first.busAddress() != second.busAddress());
    QCOMPARE(screenshot(first.display()).size(), QSize(1280, 800));
    QCOMPARE(screenshot(second.display()).size(), QSize(640, 480));
}

void VirtualDesktopTest::aFullDesktopHasAWindowManagerAndATray()
{
    VirtualDesktop desktop({ .windowManager = true, .panel = true });

    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));

    const auto manager = desktop.launch("xprop", { "-root", "_NET_SUPPORTING_WM_CHECK" });
    QVERIFY(manager->waitForFinished(patience));
    QVERIFY(manager->readAllStandardOutput().contains("window id"));
    const auto tray = desktop.launch("dbus-send",
        { "--session", "--print-reply", "--dest=org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
            "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierWatcher",
            "string:IsStatusNotifierHostRegistered" });
    QVERIFY(tray->waitForFinished(patience));
    QVERIFY(tray->readAllStandardOutput().contains("boolean"));
}

void VirtualDesktopTest::nothingOfTheOuterSessionReachesAProgram()
{
    for (const char* name : { "DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS" })
        qputenv(name, "outer");
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));

    const auto program = desktop.launch("env");
    QVERIFY(program->waitForFinished(patience));
    const QByteArray variables = program->readAllStandardOutput();

    QVERIFY(!variables.contains("outer"));
    QVERIFY(variables.contains("DISPLAY=" + desktop.display()));
}

void VirtualDesktopTest::aScreenshotShowsWhatIsOnTheScreen()
{
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));

    paintRoot(desktop.display(), 0x204060);
    const QImage picture = screenshot(desktop.display());

    QCOMPARE(picture.pixelColor(0, 0), QColor(0x20, 0x40, 0x60));
    QCOMPARE(picture.pixelColor(1279, 799), QColor(0x20, 0x40, 0x60));
}

void VirtualDesktopTest::aScreenshotMayShowAPart()
{
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));

    const QImage part = screenshot(desktop.display(), QRect(1200, 10, 200, 20));
    const QImage outside = screenshot(desktop.display(), QRect(2000, 10, 200, 20));

    QCOMPARE(part.size(), QSize(80, 20));
    QVERIFY(outside.isNull());
}

// As a menu does that opens while a test waits for it.
void VirtualDesktopTest::askingWhoHoldsTheKeyboardKeepsNobodyFromIt()
{
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    const XcbConnection menu(xcb_connect(desktop.display().constData(), nullptr));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(menu.get())).data->root;
    std::atomic<int> answers = 0;
    const std::jthread asking([&desktop, &answers](const std::stop_token& stop) {
        for (const DesktopWindows windows(desktop.display()); !stop.stop_requested(); ++answers)
            windows.isKeyboardGrabbed();
    });
    QTRY_VERIFY(answers > 0);

    const auto grab = [&menu, root] {
        const auto cookie = xcb_grab_keyboard(
            menu.get(), 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        const XcbReply<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(menu.get(), cookie, nullptr));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    };
    for (int i = 0; i < 5000; ++i) {
        xcb_ungrab_keyboard(menu.get(), XCB_CURRENT_TIME);
        QVERIFY(grab());
    }

    const DesktopWindows windows(desktop.display());
    QVERIFY(windows.isKeyboardGrabbed());
    xcb_ungrab_keyboard(menu.get(), XCB_CURRENT_TIME);
    xcb_flush(menu.get());
    QTRY_VERIFY(!windows.isKeyboardGrabbed());
}

void VirtualDesktopTest::aPartThatIsNotInstalledIsNamed()
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nowhere");
    VirtualDesktop desktop;

    const bool started = desktop.start();
    qputenv("PATH", path);

    QVERIFY(!started);
    QVERIFY(desktop.failure().startsWith("Xvfb: "));
}

void VirtualDesktopTest::everyPartEndsWithTheDesktop()
{
    QString folder;
    QStringList parts;
    {
        VirtualDesktop desktop({ .windowManager = true, .panel = true });
        QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
        folder = desktop.folder();
        parts = processesOf(folder);
    }

    QVERIFY(parts.size() >= 4);
    QTRY_COMPARE(processesOf(folder), QStringList());
}

void VirtualDesktopTest::everyPartEndsWhenTheProcessCrashes()
{
    QProcess owner;
    owner.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    owner.start(QCoreApplication::applicationDirPath() + "/virtual-desktop",
        { "sh", "-c", "echo $PWD$DISPLAY; exec cat" });
    while (!owner.canReadLine())
        QVERIFY(owner.waitForReadyRead(patience));
    const QStringList place = QString::fromUtf8(owner.readLine().trimmed()).split(':');
    QCOMPARE(place.size(), 2);
    const QString& folder = place.first();
    const QString& number = place.last();
    const auto lock = "/tmp/.X" + number.toStdString() + "-lock";
    const auto holder = contentOf(lock);
    const auto parts = processesOf(folder);

    owner.kill();
    owner.waitForFinished(patience);

    QVERIFY(parts.size() >= 6);
    QTRY_COMPARE(processesOf(folder), QStringList());
    QDir(folder).removeRecursively();
    // Unless another server has the number by now.
    if (contentOf(lock) == holder) {
        std::filesystem::remove(lock);
        QFile::remove("/tmp/.X11-unix/X" + number);
    }
}

static const TestArea area("VirtualDesktop", runTest<VirtualDesktopTest>);

#include "VirtualDesktopTest.moc"
