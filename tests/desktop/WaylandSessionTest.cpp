#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/Screenshot.h"
#include "support/Script.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <csignal>
#include <tuple>

namespace {

/// A keysym of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymEscape = 0xff1b;

}

/// The real program in what it takes for a Wayland session with an X server for older programs, with an input
/// helper of the test's own.
class WaylandSessionTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void withoutTheRightOnlyTheXServersClicksCount();
    void aHelperThatMayNotCountAfterAllLeavesTheXServersClicks();
    void theRightIsNoticedWhileTheProgramRuns();
    void whatTheHelperStillHoldsIsSavedAtTheEnd();
    void programsThatItStartsChooseForThemselves();
    void theEndOfACompositorWithoutAnXServerLosesNothing_data();
    void theEndOfACompositorWithoutAnXServerLosesNothing();
    void aPanelThatOpensOverAWindowOfWaylandHasTheKeyboard();

private:
    /// The program in a folder with this helper, which may count once its file has the set-group-ID bit.
    QString programWith(const QByteArray& counting);
    QString helper() const { return folder->filePath("libexec/knucklet-tap"); }
    QString swaySocket() const
    {
        const QDir runtime(desktop->folder() + "/compositor");
        return runtime.entryInfoList({ "sway-ipc.*.sock" }, QDir::System).value(0).filePath();
    }

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    QProcessEnvironment session;
};

void WaylandSessionTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    desktop = std::make_unique<VirtualDesktop>(DesktopParts { .windowManager = true, .panel = true });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    session.insert("XDG_SESSION_TYPE", "wayland");
}

void WaylandSessionTest::cleanup()
{
    injector.reset();
    desktop.reset();
}

QString WaylandSessionTest::programWith(const QByteArray& counting)
{
    QDir().mkpath(folder->filePath("libexec"));
    script(*folder, "libexec/knucklet-tap",
        "[ -g \"$0\" ] || exit 77\n[ \"$1\" != --probe ] || exit 0\nprintf '\\0\\0\\0\\0\\0\\0\\0\\0'\n"
            + counting);
    if (!copyProgram(KNUCKLET_PROGRAM, *folder))
        return {};
    return folder->filePath("knucklet");
}

void WaylandSessionTest::withoutTheRightOnlyTheXServersClicksCount()
{
    RunningKnucklet knucklet(*desktop, programWith("cat\n"), session);
    QVERIFY(knucklet.awaitItem());

    injector->typeKey(injector->keyCode(0x61));
    injector->click();
    injector->sync();
    QVERIFY(knucklet.end(SIGTERM));

    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 0, .clicks = 1 }));
}

void WaylandSessionTest::aHelperThatMayNotCountAfterAllLeavesTheXServersClicks()
{
    const QString program = programWith("cat\n");
    script(*folder, "libexec/knucklet-tap",
        "[ \"$1\" != --probe ] || exit 0\necho >>" + folder->filePath("starts").toUtf8() + "\nexit 77\n");
    RunningKnucklet knucklet(*desktop, program, session);
    QVERIFY(knucklet.awaitItem());

    injector->click();
    injector->sync();
    QVERIFY(knucklet.end(SIGTERM));

    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 0, .clicks = 1 }));
    // Only a new process tries again.
    QCOMPARE(readLines(*folder, "starts").size(), 1);
}

void WaylandSessionTest::theRightIsNoticedWhileTheProgramRuns()
{
    RunningKnucklet knucklet(*desktop, programWith("printf '\\3\\0\\0\\0\\2\\0\\0\\0'\ncat\n"), session);
    QVERIFY(knucklet.awaitItem());

    QCOMPARE(chmod(QFile::encodeName(helper()).constData(), 02700), 0);

    QTRY_VERIFY2(knucklet.toolTip().contains("3 keys · 2 clicks"), qPrintable(knucklet.toolTip()));
    // From here on the X server's clicks would be counted twice.
    injector->click();
    injector->sync();
    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 3, .clicks = 2 }));
}

void WaylandSessionTest::whatTheHelperStillHoldsIsSavedAtTheEnd()
{
    const QString program
        = programWith("printf '\\1\\0\\0\\0\\0\\0\\0\\0'\ncat\nprintf '\\6\\0\\0\\0\\1\\0\\0\\0'\n");
    QCOMPARE(chmod(QFile::encodeName(helper()).constData(), 02700), 0);
    RunningKnucklet knucklet(*desktop, program, session);
    QVERIFY(knucklet.awaitItem());
    QTRY_VERIFY2(knucklet.toolTip().contains("1 keys · 0 clicks"), qPrintable(knucklet.toolTip()));

    QVERIFY(knucklet.end(SIGTERM));

    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 7, .clicks = 1 }));
}

