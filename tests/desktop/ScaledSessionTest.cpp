#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QTest>

#include <memory>
#include <tuple>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Of the session, in pixels.
constexpr QSize pixels(2560, 1600);
/// In points: of the panel, of the highest bar, and of what is at most around a window to set it off.
constexpr int panelWidth = 300;
constexpr int highestBar = 34;
constexpr int widestShadow = 40;
/// On every bar, and on nothing that is in it.
constexpr QPoint away(400, 5);
/// Which the desktops have been given.
constexpr QRgb backdrop = 0xff2f4058;

/// Of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymEscape = 0xff1b;

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
    /// Where the item stands, in pixels of the screen.
    QRect item() const { return difference(emptyTray, shown(trayArea())).translated(trayArea().topLeft()); }
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
    /// In such pixels.
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
    const auto color = [this](QPoint place) { return screenshot(desktop->display()).pixel(place); };
    QTRY_COMPARE(color({ 600, 600 }), backdrop);
    const bool isShownInPoints = color({ pixels.width() - 10, 600 }) != backdrop;
    scale = isShownInPoints ? 1 : startScale;
    screen = isShownInPoints ? pixels / startScale : pixels;
    injector = std::make_unique<Injector>(desktop->display());
    moveTo(away);
    // Plasma's bar comes after its desktop, and is light.
    QTRY_VERIFY(bar == Bar::Gnome || qGray(shown(trayArea()).pixel(5, 5)) > 200);
    std::ignore = stillScreenshot(desktop->display());
    emptyTray = shown(trayArea());
    emptyDesktop = shown(belowBar());
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    knucklet = std::make_unique<RunningKnucklet>(*desktop, program);
    QVERIFY(knucklet->awaitItem());
    QTRY_VERIFY(item().width() > 10 * scale);
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

void ScaledSessionTest::openPanel()
{
    std::ignore = stillScreenshot(desktop->display());
    icon = item().center();
    moveTo(icon);
    // GNOME's bar answers a single click with the menu.
    for (int i = 0; i < (bar == Bar::Gnome ? 2 : 1); ++i)
        injector->click();
    injector->sync();
    QTRY_VERIFY(window().width() >= panelWidth && window().height() > panelWidth);
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
    QVERIFY2(panel.bottom() < screen.height() - 4 * scale, qPrintable(message));
}

void ScaledSessionTest::thePanelIsBesideItsIcon_data()
{
    QTest::addColumn<Bar>("bar");
    QTest::addColumn<double>("scale");

    QTest::newRow("Plasma-1.5") << Bar::PlasmaOnWayland << 1.5;
    QTest::newRow("Plasma-2") << Bar::PlasmaOnWayland << 2.0;
    QTest::newRow("GNOME-2") << Bar::Gnome << 2.0;
}

void ScaledSessionTest::thePanelIsBesideItsIcon()
{
    QFETCH(const Bar, bar);
    QFETCH(const double, scale);
    start(bar, scale);

    openPanel();

    checkPanel(this->scale);
}

void ScaledSessionTest::itStaysThereWhenTheScaleChanges_data()
{
    QTest::addColumn<double>("before");
    QTest::addColumn<double>("after");

    QTest::newRow("larger") << 1.0 << 1.5;
    QTest::newRow("smaller") << 2.0 << 1.0;
}

void ScaledSessionTest::itStaysThereWhenTheScaleChanges()
{
    QFETCH(const double, before);
    QFETCH(const double, after);
    start(Bar::PlasmaOnWayland, before);
    openPanel();
    checkPanel(before);
    injector->typeKey(injector->keyCode(keysymEscape));
    injector->sync();
    QTRY_VERIFY(window().isNull());

    QVERIFY(desktop->setScale(after));
    std::ignore = stillScreenshot(desktop->display());
    scale = after;
    emptyDesktop = shown(belowBar());
    // A bar of one color, but for its end.
    emptyTray = shown(trayArea().translated(-trayArea().width(), 0));
    openPanel();

    // Its size is that of before, until it is started again.
    checkPanel(before);
}

static const TestArea area("ScaledSession", runTest<ScaledSessionTest>);
#include "ScaledSessionTest.moc"
