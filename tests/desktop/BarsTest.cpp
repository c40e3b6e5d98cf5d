#include "support/Bars.h"

#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QColor>
#include <QDate>
#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Keysyms of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymEscape = 0xff1b;

/// Every bar covers at least this much of the screen, in pixels from the top,
constexpr int edge = 26;
/// and none comes further than this.
constexpr int outside = 44;

/// The relative luminance of WCAG 2.
double luminance(QRgb color)
{
    const auto linear = [](int part) {
        const double value = part / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) + 0.0722 * linear(qBlue(color));
}

/// How far the lightest and the darkest color of a picture stand apart, as WCAG 2 counts.
double contrast(const QImage& picture)
{
    double darkest = 1;
    double lightest = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double value = luminance(picture.pixel(x, y));
            darkest = std::min(darkest, value);
            lightest = std::max(lightest, value);
        }
    }
    return (lightest + 0.05) / (darkest + 0.05);
}

enum class Counts { Hidden, Shown };

void writeSettings(const VirtualDesktop& desktop, Counts counts)
{
    writeSettingsFile(desktop,
        counts == Counts::Shown ? "[General]\nhasCompletedOnboarding=true\nshowCountsInMenuBar=true\n"
                                : "[General]\nhasCompletedOnboarding=true\n");
}

void writeToday(const VirtualDesktop& desktop, const QByteArray& keys, const QByteArray& clicks)
{
    const auto today = QDate::currentDate().toString(Qt::ISODate).toUtf8();
    writeStatsFile(desktop, "{\"" + today + "\":{\"keys\":" + keys + ",\"clicks\":" + clicks + "}}");
}

}

/// The program in each of the bars that people have, as its user sees it: by pixels, pointer and keyboard
/// alone. Needs the environment variable BARS, the bars to try by their names.
class BarsTest final : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void theIconIsReadable_data() { bars(); }
    void theIconIsReadable();
    void theCountsStandBesideTheIconWhereTheBarHasRoom_data() { bars(); }
    void theCountsStandBesideTheIconWhereTheBarHasRoom();
    void hoveringShowsAToolTip_data() { bars(); }
    void hoveringShowsAToolTip();
    void aClickOpensThePanelAndEscapeClosesIt_data() { bars(); }
    void aClickOpensThePanelAndEscapeClosesIt();
    void theIconOpensAndClosesThePanel_data() { bars(); }
    void theIconOpensAndClosesThePanel();
    void theMenuEndsTheProgram_data() { bars(); }
    void theMenuEndsTheProgram();
    void aBarThatStartsLateShowsTheIcon_data() { bars(); }
    void aBarThatStartsLateShowsTheIcon();
    void aBarThatIsKilledShowsTheIconAgain_data() { bars(); }
    void aBarThatIsKilledShowsTheIconAgain();

private:
    static void bars();
    void startDesktop(bool withBar = true);
    QImage atEdge() const
    {
        return screenshot(desktop->display(), QRect(0, 0, desktop->size().width(), edge));
    }
    QImage belowBar() const
    {
        const QSize size = desktop->size();
        return screenshot(desktop->display(), QRect(0, outside, size.width(), size.height() - outside));
    }
    void openPanel();
    void clickIcon();
    QRect icon() const { return iconIn(atEdge()); }
    /// Plasma draws it smaller for a while when it has just started.
    bool hasIcon() const { return icon().width() >= 12 && icon().width() <= 34; }
    void moveTo(QPoint place);
    void startProgram() { knucklet = std::make_unique<RunningKnucklet>(*desktop, program); }

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<RunningKnucklet> knucklet;
    QElapsedTimer sinceClick;
    /// Where the icon has been clicked.
    QPoint clicked;
};

void BarsTest::bars()
{
    QTest::addColumn<Bar>("bar");
    /// Whether it shows text beside the icon.
    QTest::addColumn<bool>("hasRoom");

    const QByteArrayList withRoom { "mate-panel", "waybar" };
    for (const auto& name : qgetenv("BARS").split(' ')) {
        const auto bar = barNamed(name);
        QVERIFY2(bar, name);
        QTest::newRow(name) << *bar << withRoom.contains(name);
    }
}

void BarsTest::startDesktop(bool withBar)
{
    QFETCH(const Bar, bar);
    desktop = std::make_unique<VirtualDesktop>(
        DesktopParts { .windowManager = !isOnWayland(bar), .panel = withBar, .bar = bar });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    moveTo({ 600, 400 });
    if (withBar && (bar == Bar::Plasma || bar == Bar::PlasmaOnWayland))
        QTRY_COMPARE(screenshot(desktop->display()).pixel(600, 700), desktopColor);
    writeSettings(*desktop, Counts::Hidden);
}

void BarsTest::cleanup()
{
    if (QTest::currentTestFailed())
        screenshot(desktop->display())
            .save(QString("%1-%2.png").arg(QTest::currentTestFunction(), QTest::currentDataTag()));
    sinceClick.invalidate();
    clicked = {};
    knucklet.reset();
    injector.reset();
    desktop.reset();
}

void BarsTest::moveTo(QPoint place)
{
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->sync();
}

void BarsTest::theIconIsReadable()
{
    startDesktop();

    startProgram();

    QTRY_VERIFY(hasIcon());
    // Its place comes first in some bars, and what is drawn there after it.
    QTRY_COMPARE_GE(contrast(atEdge().copy(icon())), 4.5);
}