void WaylandSessionTest::programsThatItStartsChooseForThemselves()
{
    const QString program
        = programWith("echo \"${QT_QPA_PLATFORM-none}\" >" + folder->filePath("chosen").toUtf8() + "\ncat\n");
    QCOMPARE(chmod(QFile::encodeName(helper()).constData(), 02700), 0);

    RunningKnucklet knucklet(*desktop, program, session);

    QTRY_COMPARE(readLines(*folder, "chosen"), QList<QByteArray>({ "none" }));
}

void WaylandSessionTest::theEndOfACompositorWithoutAnXServerLosesNothing_data()
{
    QTest::addColumn<bool>("hasWindow");

    QTest::newRow("before a window") << false;
    QTest::newRow("while a window is open") << true;
}

void WaylandSessionTest::theEndOfACompositorWithoutAnXServerLosesNothing()
{
    QFETCH(bool, hasWindow);
    // It brings sway, whose own X server is left out below.
    desktop = std::make_unique<VirtualDesktop>(DesktopParts { .bar = Bar::Waybar });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    // The assistant opens by itself.
    writeSettingsFile(*desktop, hasWindow ? "[General]\n" : "[General]\nhasCompletedOnboarding=true\n");
    session.insert("DISPLAY", "");
    session.insert("QT_QPA_PLATFORM", "wayland");
    const QString program = programWith("printf '\\5\\0\\0\\0\\2\\0\\0\\0'\ncat\n");
    QCOMPARE(chmod(QFile::encodeName(helper()).constData(), 02700), 0);
    RunningKnucklet knucklet(*desktop, program, session);
    QVERIFY(knucklet.awaitCounting());
    QTRY_VERIFY2(knucklet.toolTip().contains("5 keys · 2 clicks"), qPrintable(knucklet.toolTip()));
    const auto showsWindow = [&] {
        const auto tree = desktop->launch("swaymsg", { "--socket", swaySocket(), "-t", "get_tree" });
        return tree->waitForFinished(patience)
            && tree->readAllStandardOutput().contains("org.knucklet.Knucklet");
    };
    QTRY_COMPARE(showsWindow(), hasWindow);

    desktop->killCompositor();
    QTRY_VERIFY(!knucklet.isRunning());

    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 5, .clicks = 2 }));
    QCOMPARE(knucklet.output(), QByteArray());
}

void WaylandSessionTest::aPanelThatOpensOverAWindowOfWaylandHasTheKeyboard()
{
    desktop = std::make_unique<VirtualDesktop>(DesktopParts { .bar = Bar::Waybar });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    const auto shown = [&] { return screenshot(desktop->display()); };
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    RunningKnucklet knucklet(*desktop, KNUCKLET_PROGRAM);
    QVERIFY(knucklet.awaitCounting());
    const auto empty = stillScreenshot(desktop->display());
    QVERIFY(knucklet.reportClick({}));
    QTRY_VERIFY(difference(empty, shown()).height() > 300);
    QVERIFY(injector->typeUntil(keysymEscape, [&] { return shown() == empty; }));
    // The assistant of another user's, which needs no X server and is made to fill the screen.
    QProcessEnvironment another;
    another.insert("XDG_CONFIG_HOME", folder->path());
    another.insert("XDG_DATA_HOME", folder->path());
    another.insert("XDG_RUNTIME_DIR", folder->path());
    another.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    another.insert("DISPLAY", "");
    another.insert("QT_QPA_PLATFORM", "wayland");
    const auto assistant = desktop->launch(KNUCKLET_PROGRAM, {}, { .additions = another });
    QTRY_VERIFY(difference(empty, shown()).width() > 500);
    QVERIFY(desktop->run(
        "swaymsg", { "--socket", swaySocket(), "[app_id=\"org.knucklet.Knucklet\"] floating disable" }));
    QTRY_VERIFY(difference(empty, shown()).width() > 1200);
    const auto withAssistant = stillScreenshot(desktop->display());

    QVERIFY(knucklet.reportClick({}));
    QTRY_VERIFY(difference(withAssistant, shown()).height() > 300);
    std::ignore = stillScreenshot(desktop->display());
    injector->moveTo(100, 700);
    injector->click();
    injector->sync();

    // Who never had the keyboard cannot lose it to another window.
    QTRY_COMPARE_LT(difference(withAssistant, shown()).height(), 300);
    assistant->terminate();
    QVERIFY(assistant->waitForFinished(patience));
}

static const TestArea area("WaylandSession", runTest<WaylandSessionTest>);

#include "WaylandSessionTest.moc"
