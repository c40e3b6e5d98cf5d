#include "support/AssistantOnScreen.h"
#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);
const QString command = QStringLiteral("Setup Assistant…");

/// Keysyms of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymReturn = 0xff0d;
constexpr xcb_keysym_t keysymEnter = 0xff8d;

constexpr QSize assistantSize(540, 560);
/// The middle of the close button, from the window's top right corner.
constexpr QPoint closeButton(-21, 21);

}

/// The setup assistant of the real program, under a real window manager.
class OnboardingDesktopTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theFirstStartOpensTheAssistantInTheMiddle();
    void itsButtonsAreOnScreensThatAreTooLowForIt_data();
    void itsButtonsAreOnScreensThatAreTooLowForIt();
    void theDesktopFindsTheEntryAndTheIconOfTheWindow();
    void theProgramComesToTheFrontFromTheBackground();
    void returnFourTimesFinishesForGood();
    void enterDoesWhatReturnDoes();
    void closingIsNotFinishing();
    void showingItAgainBeginsAfreshWhereTheWindowStands();
    void draggingTheBackgroundMovesTheWindow();
    void aClickOnTheBackgroundMovesNothing();
    void aClickThatTheManagerSeesLateMovesNothing();
    void maximizingDoesNothing();
    void anIconifiedWindowReturns();

private:
    /// With a bar along the top.
    void startDesktop(QSize size);
    /// Waits for the assistant and returns its window.
    xcb_window_t awaitAssistant() const;
    std::optional<int> page() const { return assistantPage(*desktop); }
    void type(xcb_keysym_t symbol) const;
    void click(QPoint place) const;
    /// Presses, moves and releases; returns when the assistant has moved the same way.
    void drag(QPoint from, QPoint way) const;

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<DesktopWindows> windows;
};

void OnboardingDesktopTest::init() { startDesktop({ 1280, 800 }); }

void OnboardingDesktopTest::startDesktop(QSize size)
{
    desktop = std::make_unique<VirtualDesktop>(
        DesktopParts { .size = size, .windowManager = true, .panel = true });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    windows = std::make_unique<DesktopWindows>(desktop->display());
    // The bar is known to its bus before it is to the window manager.
    QTRY_COMPARE_GT(windows->workArea().top(), 0);
}

void OnboardingDesktopTest::cleanup()
{
    windows.reset();
    injector.reset();
    desktop.reset();
}

xcb_window_t OnboardingDesktopTest::awaitAssistant() const
{
    xcb_window_t window = XCB_WINDOW_NONE;
    const auto isThere = [&] {
        window = windows->find(assistantTitle);
        return window != XCB_WINDOW_NONE && windows->isShown(window) && page().has_value();
    };
    return QTest::qWaitFor(isThere, patience) ? window : xcb_window_t { XCB_WINDOW_NONE };
}

void OnboardingDesktopTest::type(xcb_keysym_t symbol) const
{
    injector->typeKey(injector->keyCode(symbol));
    injector->sync();
}

void OnboardingDesktopTest::click(QPoint place) const
{
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->click();
    injector->sync();
}

void OnboardingDesktopTest::drag(QPoint from, QPoint way) const
{
    const auto window = windows->find(assistantTitle);
    const auto before = windows->place(window);
    const auto moveTo = [this](QPoint place) {
        injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
        injector->sync();
    };
    moveTo(from);
    injector->pressButton(1);
    // Handed over to the manager, which follows from then on.
    const QPoint start = from + QPoint(way.x() > 0 ? 3 : -3, 0);
    moveTo(start);
    int aside = 0;
    QVERIFY(QTest::qWaitFor(
        [&] {
            aside = 1 - aside;
            moveTo(start + QPoint(0, aside));
            return windows->place(window) != before;
        },
        patience));
    moveTo(start + way);
    injector->releaseButton(1);
    injector->sync();
    // The manager begins where the pointer is when it takes over: here, aside or not.
    const auto wanted = before.translated(way);
    QTRY_COMPARE_LE((windows->place(window).topLeft() - wanted.topLeft()).manhattanLength(), 1);
    QTRY_VERIFY(!windows->isKeyboardGrabbed());
}

void OnboardingDesktopTest::theFirstStartOpensTheAssistantInTheMiddle()
{
    const RunningKnucklet knucklet(*desktop, program);

    const auto window = awaitAssistant();

    QCOMPARE(page(), std::optional(0));
    const auto place = windows->place(window);
    QCOMPARE(place.size(), assistantSize);
    // In the middle of what the bar leaves of the screen.
    QCOMPARE(place.left() + place.width() / 2, 640);
    QVERIFY2(std::abs(place.top() + place.height() / 2 - (800 + 28) / 2) <= 2, QTest::toString(place));
    QTRY_COMPARE(windows->active(), window);
}

