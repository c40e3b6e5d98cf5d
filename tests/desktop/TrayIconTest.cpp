#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QTest>

#include <csignal>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Keysyms of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymEscape = 0xff1b;
constexpr xcb_keysym_t keysymReturn = 0xff0d;
constexpr xcb_keysym_t keysymUp = 0xff52;

}

/// The icon where there is a tray for windows along the bottom of the screen, a bar for items along its top
/// only now and then, or neither.
class TrayIconTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theTrayShowsTheIconWhileThereIsNoBarForItems();
    void theTrayShowsTheIconWhenTheBarForItemsIsGone();
    void theTrayShowsTheIconWithoutABus();
    void theTrayShowsTheIconAgainWhenItIsBack();
    void theMenuClosesWithEscapeAndWithAClickElsewhere();
    void theMenuIsUsedWithTheKeyboard();
    void withoutAnyBarAnotherStartOpensAWindow();
    void aFrozenServerDoesNotKeepItFromEnding();

private:
    void startTray();
    void killTray();
    void openMenu(Injector& injector);
    QRect menu() const { return difference(beforeMenu, aboveTray()); }
    QImage aboveTray() const
    {
        return screenshot(
            desktop->display(), QRect(0, 0, desktop->size().width(), desktop->size().height() - 28));
    }
    QRect trayArea() const { return { 0, desktop->size().height() - 28, desktop->size().width(), 28 }; }
    /// Whether something stands at the right end of the tray; what is on its left is empty.
    bool isInTray() const
    {
        const auto picture = screenshot(desktop->display(), trayArea());
        const QRect end(picture.width() - 28, 0, 28, 28);
        return picture.copy(end) != picture.copy(end.translated(-600, 0));
    }
    bool isInBar(const RunningKnucklet& knucklet) const { return !knucklet.icon().isNull(); }

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<QProcess> tray;
    QImage beforeMenu;
};

void TrayIconTest::init()
{
    desktop = std::make_unique<VirtualDesktop>(DesktopParts { .windowManager = true });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
}

void TrayIconTest::cleanup()
{
    killTray();
    desktop.reset();
}

void TrayIconTest::killTray()
{
    if (tray) {
        tray->kill();
        tray->waitForFinished(patience);
    }
    tray.reset();
}

void TrayIconTest::startTray()
{
    tray = desktop->launch("trayer",
        { "--edge", "bottom", "--align", "right", "--widthtype", "percent", "--width", "100", "--height",
            "28" });
    // The screen is black where there is nothing.
    QTRY_VERIFY(qGray(screenshot(desktop->display(), trayArea()).pixel(0, 14)) > 0);
}

void TrayIconTest::theTrayShowsTheIconWhileThereIsNoBarForItems()
{
    startTray();
    const RunningKnucklet knucklet(*desktop, program);
    QTRY_VERIFY(isInTray());

    QVERIFY2(desktop->startBar(), qPrintable(desktop->failure()));

    QTRY_VERIFY(isInBar(knucklet));
    QTRY_VERIFY(!isInTray());
}

void TrayIconTest::theTrayShowsTheIconWhenTheBarForItemsIsGone()
{
    QVERIFY2(desktop->startBar(), qPrintable(desktop->failure()));
    const RunningKnucklet knucklet(*desktop, program);
    QTRY_VERIFY(isInBar(knucklet));

    desktop->killBar();
    // Not before: of two trays the bar's is the one that counts, which is a process of its own.
    const DesktopWindows windows(desktop->display());
    QTRY_VERIFY(!windows.hasSelectionOwner("_NET_SYSTEM_TRAY_S0"));
    startTray();

    QTRY_VERIFY(isInTray());
}

void TrayIconTest::theTrayShowsTheIconWithoutABus()
{
    startTray();
    QProcessEnvironment nowhere;
    nowhere.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + desktop->folder() + "/none");

    const RunningKnucklet knucklet(*desktop, program, nowhere);

    QTRY_VERIFY(isInTray());
}

