#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/Script.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <csignal>
#include <memory>
#include <tuple>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymReturn = 0xff0d;
constexpr xcb_keysym_t keysymEscape = 0xff1b;

/// In pixels, of the bar along the top.
constexpr int barHeight = 32;
/// Where the pointer is not seen below the bar, and where it is.
constexpr QPoint away(400, 5);
constexpr QPoint onDesktop(200, 700);
constexpr QRect aroundPointer(180, 680, 40, 40);
/// Of the panel, in points, which are pixels here.
constexpr int panelWidth = 300;

}

/// The program in a session of GNOME on Wayland, as its user sees it: by pixels, pointer and keyboard alone.
/// The bar shows the counts, its items answer a click with their menu and a double click by themselves, and
/// the panel opens on the session's X server.
class GnomeTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theCountsStandBesideTheIcon();
    void theMenuOpensThePanelInItsCorner();
    void aDoubleClickOpensThePanel();
    void escapeClosesThePanel();
    void thePointerIsNotBusyWhenThePanelIsOpen();
    void thePermissionPageTurnsWhenTheRightAppears();
    void theMenuEndsTheProgram();

private:
    QImage shown(const QRect& area) const { return screenshot(desktop->display(), area); }
    /// The end of the bar; the clock in its middle changes as it likes.
    QImage tray() const
    {
        return shown({ desktop->size().width() / 2 + 200, 0, desktop->size().width() / 2 - 200, barHeight });
    }
    QImage belowBar() const
    {
        const QSize size = desktop->size();
        return shown({ 0, barHeight, size.width(), size.height() - barHeight });
    }
    /// The color in which the assistant says that keys are counted.
    bool showsGreen() const
    {
        const auto picture = belowBar();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixel(x, y) == qRgb(40, 205, 65))
                    return true;
            }
        }
        return false;
    }
    /// Where something has come up below the bar, in pixels of the screen.
    QRect window() const { return difference(emptyDesktop, belowBar()).translated(0, barHeight); }
    bool isPanelOpen() const { return window().width() >= panelWidth && window().height() > panelWidth; }
    void moveTo(QPoint place) const;
    void click(QPoint place, int clicks = 1) const;
    /// Clicks one entry of the item's menu, counted from the top.
    void choose(int entry) const;

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<RunningKnucklet> knucklet;
    QImage emptyTray;
    QImage emptyDesktop;
    QImage pointer;
    /// Of the icon and its label, in pixels of the screen.
    QRect item;
};

void GnomeTest::init()
{
    desktop = std::make_unique<VirtualDesktop>(DesktopParts { .bar = Bar::Gnome });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    // What is left of the desktop is of one color then.
    moveTo(away);
    QTRY_COMPARE(belowBar().pixel(5, 5), desktopColor);
    QTRY_COMPARE(belowBar().pixel(640, 30), desktopColor);
    std::ignore = stillScreenshot(desktop->display());
    emptyTray = tray();
    emptyDesktop = belowBar();
    const auto withoutPointer = shown(aroundPointer);
    moveTo(onDesktop);
    QTRY_VERIFY(shown(aroundPointer) != withoutPointer);
    pointer = stillScreenshot(desktop->display(), aroundPointer);

    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\nshowCountsInMenuBar=true\n");
    const auto found
        = [this] { return difference(emptyTray, tray()).translated(desktop->size().width() / 2 + 200, 0); };
    knucklet = std::make_unique<RunningKnucklet>(*desktop, program);
    QVERIFY(knucklet->awaitItem());
    QTRY_VERIFY(found().width() > 30);
    std::ignore = stillScreenshot(desktop->display());
    item = found();
}

void GnomeTest::cleanup()
{
    if (QTest::currentTestFailed())
        screenshot(desktop->display()).save(QString("gnome-%1.png").arg(QTest::currentTestFunction()));
    knucklet.reset();
    injector.reset();
    desktop.reset();
}

