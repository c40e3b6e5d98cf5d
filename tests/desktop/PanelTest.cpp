#include "support/PanelOnDesktop.h"
#include "support/Patience.h"
#include "support/SavedCounts.h"
#include "support/ScreenReader.h"
#include "support/Screenshot.h"
#include "support/SettingsPortal.h"
#include "support/TestArea.h"

#include <QFile>
#include <QTest>

#include <X11/keysym.h>

#include <csignal>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

const QPoint bareDesktop(400, 600);

/// The tile with the key presses, in the panel.
constexpr QRect keysTile(14, 48, 131, 72);

}

/// The panel of the real program, opened in a real bar and handled by real input.
class PanelTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aClickOnTheIconOpensThePanelBesideIt();
    void theTileFollowsEveryKey();
    void theCheckBoxesTakeEffectAtOnce();
    void itsButtonsOpenTheirWindows_data();
    void itsButtonsOpenTheirWindows();
    void quittingByTheButtonWhileTypingSaves();

    void aPressOutsideClosesIt_data();
    void aPressOutsideClosesIt();
    void escapeClosesIt();
    void theNextClickOnTheIconClosesIt_data();
    void theNextClickOnTheIconClosesIt();
    void afterAnotherOpeningAClickOnTheIconOpensIt();
    void itStaysClosedWhenTheManagerBringsItUpLate();
    void itStaysOpenWhenAnotherWindowHasJustLostTheKeyboard();
    void scrollingOutsideLeavesItOpen();

    void theKeyboardIsThePanelsAtOnce();
    void theKeyboardReachesEveryControlInOrder();
    void spaceAndReturnAct();

    void noTaskBarListsIt();
    void theLookFollowsTheDesktop();

private:
    void configureWindowManager(const QString& property, bool value);

    std::unique_ptr<PanelOnDesktop> user;
};

void PanelTest::init()
{
    user = std::make_unique<PanelOnDesktop>();
    QVERIFY2(user->start(), qPrintable(user->desktop.failure()));
}

void PanelTest::cleanup() { user.reset(); }

void PanelTest::configureWindowManager(const QString& property, bool value)
{
    QVERIFY(user->desktop.run("xfconf-query",
        { "--channel", "xfwm4", "--property", "/general/" + property, "--create", "--type", "bool", "--set",
            value ? "true" : "false" }));
}

void PanelTest::aClickOnTheIconOpensThePanelBesideIt()
{
    QVERIFY(user->run(program));

    QVERIFY(user->open());

    // In the corner below the icon: on the bar's edge and at the right end of the screen.
    const auto area = user->area();
    QCOMPARE(area.top(), 29);
    QCOMPARE(area.right(), 1279);
    QCOMPARE(area.width(), 300);
}

void PanelTest::theTileFollowsEveryKey()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    auto shown = user->picture().copy(keysTile);

    // One after the other, each of which shows, and then as fast as they go.
    for (int i = 0; i < 3; ++i) {
        user->type(XK_a);
        QTRY_VERIFY(user->picture().copy(keysTile) != shown);
        shown = user->picture().copy(keysTile);
    }
    user->type(XK_a, 197);

    QTRY_VERIFY2(user->knucklet->toolTip().contains("200 keys"), qPrintable(user->knucklet->toolTip()));
    // Opened anew, it shows the number at once and nothing rolls.
    user->click(bareDesktop);
    QTRY_VERIFY(!user->isOpen());
    QVERIFY(user->open());
    const auto anew = user->picture().copy(keysTile);
    QVERIFY(!anew.isNull());
    QVERIFY(anew != shown);
    QVERIFY(user->knucklet->end(SIGTERM));
    QCOMPARE(savedCounts(user->desktop).keys, 200);
}

void PanelTest::theCheckBoxesTakeEffectAtOnce()
{
    ScreenReader reader(user->desktop);
    QVERIFY(reader.start());
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    const QString loginItem
        = user->desktop.folder() + "/home/.config/autostart/org.knucklet.Knucklet.desktop";
    const auto clickOn = [&](const QString& name) {
        QTRY_VERIFY(reader.window("Knucklet"));
        const auto window = reader.window("Knucklet");
        QVERIFY(window && window->find(name));
        QVERIFY(user->clickInPanel(window->find(name)->area.center()));
    };

    clickOn("Show counts in menu bar");
    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=true"));
    clickOn("Launch at login");
    QTRY_VERIFY(QFile::exists(loginItem));

    clickOn("Show counts in menu bar");
    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=false"));
    clickOn("Launch at login");
    QTRY_VERIFY(!QFile::exists(loginItem));
    QVERIFY(user->isOpen());
}

void PanelTest::itsButtonsOpenTheirWindows_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("title");

    QTest::newRow("the share button") << "Share a day card"
                                      << "Day Card";
    QTest::newRow("the assistant's button") << "Setup Assistant…"
                                            << "Knucklet Setup";
}