void BarsTest::theCountsStandBesideTheIconWhereTheBarHasRoom()
{
    QFETCH(const bool, hasRoom);
    startDesktop();
    writeSettings(*desktop, Counts::Shown);
    writeToday(*desktop, "1249", "56");

    startProgram();

    QTRY_VERIFY(hasRoom ? icon().width() > 60 : hasIcon());
    if (hasRoom) {
        QTRY_COMPARE_GE(contrast(atEdge().copy(icon())), 4.5);
        const auto before = atEdge();
        openPanel();
        injector->click();
        injector->sync();
        QTRY_VERIFY(!difference(before, atEdge()).isNull());
    }
}

void BarsTest::clickIcon()
{
    // The panel keeps off the bar as soon as the bar has asked for it. In a Wayland session only the
    // compositor knows.
    QFETCH(const Bar, bar);
    QTRY_VERIFY(isOnWayland(bar) || isUpperEdgeTaken(desktop->display()));
    // So soon after the last click, some bars would take both for a double click.
    QTRY_VERIFY(!sinceClick.isValid() || sinceClick.hasExpired(500));
    // The panel's shadow falls on the bar.
    if (clicked.isNull())
        clicked = icon().center();
    moveTo(clicked);
    injector->click();
    injector->sync();
    sinceClick.start();
}

/// Leaves the pointer on the panel.
void BarsTest::openPanel()
{
    const auto before = belowBar();
    clickIcon();
    const auto panel = [&] { return difference(before, belowBar()); };
    QTRY_VERIFY(panel().height() > 200);
    // In sway the compositor places it as it does any window.
    QFETCH(const Bar, bar);
    QTRY_VERIFY(bar == Bar::Waybar || (panel().left() < clicked.x() && panel().right() > clicked.x()));
    moveTo(panel().center() + QPoint(0, outside));
}

void BarsTest::hoveringShowsAToolTip()
{
    startDesktop();
    startProgram();
    QTRY_VERIFY(hasIcon());
    const auto before = belowBar();

    // A bar that was busy while the pointer came hears of it when it moves on. It rests for a while then.
    const QPoint place = icon().center();
    int step = 0;
    const auto rests = [&] {
        moveTo(place + QPoint(++step % 2, 0));
        return QTest::qWaitFor([&] { return difference(before, belowBar()).width() > 80; }, 5000);
    };
    QTRY_VERIFY(rests());
}

void BarsTest::aClickOpensThePanelAndEscapeClosesIt()
{
    startDesktop();
    startProgram();
    QTRY_VERIFY(hasIcon());
    const auto before = belowBar();

    openPanel();
    // Plasma 6 has one, with which there would be no share button.
    QVERIFY(knucklet->mappings().contains("/libQt6Widgets.so"));
    QVERIFY(!knucklet->mappings().contains("/platformthemes/"));

    QVERIFY(injector->typeUntil(keysymEscape, [&] { return difference(before, belowBar()).isNull(); }));
}

void BarsTest::theIconOpensAndClosesThePanel()
{
    startDesktop();
    startProgram();
    QTRY_VERIFY(hasIcon());
    const auto before = belowBar();

    // A click that both closed the panel and opened it again would leave it to the next one to close it.
    for (int round = 0; round < 2; ++round) {
        clickIcon();
        QTRY_VERIFY(difference(before, belowBar()).height() > 200);
        clickIcon();
        QTRY_VERIFY(difference(before, belowBar()).height() < 100);
    }
}

void BarsTest::theMenuEndsTheProgram()
{
    startDesktop();
    startProgram();
    QTRY_VERIFY(hasIcon());
    // Without the clock, which changes as it likes.
    const QRect area(100, 0, desktop->size().width() - 100, desktop->size().height());
    const auto shown = [&] { return screenshot(desktop->display(), area); };
    const auto before = stillScreenshot(desktop->display(), area);
    const auto menu = [&] { return difference(before, shown()).translated(area.topLeft()); };

    moveTo(icon().center());
    injector->click(3);
    injector->sync();
    QTRY_VERIFY(menu().height() > 40 && menu().width() < 300);
    // In an older tray it is the program's first window, which comes with the toolkit.
    const auto open = stillScreenshot(desktop->display(), area);
    // The last entry is the one that quits.
    const QPoint quit(menu().center().x(), menu().bottom() - 14);
    int step = 0;
    const auto isChosen = [&] {
        // A hand is never quite still, and Qt 6.8 takes the first motion over a menu for its coming only.
        moveTo(quit + QPoint(++step % 2, 0));
        return !difference(open, shown()).isNull();
    };
    QTRY_VERIFY(isChosen());
    injector->click();
    injector->sync();

    QVERIFY(knucklet->awaitEnd());
    // In waybar the menu covers the icon, and may go first.
    std::ignore = stillScreenshot(desktop->display());
    QTRY_VERIFY(!hasIcon());
}

void BarsTest::aBarThatStartsLateShowsTheIcon()
{
    startDesktop(false);
    startProgram();
    QTRY_VERIFY(knucklet->isRunning());

    QVERIFY2(desktop->startBar(), qPrintable(desktop->failure()));

    QTRY_VERIFY(hasIcon());
}

void BarsTest::aBarThatIsKilledShowsTheIconAgain()
{
    startDesktop();
    startProgram();
    QTRY_VERIFY(hasIcon());

    desktop->killBar();
    QTRY_VERIFY(!hasIcon());
    QVERIFY2(desktop->startBar(), qPrintable(desktop->failure()));

    QTRY_VERIFY(hasIcon());
}

static const TestArea area("Bars", runTest<BarsTest>);
#include "BarsTest.moc"
