#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/Screenshot.h"
#include "support/Script.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDBusInterface>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <utility>

namespace {

/// A keysym of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymA = 0x61;

enum class Session { X11, WaylandWithXServer, WaylandAlone };

using End = std::function<void(RunningKnucklet&)>;

/// Its keys are the lines of a pipe, one press each; what the pipe holds at the end is told before it leaves.
const char* const helperOfLines = "[ -g \"$0\" ] || exit 77\n"
                                  "[ \"$1\" != --probe ] || exit 0\n"
                                  "exec 3<>\"$(dirname \"$0\")/keys\" 4<&0\n"
                                  "printf '\\0\\0\\0\\0\\0\\0\\0\\0'\n"
                                  "(cat <&4 >/dev/null; echo end >&3) &\n"
                                  "while read -r line <&3 && [ \"$line\" != end ]; do\n"
                                  "    printf '\\1\\0\\0\\0\\0\\0\\0\\0'\n"
                                  "done\n";

}

/// What must not depend on the session, nor on whether the program has loaded its windows yet: its ends, its
/// next instances, and bars that start anew. Every key counts, up to the last.
class SessionKindsTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data();
    void init();
    void cleanup();

    void anOrderlyEndSavesEveryKey_data();
    void anOrderlyEndSavesEveryKey();
    void theLossOfTheDisplaySavesEveryKey();
    void anotherStartOpensThePanelAndLeavesTheCounting();
    void theNextInstanceContinues();
    void aBarThatStartsAnewGetsTheItem();

private:
    bool isOnWayland() const { return session != Session::X11; }
    void startProgram();
    void type(int keys) const;
    void killDisplay() const;
    QImage belowBar() const
    {
        return screenshot(desktop->display(), QRect(0, 44, desktop->size().width(), 700));
    }
    bool isPanelOpen() const { return difference(withoutPanel, belowBar()).height() > 200; }
    bool isRegistered() const;

    Session session = Session::X11;
    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<QFile> keys;
    QString program;
    QProcessEnvironment environment;
    std::unique_ptr<RunningKnucklet> knucklet;
    QImage withoutPanel;
};

void SessionKindsTest::initTestCase_data()
{
    QTest::addColumn<Session>("session");
    QTest::addColumn<bool>("hadWindow");

    QTest::newRow("X11, before a window") << Session::X11 << false;
    QTest::newRow("X11, after a window") << Session::X11 << true;
    QTest::newRow("Wayland with an X server, before a window") << Session::WaylandWithXServer << false;
    QTest::newRow("Wayland with an X server, after a window") << Session::WaylandWithXServer << true;
    QTest::newRow("Wayland, before a window") << Session::WaylandAlone << false;
    QTest::newRow("Wayland, after a window") << Session::WaylandAlone << true;
}

void SessionKindsTest::init()
{
    QFETCH_GLOBAL(const Session, session);
    this->session = session;
    folder = std::make_unique<QTemporaryDir>();
    desktop = std::make_unique<VirtualDesktop>(DesktopParts {
        .windowManager = !isOnWayland(), .panel = true, .bar = isOnWayland() ? Bar::Waybar : Bar::Xfce });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    // Off the bar, whose tooltips would look like windows.
    injector->moveTo(600, 780);
    injector->sync();
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    program = QStringLiteral(KNUCKLET_PROGRAM);
    environment.clear();
    if (!isOnWayland())
        return;

    QVERIFY(copyProgram(program, *folder));
    program = folder->filePath("knucklet");
    QVERIFY(QDir(folder->path()).mkdir("libexec"));
    const auto pipe = folder->filePath("libexec/keys");
    QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
    keys = std::make_unique<QFile>(pipe);
    // Also for reading, which does not wait for a reader.
    QVERIFY(keys->open(QFile::ReadWrite | QFile::Unbuffered));
    script(*folder, "libexec/knucklet-tap", helperOfLines);
    QCOMPARE(chmod(qPrintable(folder->filePath("libexec/knucklet-tap")), 02700), 0);
    if (session == Session::WaylandAlone) {
        environment.insert("DISPLAY", "");
        environment.insert("QT_QPA_PLATFORM", "wayland");
    }
}

void SessionKindsTest::cleanup()
{
    knucklet.reset();
    keys.reset();
    injector.reset();
    desktop.reset();
}