void PanelTest::itsButtonsOpenTheirWindows()
{
    QFETCH(const QString, button);
    QFETCH(const QString, title);
    ScreenReader reader(user->desktop);
    QVERIFY(reader.start());
    QVERIFY(user->run(program));

    for (int i = 0; i < 2; ++i) {
        QVERIFY(user->open());
        QTRY_VERIFY(reader.window("Knucklet"));
        const auto panel = reader.window("Knucklet");
        QVERIFY(panel && panel->find(button));
        QVERIFY(user->clickInPanel(panel->find(button)->area.center()));

        // In front of everything, with the keyboard, and the panel makes room.
        QTRY_VERIFY(user->windows->find(title) != XCB_WINDOW_NONE);
        QTRY_COMPARE(user->windows->active(), user->windows->find(title));
        QTRY_VERIFY(!user->isOpen());
    }
}

void PanelTest::quittingByTheButtonWhileTypingSaves()
{
    ScreenReader reader(user->desktop);
    QVERIFY(reader.start());
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    QTRY_VERIFY(reader.window("Knucklet"));
    const auto window = reader.window("Knucklet");
    QVERIFY(window && window->find("Quit Knucklet"));

    // The panel is brought up to date with each key, while the button is held down.
    user->moveTo(window->find("Quit Knucklet")->area.center());
    user->injector->pressButton(1);
    user->type(XK_a, 20);
    const auto hasCounted = [&reader] {
        const auto panel = reader.window("Knucklet");
        return panel && panel->find("Keys: 20");
    };
    QTRY_VERIFY(hasCounted());
    user->injector->releaseButton(1);
    user->injector->sync();

    QVERIFY(user->knucklet->awaitEnd());
    // Two clicks: on the icon and on the button.
    QCOMPARE(savedCounts(user->desktop), (Counts { 20, 2 }));
}

void PanelTest::aPressOutsideClosesIt_data()
{
    QTest::addColumn<QPoint>("place");

    QTest::newRow("on the bare desktop") << bareDesktop;
    QTest::newRow("on the bar") << QPoint(500, 14);
    QTest::newRow("on another window") << QPoint(150, 250);
}

void PanelTest::aPressOutsideClosesIt()
{
    QFETCH(const QPoint, place);
    const auto other = user->windows->openOther({ 100, 200, 200, 100 });
    QTRY_COMPARE(user->windows->active(), other);
    QVERIFY(user->run(program));

    // It opens and closes as often as one likes.
    for (int i = 0; i < 3; ++i) {
        QVERIFY(user->open());
        user->moveTo(place);
        user->injector->pressButton(1);
        user->injector->sync();

        QTRY_VERIFY(!user->isOpen());
        user->injector->releaseButton(1);
        user->injector->sync();
        // A panel that opens before the manager has given the window the keyboard would lose it to that.
        if (user->windows->top(place) == other)
            QTRY_COMPARE(user->windows->active(), other);
    }
}

void PanelTest::escapeClosesIt()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());

    user->type(XK_Escape);

    QTRY_VERIFY(!user->isOpen());
    QVERIFY(user->open());
}

void PanelTest::theNextClickOnTheIconClosesIt_data()
{
    QTest::addColumn<int>("heldFor");
    QTest::addColumn<int>("toldAfter");

    QTest::newRow("at once") << 0 << 0;
    QTest::newRow("by a slow hand") << 600 << 0;
    QTest::newRow("of a bar that is slow to tell") << 0 << 400;
}

void PanelTest::theNextClickOnTheIconClosesIt()
{
    QFETCH(const int, heldFor);
    QFETCH(const int, toldAfter);
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    const auto before = user->reportedClicks();

    user->injector->pressButton(1);
    user->injector->sync();
    QTRY_VERIFY(!user->isOpen());
    // Not waiting for anything, but the hand itself, and the bus.
    QTest::qWait(heldFor);
    user->desktop.freezeBus();
    user->injector->releaseButton(1);
    user->injector->sync();
    QTest::qWait(toldAfter);
    user->desktop.thawBus();

    // The bar tells of a click when the button comes up.
    QTRY_COMPARE(user->reportedClicks(), before + 1);
    user->knucklet->settle();
    // A window that comes up later is there: the panel would be, too.
    const auto later = user->windows->openOther({ 100, 200, 200, 100 });
    QTRY_COMPARE(user->windows->active(), later);
    QVERIFY(!user->isOpen());
    QVERIFY(user->open());
}

// The click that has closed it before is no longer waited for. That shows where all of this takes less than
// the two seconds that a bar has to tell of it.
void PanelTest::afterAnotherOpeningAClickOnTheIconOpensIt()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    user->click({ 400, 600 });
    QTRY_VERIFY(!user->isOpen());
    QVERIFY(user->desktop.run(program, {}));
    QTRY_VERIFY(user->isOpen() && user->windows->active() == user->panel());
    user->type(XK_Escape);
    QTRY_VERIFY(!user->isOpen());

    QVERIFY(user->open());
}

// As after two clicks that follow each other at once.
void PanelTest::itStaysClosedWhenTheManagerBringsItUpLate()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    user->type(XK_Escape);
    QTRY_VERIFY(!user->isOpen());

    user->desktop.freezeManager();
    QVERIFY(user->knucklet->reportClick(user->icon));
    QVERIFY(user->knucklet->reportClick(user->icon));
    user->knucklet->settle();
    user->desktop.thawManager();

    // It handles what it is told in order.
    const auto other = user->windows->openOther({ 50, 50, 100, 100 });
    QTRY_COMPARE(user->windows->active(), other);
    QTRY_VERIFY(!user->isOpen());
}