void OnboardingDesktopTest::itsButtonsAreOnScreensThatAreTooLowForIt_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("scale");

    QTest::newRow("540 points") << QSize(1920, 1080) << 2.0;
    QTest::newRow("533 points") << QSize(1280, 800) << 1.5;
}

void OnboardingDesktopTest::itsButtonsAreOnScreensThatAreTooLowForIt()
{
    QFETCH(const QSize, size);
    QFETCH(const double, scale);
    cleanup();
    startDesktop(size);
    QProcessEnvironment scaled;
    scaled.insert("QT_SCALE_FACTOR", QString::number(scale));

    const RunningKnucklet knucklet(*desktop, program, scaled);

    const auto place = [this] { return windows->place(windows->find(assistantTitle)); };
    // The left end of the one that goes on, in points from the lower right corner of the page.
    constexpr QPointF fromCorner(-108, -33);
    const auto showsButton = [&] {
        const auto color
            = screenshot(desktop->display()).pixel(place().bottomRight() + (fromCorner * scale).toPoint());
        return qBlue(color) > qRed(color) + 40;
    };
    QTRY_VERIFY(windows->isShown(windows->find(assistantTitle)) && showsButton());
    QCOMPARE(place().width(), qRound(540 * scale));
    // Below the bar.
    const QRect free(0, 28, size.width(), size.height() - 28);
    QVERIFY2(free.contains(place()), qPrintable(QString::number(place().bottom())));
}

void OnboardingDesktopTest::theDesktopFindsTheEntryAndTheIconOfTheWindow()
{
    QFile entry(QFileInfo(program).dir().filePath("share/applications/org.knucklet.Knucklet.desktop"));
    QVERIFY(entry.open(QFile::ReadOnly));
    const auto lines = QString::fromUtf8(entry.readAll()).split('\n');
    const RunningKnucklet knucklet(*desktop, program);

    const auto window = awaitAssistant();

    QCOMPARE(windows->classNames(window).size(), 2);
    QCOMPARE(lines.filter("StartupWMClass="),
        QStringList { "StartupWMClass=" + windows->classNames(window).last() });
    QTRY_COMPARE(windows->iconSizes(window), (QList { 16, 24, 32, 48, 64, 128 }));
}

void OnboardingDesktopTest::theProgramComesToTheFrontFromTheBackground()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    const auto window = awaitAssistant();
    knucklet.settle();
    const auto other = windows->openOther({ 0, 0, 1280, 800 });
    QTRY_COMPARE(windows->active(), other);
    QTRY_COMPARE(windows->top(windows->place(window).center()), other);
    click({ 100, 700 });
    type('a');

    QVERIFY(knucklet.choose(command));

    QTRY_COMPARE(windows->active(), window);
    QTRY_COMPARE(windows->top(windows->place(window).center()), window);
    type(keysymReturn);
    QTRY_COMPARE(page(), std::optional(1));
}

void OnboardingDesktopTest::returnFourTimesFinishesForGood()
{
    {
        RunningKnucklet knucklet(*desktop, program);
        const auto window = awaitAssistant();
        QTRY_COMPARE(windows->active(), window);
        for (int next = 1; next < 4; ++next) {
            type(keysymReturn);
            QTRY_COMPARE(page(), std::optional(next));
        }
        QVERIFY(!settingsFile(*desktop).contains("hasCompletedOnboarding"));

        type(keysymReturn);

        QTRY_VERIFY(!windows->isShown(window));
        QVERIFY(settingsFile(*desktop).contains("hasCompletedOnboarding=true"));
        QVERIFY(knucklet.isRunning());
        QVERIFY(knucklet.end(SIGTERM));
    }

    RunningKnucklet next(*desktop, program);
    QVERIFY(next.awaitItem());
    // The answer comes after everything that the start has put off.
    QCOMPARE(next.itemProperty("Title").toString(), "Knucklet");
    QCOMPARE(windows->find(assistantTitle), xcb_window_t { XCB_WINDOW_NONE });
}

void OnboardingDesktopTest::enterDoesWhatReturnDoes()
{
    const RunningKnucklet knucklet(*desktop, program);
    const auto window = awaitAssistant();
    QTRY_COMPARE(windows->active(), window);

    type(keysymEnter);

    QTRY_COMPARE(page(), std::optional(1));
}

void OnboardingDesktopTest::closingIsNotFinishing()
{
    {
        RunningKnucklet knucklet(*desktop, program);
        const auto window = awaitAssistant();

        click(windows->place(window).topRight() + closeButton);

        QTRY_VERIFY(!windows->isShown(window));
        QVERIFY(!settingsFile(*desktop).contains("hasCompletedOnboarding"));
        QVERIFY(knucklet.isRunning());
        QVERIFY(knucklet.awaitItem());
        QVERIFY(knucklet.end(SIGTERM));
    }

    const RunningKnucklet next(*desktop, program);
    QVERIFY(awaitAssistant() != XCB_WINDOW_NONE);
    QCOMPARE(page(), std::optional(0));
}

