#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QProcess>
#include <QTest>

#include <memory>
#include <tuple>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Of the session, in pixels.
constexpr QSize pixels(2560, 1600);
/// In points: of the panel, of a bar, and of what is at most around a window to set it off.
constexpr int panelWidth = 300;
constexpr int lowestBar = 24;
constexpr int highestBar = 34;
constexpr int widestShadow = 40;
/// In pixels.
constexpr int highestMenu = 200;
/// On every bar, and on nothing that is in it.
constexpr QPoint away(400, 5);

/// Of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymEscape = 0xff1b;

/// Before 48 a point has a whole number of pixels, unless somebody asks for an experiment.
bool gnomeHasPartsOfPixels()
{
    QProcess shell;
    shell.start("gnome-shell", { "--version" });
    shell.waitForFinished(patience);
    // Such as "GNOME Shell 48.7".
    return QString::fromUtf8(shell.readAll()).section(' ', 2).section('.', 0, 0).toInt() >= 48;
}

}

/// The program in sessions of Wayland with more than one pixel to a point, as its user sees it.
class ScaledSessionTest final : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void thePanelIsBesideItsIcon_data();
    void thePanelIsBesideItsIcon();
    void itStaysThereWhenTheScaleChanges_data();
    void itStaysThereWhenTheScaleChanges();

private:
    void start(Bar bar, double scale);
    /// Takes the session as it is shown now, with so many pixels to a point.
    void lookAtSession(double sessionScale);
    QImage shown(const QRect& area) const { return screenshot(desktop->display(), area); }
    /// The end of the bar. GNOME's middle changes as it likes.
    QRect trayArea() const
    {
        return { screen.width() / 2 + 200, 0, screen.width() / 2 - 200, qRound(26 * scale) };
    }
    QRect belowBar() const
    {
        const int top = qRound(highestBar * scale);
        return { 0, top, screen.width(), screen.height() - top };
    }
    /// The middle of what stands first at the end of the bar, in pixels of the screen.
    QPoint firstInTray() const;
    /// What has come up below the bar.
    QRect window() const
    {
        return difference(emptyDesktop, shown(belowBar())).translated(belowBar().topLeft());
    }
    void moveTo(QPoint place) const;
    /// Opens the panel with the pointer and waits until it has come to rest.
    void openPanel();
    /// That it has so many pixels to a point, and is where the user looks for it.
    void checkPanel(double panelScale) const;

    Bar bar = Bar::Gnome;
    /// Pixels to a point, as the session is shown: newer GNOME in a window is shown with one to a point.
    double scale = 1;
    /// Such pixels to one of the session's.
    double shownScale = 1;
    QSize screen;
    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<RunningKnucklet> knucklet;
    QImage emptyTray;
    QImage emptyDesktop;
    QPoint icon;
};

void ScaledSessionTest::start(Bar shownBar, double startScale)
{
    bar = shownBar;
    desktop = std::make_unique<VirtualDesktop>(
        DesktopParts { .size = pixels, .scale = startScale, .panel = bar != Bar::Gnome, .bar = bar });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    moveTo(away);
    lookAtSession(startScale);
    emptyTray = shown(trayArea());
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    knucklet = std::make_unique<RunningKnucklet>(*desktop, program);
    QVERIFY(knucklet->awaitItem());
    QTRY_VERIFY(difference(emptyTray, shown(trayArea())).width() > 10 * scale);
}

void ScaledSessionTest::lookAtSession(double sessionScale)
{
    const auto color = [this](QPoint place) { return screenshot(desktop->display()).pixel(place); };
    QTRY_COMPARE(color({ 600, 600 }), desktopColor);
    // Plasma's bar comes after its desktop, and is light. When the scale changes it follows.
    const auto hasBar = [&] {
        return qGray(color({ 600, qRound(lowestBar * sessionScale) })) > 200
            && color({ 600, qRound((highestBar + 1) * sessionScale) }) == desktopColor;
    };
    QTRY_VERIFY(bar == Bar::Gnome || hasBar());
    std::ignore = stillScreenshot(desktop->display());
    const bool isShownInPoints = color({ pixels.width() - 10, 600 }) != desktopColor;
    scale = isShownInPoints ? 1 : sessionScale;
    shownScale = isShownInPoints ? 1 / sessionScale : 1;
    screen = pixels * shownScale;
    emptyDesktop = shown(belowBar());
}

void ScaledSessionTest::cleanup()
{
    if (QTest::currentTestFailed() && desktop)
        screenshot(desktop->display())
            .save(QString("scaled-%1-%2.png").arg(QTest::currentTestFunction(), QTest::currentDataTag()));
    knucklet.reset();
    injector.reset();
    desktop.reset();
}