void PanelTest::itStaysOpenWhenAnotherWindowHasJustLostTheKeyboard()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    // The share button comes first.
    user->type(XK_Tab);
    user->type(XK_space);
    QTRY_VERIFY(user->windows->active() == user->windows->find("Day Card"));

    user->desktop.freezeManager();
    user->windows->takeKeyboard();
    QVERIFY(user->knucklet->reportClick(user->icon));
    user->knucklet->settle();
    // Longer than the toolkit waits for another of the program's windows to get the keyboard, 100 ms.
    QTest::qWait(500);
    user->desktop.thawManager();

    QTRY_VERIFY(user->isOpen());
    QTRY_COMPARE(user->windows->active(), user->panel());
    QVERIFY(!user->picture().isNull());
}

void PanelTest::scrollingOutsideLeavesItOpen()
{
    // On the bare desktop, where the window manager would change to the next workspace.
    configureWindowManager("scroll_workspaces", false);
    QVERIFY(user->run(program));
    QVERIFY(user->open());

    user->moveTo(bareDesktop);
    for (int i = 0; i < 10; ++i) {
        user->injector->scrollDown();
        user->injector->scrollUp();
    }
    user->type(XK_a);

    QTRY_VERIFY(user->knucklet->toolTip().contains("1 keys"));
    user->knucklet->settle();
    QVERIFY(user->isOpen());
}

void PanelTest::theKeyboardIsThePanelsAtOnce()
{
    configureWindowManager("prevent_focus_stealing", true);
    QVERIFY(user->run(program));
    const auto other = user->windows->openOther({ 100, 200, 200, 100 });
    QTRY_COMPARE(user->windows->active(), other);
    int received = 0;
    user->type(XK_a, 3);
    QTRY_COMPARE(received += user->windows->receivedPresses(), 3);

    QVERIFY(user->open());
    user->type(XK_Tab);
    user->type(XK_Tab);
    user->type(XK_space);

    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=true"));
    QCOMPARE(user->windows->receivedPresses(), 0);
}

void PanelTest::theKeyboardReachesEveryControlInOrder()
{
    ScreenReader reader(user->desktop);
    QVERIFY(reader.start());
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    // Read in many steps, between which the keyboard may move on.
    const auto focused = [&reader] {
        const auto window = reader.window("Knucklet");
        const auto* found = window ? window->focused() : nullptr;
        return found ? *found : Accessible();
    };
    // Nothing looks chosen at first.
    QTRY_VERIFY(reader.window("Knucklet"));
    QTRY_COMPARE(focused().name, "Knucklet");
    const auto corner = user->area().topLeft();
    const auto plain = user->picture();

    const QStringList order { "Share a day card", "Show counts in menu bar", "Launch at login",
        "Setup Assistant…", "Quit Knucklet", "Share a day card" };
    for (const auto& name : order) {
        user->type(XK_Tab);

        QTRY_COMPARE(focused().name, name);
        // A ring stands around it.
        const auto area = focused().area.translated(-corner);
        const auto around = area.adjusted(-3, -3, 3, 3);
        QTRY_COMPARE_GE(difference(plain.copy(around), user->picture().copy(around)).width(), area.width());
    }
    user->injector->pressKey(user->injector->keyCode(XK_Shift_L));
    user->type(XK_Tab);
    user->injector->releaseKey(user->injector->keyCode(XK_Shift_L));
    user->injector->sync();
    QTRY_COMPARE(focused().name, "Quit Knucklet");
}

void PanelTest::spaceAndReturnAct()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());

    user->type(XK_Tab, 2);
    user->type(XK_space);
    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=true"));
    user->type(XK_space);
    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=false"));

    user->type(XK_Tab, 3);
    user->type(XK_Return);
    QVERIFY(user->knucklet->awaitEnd());
}

void PanelTest::noTaskBarListsIt()
{
    QVERIFY(user->run(program));

    for (int i = 0; i < 2; ++i) {
        QVERIFY(user->open());
        const auto states = user->windows->states(user->panel());
        for (const char* state :
            { "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE" })
            QVERIFY2(states.contains(state), state);
        user->type(XK_Escape);
        QTRY_VERIFY(!user->isOpen());
    }
}

void PanelTest::theLookFollowsTheDesktop()
{
    const auto background = [this] { return user->picture().pixelColor(7, 7).lightness(); };
    SettingsPortal portal(user->desktop, SettingsPortal::Look::Dark);
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    QTRY_COMPARE_LT(background(), 60);

    portal.setLook(SettingsPortal::Look::Light);
    QTRY_COMPARE_GT(background(), 200);

    portal.setLook(SettingsPortal::Look::Dark);
    QTRY_COMPARE_LT(background(), 60);
}

static const TestArea area("Panel", runTest<PanelTest>);
#include "PanelTest.moc"