void OnboardingDesktopTest::showingItAgainBeginsAfreshWhereTheWindowStands()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    const auto window = awaitAssistant();
    QTRY_COMPARE(windows->active(), window);
    const auto before = windows->place(window);
    drag(before.center(), { 120, 60 });
    const auto moved = windows->place(window);
    for (int next = 1; next < 3; ++next) {
        type(keysymReturn);
        QTRY_COMPARE(page(), std::optional(next));
    }

    QVERIFY(knucklet.choose(command));
    QTRY_COMPARE(page(), std::optional(0));
    const auto whileOpen = windows->place(window);
    // The keyboard is still the assistant's.
    type(keysymReturn);
    QTRY_COMPARE(page(), std::optional(1));
    click(whileOpen.topRight() + closeButton);
    QTRY_VERIFY(!windows->isShown(window));
    QVERIFY(knucklet.choose(command));
    const auto again = awaitAssistant();

    QCOMPARE(page(), std::optional(0));
    QCOMPARE(whileOpen, moved);
    QCOMPARE(windows->place(again), moved);
}

void OnboardingDesktopTest::draggingTheBackgroundMovesTheWindow()
{
    const RunningKnucklet knucklet(*desktop, program);
    const auto window = awaitAssistant();
    QTRY_COMPARE(windows->active(), window);

    // Beside the picture, on the picture, on the title, in the empty part below.
    const QPoint starts[] { { 15, 200 }, { 270, 100 }, { 270, 300 }, { 270, 460 } };
    for (const auto& start : starts)
        drag(windows->place(window).topLeft() + start, { 40, 20 });

    QCOMPARE(page(), std::optional(0));
}

// A click must not leave the window at the pointer until the next one.
void OnboardingDesktopTest::aClickOnTheBackgroundMovesNothing()
{
    const RunningKnucklet knucklet(*desktop, program);
    const auto window = awaitAssistant();
    QTRY_COMPARE(windows->active(), window);
    const auto before = windows->place(window);

    click(before.topLeft() + QPoint(270, 460));
    injector->moveTo(100, 700);
    injector->sync();

    // The manager may hold the keyboard for a moment, from whenever it hears of the press until it has seen
    // the release.
    const auto turns = [this] {
        type(keysymReturn);
        return QTest::qWaitFor([this] { return page().value_or(0) > 0; }, 1000);
    };
    QTRY_VERIFY(turns());
    QVERIFY(!windows->isKeyboardGrabbed());
    QCOMPARE(windows->place(window), before);
}

// The button is up again when the manager lets go of the press and of all that has followed it.
void OnboardingDesktopTest::aClickThatTheManagerSeesLateMovesNothing()
{
    const RunningKnucklet knucklet(*desktop, program);
    const auto window = awaitAssistant();
    QTRY_COMPARE(windows->active(), window);
    const auto before = windows->place(window);

    desktop->freezeManager();
    click(before.topLeft() + QPoint(270, 460));
    injector->moveTo(100, 700);
    injector->sync();
    desktop->thawManager();
    // It handles what it is told in order.
    const auto other = windows->openOther({ 50, 50, 100, 100 });
    QTRY_COMPARE(windows->active(), other);
    knucklet.settle();
    injector->moveTo(150, 750);
    injector->sync();

    QTRY_VERIFY(!windows->isKeyboardGrabbed());
    QCOMPARE(windows->place(window), before);
    QCOMPARE(page(), std::optional(0));
}

void OnboardingDesktopTest::maximizingDoesNothing()
{
    const RunningKnucklet knucklet(*desktop, program);
    const auto window = awaitAssistant();
    const auto before = windows->place(window);

    windows->maximize(window);
    // What comes after it has an effect.
    windows->move(window, before.topLeft() + QPoint(10, 10));

    QTRY_COMPARE(windows->place(window).topLeft(), before.topLeft() + QPoint(10, 10));
    QCOMPARE(windows->place(window).size(), assistantSize);
}

void OnboardingDesktopTest::anIconifiedWindowReturns()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    const auto window = awaitAssistant();
    windows->iconify(window);
    QTRY_VERIFY(!windows->isShown(window));

    QVERIFY(knucklet.choose(command));

    QCOMPARE(awaitAssistant(), window);
    QTRY_COMPARE(windows->active(), window);
}

static const TestArea area("OnboardingDesktop", runTest<OnboardingDesktopTest>);
#include "OnboardingDesktopTest.moc"