/// The program, which counts and has had its panel opened and closed where the row wants that.
void SessionKindsTest::startProgram()
{
    QFETCH_GLOBAL(const bool, hadWindow);
    knucklet = std::make_unique<RunningKnucklet>(*desktop, program, environment);
    QVERIFY(knucklet->awaitItem());
    withoutPanel = stillScreenshot(desktop->display()).copy(0, 44, desktop->size().width(), 700);
    if (!hadWindow)
        return;
    QVERIFY(knucklet->reportClick({}));
    QTRY_VERIFY(isPanelOpen());
    QVERIFY(knucklet->reportClick({}));
    QTRY_VERIFY(!isPanelOpen());
}

void SessionKindsTest::type(int keys) const
{
    if (isOnWayland()) {
        QCOMPARE(this->keys->write(QByteArray("key\n").repeated(keys)), 4 * keys);
        return;
    }
    for (int i = 0; i < keys; ++i)
        injector->typeKey(injector->keyCode(keysymA));
    // Twice: the server has written to everybody what follows from the first before it looks at the second.
    injector->sync();
    injector->sync();
}

void SessionKindsTest::killDisplay() const
{
    if (isOnWayland())
        desktop->killCompositor();
    else
        desktop->killServer();
}

bool SessionKindsTest::isRegistered() const
{
    QDBusInterface watcher("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
        "org.kde.StatusNotifierWatcher", knucklet->sessionBus());
    const auto items = watcher.property("RegisteredStatusNotifierItems").toStringList();
    return std::ranges::any_of(
        items, [this](const QString& item) { return item.startsWith(knucklet->itemService()); });
}

void SessionKindsTest::anOrderlyEndSavesEveryKey_data()
{
    QTest::addColumn<End>("end");

    for (const auto& [name, signal] :
        { std::pair("SIGTERM", SIGTERM), { "SIGINT", SIGINT }, { "SIGHUP", SIGHUP } })
        QTest::newRow(name) << End(
            [signal = signal](RunningKnucklet& knucklet) { QVERIFY(knucklet.send(signal)); });
    QTest::newRow("Quit in the menu")
        << End([](RunningKnucklet& knucklet) { QVERIFY(knucklet.choose("Quit Knucklet")); });
}

void SessionKindsTest::anOrderlyEndSavesEveryKey()
{
    QFETCH(const End, end);
    startProgram();
    type(57);

    end(*knucklet);

    QVERIFY(knucklet->awaitEnd());
    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 57 }));
    QCOMPARE(knucklet->output(), QByteArray());
}

void SessionKindsTest::theLossOfTheDisplaySavesEveryKey()
{
    startProgram();
    type(57);

    killDisplay();
    // Its code says that it did not end of its own accord.
    QTRY_VERIFY(!knucklet->isRunning());

    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 57 }));
    QCOMPARE(knucklet->output(), QByteArray());
}

void SessionKindsTest::anotherStartOpensThePanelAndLeavesTheCounting()
{
    startProgram();
    type(57);

    RunningKnucklet another(*desktop, program, environment);
    QVERIFY(another.awaitEnd());

    QTRY_VERIFY(isPanelOpen());
    type(13);
    QVERIFY(knucklet->end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 70 }));
    QCOMPARE(another.output(), QByteArray());
}

void SessionKindsTest::theNextInstanceContinues()
{
    startProgram();
    type(57);
    QVERIFY(knucklet->end(SIGTERM));

    startProgram();
    QTRY_VERIFY2(knucklet->toolTip().contains("57 keys"), qPrintable(knucklet->toolTip()));
    type(13);
    QVERIFY(knucklet->end(SIGTERM));

    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 70 }));
}

void SessionKindsTest::aBarThatStartsAnewGetsTheItem()
{
    startProgram();
    type(57);

    desktop->killBar();
    type(13);
    QVERIFY2(desktop->startBar(), qPrintable(desktop->failure()));

    QTRY_VERIFY(isRegistered());
    QTRY_VERIFY2(knucklet->toolTip().contains("70 keys"), qPrintable(knucklet->toolTip()));
    type(3);
    QVERIFY(knucklet->end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 73 }));
}

static const TestArea area("SessionKinds", runTest<SessionKindsTest>);
#include "SessionKindsTest.moc"