void ScaledSessionTest::moveTo(QPoint place) const
{
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->sync();
}

QPoint ScaledSessionTest::firstInTray() const
{
    const QRect area = trayArea();
    const auto tray = shown(area);
    QImage empty = tray;
    empty.fill(tray.pixel(0, 0));
    const int first = difference(empty, tray).left();
    // Each of its parts is followed by another one within so many pixels.
    const int gap = qRound(8 * scale);
    const auto partAfter = [&](int x) {
        const QRect place(x, 0, gap, tray.height());
        return difference(empty.copy(place), tray.copy(place));
    };
    int end = first;
    for (QRect part = partAfter(end); !part.isNull() && end < tray.width(); part = partAfter(end))
        end += part.right() + 1;
    return area.topLeft() + QPoint((first + end) / 2, area.height() / 2);
}

void ScaledSessionTest::openPanel()
{
    std::ignore = stillScreenshot(desktop->display());
    icon = firstInTray();
    moveTo(icon);
    // GNOME's bar answers a single click with the menu.
    for (int i = 0; i < (bar == Bar::Gnome ? 2 : 1); ++i)
        injector->click();
    injector->sync();
    QTRY_VERIFY(window().height() > highestMenu);
    moveTo(away);
    std::ignore = stillScreenshot(desktop->display());
}

void ScaledSessionTest::checkPanel(double panelScale) const
{
    const auto panel = window();
    const auto message = QString("%1,%2 %3x%4, icon %5,%6")
                             .arg(panel.x())
                             .arg(panel.y())
                             .arg(panel.width())
                             .arg(panel.height())
                             .arg(icon.x())
                             .arg(icon.y());
    QVERIFY2(panel.width() >= panelWidth * panelScale - 2, qPrintable(message));
    QVERIFY2(panel.width() <= (panelWidth + 2 * widestShadow) * panelScale, qPrintable(message));
    QVERIFY2(panel.left() < icon.x() && panel.right() > icon.x(), qPrintable(message));
    QVERIFY2(panel.top() <= belowBar().top() + 4 * scale, qPrintable(message));
    const auto all = screenshot(desktop->display());
    QCOMPARE(all.pixelColor(panel.left() + qRound(widestShadow * scale), 1), all.pixelColor(600, 1));
    QVERIFY2(panel.bottom() < screen.height() - 4 * scale, qPrintable(message));
}

void ScaledSessionTest::thePanelIsBesideItsIcon_data()
{
    QTest::addColumn<Bar>("bar");
    QTest::addColumn<double>("scale");

    QTest::newRow("Plasma-1.5") << Bar::PlasmaOnWayland << 1.5;
    QTest::newRow("Plasma-2") << Bar::PlasmaOnWayland << 2.0;
    QTest::newRow("GNOME-2") << Bar::Gnome << 2.0;
    if (gnomeHasPartsOfPixels())
        QTest::newRow("GNOME-1.5") << Bar::Gnome << 1.5;
}

void ScaledSessionTest::thePanelIsBesideItsIcon()
{
    QFETCH(const Bar, bar);
    QFETCH(const double, scale);
    start(bar, scale);
    QVERIFY(!QTest::currentTestFailed());

    openPanel();

    checkPanel(scale * shownScale);
}

void ScaledSessionTest::itStaysThereWhenTheScaleChanges_data()
{
    QTest::addColumn<Bar>("bar");
    QTest::addColumn<double>("before");
    QTest::addColumn<double>("after");

    QTest::newRow("Plasma-larger") << Bar::PlasmaOnWayland << 1.0 << 1.5;
    QTest::newRow("Plasma-smaller") << Bar::PlasmaOnWayland << 2.0 << 1.0;
    QTest::newRow("GNOME-larger") << Bar::Gnome << 1.0 << 2.0;
    QTest::newRow("GNOME-smaller") << Bar::Gnome << 2.0 << 1.0;
}

void ScaledSessionTest::itStaysThereWhenTheScaleChanges()
{
    QFETCH(const Bar, bar);
    QFETCH(const double, before);
    QFETCH(const double, after);
    start(bar, before);
    QVERIFY(!QTest::currentTestFailed());
    openPanel();
    checkPanel(before * shownScale);
    QVERIFY(injector->typeUntil(keysymEscape, [&] { return window().isNull(); }));

    const auto session = screenshot(desktop->display());
    QVERIFY(desktop->setScale(after));
    QTRY_VERIFY(screenshot(desktop->display()) != session);
    std::ignore = stillScreenshot(desktop->display());
    lookAtSession(after);
    openPanel();

    // Its size is that of before, until it is started again.
    checkPanel(before * shownScale);
}

static const TestArea area("ScaledSession", runTest<ScaledSessionTest>);
#include "ScaledSessionTest.moc"