void TrayIconTest::theTrayShowsTheIconAgainWhenItIsBack()
{
    startTray();
    const RunningKnucklet knucklet(*desktop, program);
    QTRY_VERIFY(isInTray());

    killTray();
    QTRY_VERIFY(!isInTray());
    startTray();

    QTRY_VERIFY(isInTray());
}

/// At the icon, which is at the right end of the tray.
void TrayIconTest::openMenu(Injector& injector)
{
    const QSize size = desktop->size();
    injector.moveTo(
        static_cast<std::int16_t>(size.width() - 14), static_cast<std::int16_t>(size.height() - 14));
    injector.click(3);
    injector.sync();
    QTRY_VERIFY(menu().height() > 40);
}

void TrayIconTest::theMenuClosesWithEscapeAndWithAClickElsewhere()
{
    startTray();
    const RunningKnucklet knucklet(*desktop, program);
    QTRY_VERIFY(isInTray());
    beforeMenu = aboveTray();
    Injector injector(desktop->display());

    openMenu(injector);
    injector.typeKey(injector.keyCode(keysymEscape));
    injector.sync();
    QTRY_VERIFY(menu().height() <= 40);

    openMenu(injector);
    injector.moveTo(100, 100);
    injector.click();
    injector.sync();
    QTRY_VERIFY(menu().height() <= 40);
    QVERIFY(knucklet.isRunning());
}

void TrayIconTest::theMenuIsUsedWithTheKeyboard()
{
    startTray();
    RunningKnucklet knucklet(*desktop, program);
    QTRY_VERIFY(isInTray());
    beforeMenu = aboveTray();
    Injector injector(desktop->display());
    openMenu(injector);

    // The last entry is the one that quits.
    injector.typeKey(injector.keyCode(keysymUp));
    injector.typeKey(injector.keyCode(keysymReturn));
    injector.sync();

    QVERIFY(knucklet.awaitEnd());
    QTRY_VERIFY(!isInTray());
}

void TrayIconTest::withoutAnyBarAnotherStartOpensAWindow()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitCounting());
    const DesktopWindows windows(desktop->display());
    Injector injector(desktop->display());

    QVERIFY(desktop->run(program));
    QTRY_VERIFY(windows.find("Knucklet") != XCB_WINDOW_NONE);
    const auto window = windows.find("Knucklet");
    QTRY_COMPARE(windows.active(), window);
    // It asks for the keyboard once more when it is there.
    knucklet.settle();

    // It stands in the task bar, with its whole frame on the screen, and stays when another window comes.
    QVERIFY(!windows.states(window).contains("_NET_WM_STATE_SKIP_TASKBAR"));
    QVERIFY(!windows.states(window).contains("_NET_WM_STATE_ABOVE"));
    QCOMPARE_GE(windows.place(window).top(), 10);
    const auto other = windows.openOther({ 10, 10, 200, 200 });
    QTRY_COMPARE(windows.active(), other);
    QVERIFY(windows.isShown(window));
    QVERIFY(desktop->run(program));
    QTRY_COMPARE(windows.active(), window);
    knucklet.settle();
    injector.typeKey(injector.keyCode(keysymEscape));
    injector.sync();
    QTRY_VERIFY(!windows.isShown(window));
    QVERIFY(knucklet.isRunning());
}

void TrayIconTest::aFrozenServerDoesNotKeepItFromEnding()
{
    startTray();
    RunningKnucklet knucklet(*desktop, program);
    QTRY_VERIFY(isInTray());
    // The program sees only then that the tray is gone, and looks for another one.
    QVERIFY(knucklet.send(SIGSTOP));
    killTray();
    QTRY_COMPARE(qGray(screenshot(desktop->display(), trayArea()).pixel(0, 14)), 0);
    desktop->freezeServer();
    QVERIFY(knucklet.send(SIGCONT));

    QVERIFY(knucklet.end(SIGTERM));

    desktop->thawServer();
}

static const TestArea area("TrayIcon", runTest<TrayIconTest>);
#include "TrayIconTest.moc"