void GnomeTest::moveTo(QPoint place) const
{
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->sync();
}

void GnomeTest::click(QPoint place, int clicks) const
{
    moveTo(place);
    for (int i = 0; i < clicks; ++i)
        injector->click();
    injector->sync();
}

void GnomeTest::choose(int entry) const
{
    click(item.center());
    QTRY_VERIFY(window().height() > 100 && window().height() < panelWidth);
    // The pointer is drawn some time after it has moved.
    std::ignore = stillScreenshot(desktop->display());
    const QRect menu = window();
    click({ menu.center().x(), menu.top() + menu.height() * (2 * entry + 1) / 6 });
}

void GnomeTest::theCountsStandBesideTheIcon()
{
    // An icon alone is as wide as it is high.
    QVERIFY2(item.width() > 2 * item.height(), qPrintable(QString::number(item.width())));
    QCOMPARE(knucklet->itemProperty("XAyatanaLabel").toString(), "0 · 0");
}

void GnomeTest::theMenuOpensThePanelInItsCorner()
{
    choose(0);

    QTRY_VERIFY(isPanelOpen());
    QCOMPARE(window().top(), barHeight);
    // But for the line around it, which may be of the desktop's color.
    QCOMPARE_GE(window().right(), desktop->size().width() - 2);
}

void GnomeTest::aDoubleClickOpensThePanel()
{
    click(item.center(), 2);

    QTRY_VERIFY(isPanelOpen());
}

void GnomeTest::escapeClosesThePanel()
{
    choose(0);
    QTRY_VERIFY(isPanelOpen());

    QVERIFY(injector->typeUntil(keysymEscape, [&] { return !isPanelOpen(); }));
}

void GnomeTest::thePointerIsNotBusyWhenThePanelIsOpen()
{
    choose(0);
    QTRY_VERIFY(isPanelOpen());

    moveTo(onDesktop);

    // The desktop keeps it busy for 15 seconds while it waits for a program, and then no longer believes in
    // it.
    QVERIFY(QTest::qWaitFor([&] { return shown(aroundPointer) == pointer; }, 10000));
}

// The helper is the test's own, and has the right once its file has the set-group-ID bit. A session without
// real devices has nothing that the real one could read.
void GnomeTest::thePermissionPageTurnsWhenTheRightAppears()
{
    const QTemporaryDir folder;
    QVERIFY(QDir().mkpath(folder.filePath("libexec")));
    const auto helper = script(folder, "libexec/knucklet-tap",
        "[ -g \"$0\" ] || exit 77\n[ \"$1\" != --probe ] || exit 0\nprintf "
        "'\\0\\0\\0\\0\\0\\0\\0\\0'\ncat\n");
    QVERIFY(copyProgram(program, folder));
    QVERIFY(knucklet->end(SIGTERM));
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=false\n");
    knucklet = std::make_unique<RunningKnucklet>(*desktop, folder.filePath("knucklet"));
    QVERIFY(knucklet->awaitItem());
    const auto next = [this] {
        const auto before = stillScreenshot(desktop->display());
        injector->typeKey(injector->keyCode(keysymReturn));
        injector->sync();
        return QTest::qWaitFor([&] { return screenshot(desktop->display()) != before; }, patience);
    };
    QTRY_VERIFY(window().height() > 500);
    QVERIFY(next());
    QVERIFY(next());
    std::ignore = stillScreenshot(desktop->display());
    QVERIFY(!showsGreen());

    QCOMPARE(chmod(QFile::encodeName(helper).constData(), 02700), 0);

    QTRY_VERIFY(showsGreen());
}

void GnomeTest::theMenuEndsTheProgram()
{
    choose(2);

    QVERIFY(knucklet->awaitEnd());
    QTRY_COMPARE(tray(), emptyTray);
}

static const TestArea area("Gnome", runTest<GnomeTest>);
#include "GnomeTest.moc"
