#include "platform/linux/input/InputSource.h"

#include "platform/linux/input/WaylandTap.h"
#include "platform/linux/input/X11Input.h"
#include "platform/linux/process/SystemClock.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/Script.h"
#include "support/TapReports.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"
#include "tap/CountableKeys.h"

#include <QTemporaryDir>
#include <QTest>

#include <X11/keysym.h>
#include <sys/stat.h>

namespace {

void startTap(InputSource& input, TapReports& reports)
{
    EventTap& tap = input.eventTap();
    QVERIFY(tap.create(reportTo(reports)));
    tap.enable();
}

/// Whether the layout of the X server gives the key something to do.
bool hasSymbol(std::uint8_t code)
{
    const XcbConnection connection(xcb_connect(nullptr, nullptr));
    const XcbReply<xcb_get_keyboard_mapping_reply_t> symbols(xcb_get_keyboard_mapping_reply(
        connection.get(), xcb_get_keyboard_mapping(connection.get(), code, 1), nullptr));
    return symbols && *xcb_get_keyboard_mapping_keysyms(symbols.get()) != XCB_NO_SYMBOL;
}

const char* const greet = "printf '\\0\\0\\0\\0\\0\\0\\0\\0'\n";
const char* const writeThreeKeys = "printf '\\3\\0\\0\\0\\0\\0\\0\\0'\n";

}

/// Which source serves a session, with a real X server and a helper of the test's own.
class InputSourceTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void anXSessionIsCountedByItsServer();
    void nothingCountsWhileAnXSessionIsLocked();
    void aWaylandSessionIsCountedByTheHelper();
    void onWaylandTheXServerIsNeverTakenForTheTap();
    void onWaylandTheXServerServesTheMonitor();
    void nothingCountsWhileAWaylandSessionIsLocked();
    void whatHasComeIsReceivedAndTheTapRunsOn();
    void aNoticeIsPassedOnWhileTheSessionIsLocked();
    void everyKeyCountsInBothSessionsOrInNone();

private:
    std::string helper(const QByteArray& body) const { return script(*folder, "helper", body).toStdString(); }
    void press();
    /// A named pipe: whoever opens it waits for the other end.
    QByteArray pipe(const QString& name) const;

    SystemClock clock;
    EventLoop loop;
    ServedLoop served { loop };
    std::optional<QTemporaryDir> folder;
    std::optional<VirtualDesktop> desktop;
    std::optional<Injector> injector;
    bool isLocked = false;
};

void InputSourceTest::init()
{
    folder.emplace();
    desktop.emplace();
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    qputenv("DISPLAY", desktop->display());
    qputenv("XDG_SESSION_TYPE", "wayland");
    qunsetenv("WAYLAND_DISPLAY");
    injector.emplace(desktop->display());
    isLocked = false;
}

void InputSourceTest::cleanup()
{
    injector.reset();
    desktop.reset();
}

QByteArray InputSourceTest::pipe(const QString& name) const
{
    const QByteArray path = QFile::encodeName(folder->filePath(name));
    mkfifo(path.constData(), 0600);
    return path;
}

void InputSourceTest::press()
{
    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();
}

void InputSourceTest::anXSessionIsCountedByItsServer()
{
    qputenv("XDG_SESSION_TYPE", "x11");
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper("exit 77\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;
    startTap(input, reports);

    press();
    input.drain();

    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.clicks, 1);
}

void InputSourceTest::nothingCountsWhileAnXSessionIsLocked()
{
    qputenv("XDG_SESSION_TYPE", "x11");
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper("exit 77\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;
    startTap(input, reports);

    isLocked = true;
    press();
    input.drain();
    const TapReports whileLocked = reports;
    isLocked = false;
    press();
    input.drain();

    QCOMPARE(whileLocked.keys + whileLocked.clicks, 0);
    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.clicks, 1);
}

void InputSourceTest::aWaylandSessionIsCountedByTheHelper()
{
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper(QByteArray(greet) + writeThreeKeys + "cat\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;

    startTap(input, reports);
    press();

    QTRY_COMPARE(reports.keys, 3);
    input.drain();
    QCOMPARE(reports.keys, 3);
    QCOMPARE(reports.clicks, 0);
}

void InputSourceTest::onWaylandTheXServerIsNeverTakenForTheTap()
{
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper("exit 77\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;

    const bool isCreated = input.eventTap().create(reportTo(reports));

    QVERIFY(!isCreated);
}

void InputSourceTest::onWaylandTheXServerServesTheMonitor()
{
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper("exit 77\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;
    const bool isStarted = x11.mouseMonitor().start([&](std::optional<Moment>) { ++reports.monitored; });

    press();
    input.drain();

    QVERIFY(isStarted);
    QCOMPARE(reports.monitored, 1);
}

void InputSourceTest::nothingCountsWhileAWaylandSessionIsLocked()
{
    // Three presses while the session is locked, and three after it.
    int asked = 0;
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper(QByteArray(greet) + writeThreeKeys + "cat\n" + writeThreeKeys));
    InputSource input(x11, wayland, [&] { return ++asked <= 3; });
    TapReports reports;

    startTap(input, reports);
    QTRY_COMPARE(asked, 3);
    const int keysWhileLocked = reports.keys;
    input.drain();

    QCOMPARE(keysWhileLocked, 0);
    QCOMPARE(reports.keys, 3);
}

void InputSourceTest::whatHasComeIsReceivedAndTheTapRunsOn()
{
    const QByteArray written = pipe("written");
    const QByteArray goOn = pipe("go-on");
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop,
        helper(QByteArray(greet) + writeThreeKeys + "echo >" + written + "\ncat " + goOn + "\n"
            + writeThreeKeys + "cat\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;
    startTap(input, reports);
    QFile reading(written);
    QVERIFY(reading.open(QIODevice::ReadOnly));
    QCOMPARE(reading.readAll(), "\n");

    input.receive();
    const int received = reports.keys;
    QVERIFY(QFile(goOn).open(QIODevice::WriteOnly));

    QCOMPARE(received, 3);
    QTRY_COMPARE(reports.keys, 6);
}

void InputSourceTest::aNoticeIsPassedOnWhileTheSessionIsLocked()
{
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper(greet));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;
    isLocked = true;

    startTap(input, reports);

    QTRY_COMPARE(reports.notices, 1);
}

void InputSourceTest::everyKeyCountsInBothSessionsOrInNone()
{
    // The X server numbers keys as the kernel does, from 8 on.
    constexpr unsigned firstCode = 8;
    qputenv("XDG_SESSION_TYPE", "x11");
    X11Input x11 { loop, clock };
    WaylandTap wayland(loop, helper("exit 77\n"));
    InputSource input(x11, wayland, [this] { return isLocked; });
    TapReports reports;
    startTap(input, reports);
    QVERIFY(desktop->run("setxkbmap", { "-rules", "evdev", "-model", "pc105", "-layout", "us" }));

    QStringList differences;
    for (unsigned code = firstCode + 1; code < 256; ++code) {
        // What the kernel has a number for, but no keyboard a key: X counts whatever it does not know.
        if (!hasSymbol(static_cast<std::uint8_t>(code)))
            continue;
        reports.keys = 0;
        injector->typeKey(static_cast<std::uint8_t>(code));
        injector->sync();
        input.drain();
        const unsigned key = code - firstCode;
        if (isCountableKey(key) != (reports.keys == 1))
            differences << QString::number(key);
    }

    QCOMPARE(differences.join(' '), QString());
}

static const TestArea area("InputSource", runTest<InputSourceTest>);

#include "InputSourceTest.moc"
