#include "app/KnuckletApp.h"

#include "platform/fake/FakePlatform.h"
#include "support/Patience.h"
#include "support/TestArea.h"
#include "windows/PanelWindow.h"
#include "windows/ProgramWindows.h"
#include "windows/ui/Look.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QApplication>
#include <QLabel>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <ctime>

using namespace std::chrono;

namespace {

/// The application on the fake platform, with the permission and some counts of today.
struct FakeApp {
    explicit FakeApp(const QByteArray& stats = {}, bool showsCounts = false)
        : platform(folder.path().toStdString(), sys_days(2026y / 11 / 15) + 12h)
    {
        platform.grantAccess();
        platform.storeSetting("hasCompletedOnboarding", true);
        platform.storeSetting("showCountsInMenuBar", showsCounts);
        if (!stats.isEmpty()) {
            QDir(folder.path()).mkpath("Knucklet");
            QFile file(folder.filePath("Knucklet/stats.json"));
            QVERIFY(file.open(QFile::WriteOnly));
            file.write(stats);
        }
    }

    KnuckletApp::MakeWindows windows()
    {
        return [this](AppState& state) {
            ++windowsMade;
            return std::make_unique<ProgramWindows>(platform, platform, state);
        };
    }

    std::string label() const { return platform.menuBarLabel().value_or(MenuBarLabel {}).text; }
    std::string toolTip() const { return platform.menuBarLabel().value_or(MenuBarLabel {}).toolTip; }

    QTemporaryDir folder;
    FakePlatform platform;
    int windowsMade = 0;
};

/// The panel, while it is open.
QWidget* openPanel()
{
    for (auto* window : QApplication::topLevelWidgets()) {
        if (window->windowTitle() == "Knucklet" && window->isVisible())
            return window;
    }
    return nullptr;
}

bool shows(const QWidget& window, const QString& text)
{
    const auto labels = window.findChildren<QLabel*>();
    return std::ranges::any_of(labels, [&](const auto* label) { return label->text().contains(text); });
}

/// The button or check box that says so, or is read so, in whatever window is open; null when there is none.
QAbstractButton* button(const QString& text)
{
    for (auto* window : QApplication::topLevelWidgets()) {
        for (auto* button : window->findChildren<QAbstractButton*>()) {
            if ((button->text() == text || button->accessibleName() == text) && button->isVisible())
                return button;
        }
    }
    return nullptr;
}

void click(const QString& text)
{
    auto* found = button(text);
    QVERIFY2(found, qPrintable(text));
    QTest::mouseClick(found, Qt::LeftButton);
}

void focus(const QString& text)
{
    auto* found = button(text);
    QVERIFY2(found, qPrintable(text));
    found->setFocus();
}

}

class KnuckletAppTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void theIconStandsAloneUnlessTheCountsAreWanted();
    void theCountsStandBesideTheIconInShortForm();
    void theCountsComeAndGoWithTheCheckBoxAndAreBackAfterARestart();
    void theToolTipAlwaysHasTheCounts();
    void aBurstOfPressesUpdatesTheLabelOnce();
    void noWindowIsMadeBeforeOneOpens();
    void whereNoWindowCanBeMadeTheProgramCountsAllTheSame();
    void theMenuSpeaksTheUsersLanguage_data();
    void theMenuSpeaksTheUsersLanguage();
    void theMenuOpensTheAssistant();
    void thePanelOpensTheAssistant();
    void theAssistantsCheckBoxPutsTheCountsIntoTheMenuBarAtOnce();
    void theMenuQuits();
    void anotherStartOpensThePanelAndLeavesItOpen();
    void withoutAMenuBarAnotherStartOpensAWindowThatStays();
    void theWindowIsThePanelAgainWhenThereIsAMenuBar();
    void thePanelStandsOnABarAtTheBottomWhateverItsHeight();
    void aPanelThatWasMovedIsPlacedAnewAsAWindow();
    void onALowScreenThePanelScrolls();
    void eachOpeningBeginsAtTheTop();
    void whatIsAroundAFocusedControlIsSeenAsWell();
    void aWindowOpensBesideItsPlaceWithinTheWorkArea_data();
    void aWindowOpensBesideItsPlaceWithinTheWorkArea();
    void ofAWindowThatIsTooLargeTheBeginningIsSeen_data();
    void ofAWindowThatIsTooLargeTheBeginningIsSeen();
    void theUsersAccentIsFollowedWhileAWindowIsOpen();
    void englishReadsFromLeftToRightWhateverTheDates_data();
    void englishReadsFromLeftToRightWhateverTheDates();
};

void KnuckletAppTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
    tzset();
}

void KnuckletAppTest::theIconStandsAloneUnlessTheCountsAreWanted()
{
    FakeApp fake(R"({"2026-11-15":{"keys":1234,"clicks":56}})");

    const KnuckletApp app(fake.platform, fake.windows());

    QCOMPARE(fake.label(), std::string());
}

void KnuckletAppTest::theCountsStandBesideTheIconInShortForm()
{
    FakeApp fake(R"({"2026-11-15":{"keys":1234,"clicks":56}})", true);

    const KnuckletApp app(fake.platform, fake.windows());

    QCOMPARE(fake.label(), std::string("1.2k · 56"));
}

void KnuckletAppTest::theCountsComeAndGoWithTheCheckBoxAndAreBackAfterARestart()
{
    FakeApp fake(R"({"2026-11-15":{"keys":1234,"clicks":56}})");
    {
        const KnuckletApp app(fake.platform, fake.windows());
        fake.platform.clickMenuBarItem({ 400, 10 });
        const QString box = "Show counts in menu bar";

        click(box);
        fake.platform.runDeferred();
        QCOMPARE(fake.label(), std::string("1.2k · 56"));

        click(box);
        fake.platform.runDeferred();
        QCOMPARE(fake.label(), std::string());

        click(box);
    }

    const KnuckletApp secondRun(fake.platform, fake.windows());

    QCOMPARE(fake.label(), std::string("1.2k · 56"));
}

void KnuckletAppTest::theToolTipAlwaysHasTheCounts()
{
    FakeApp fake(R"({"2026-11-15":{"keys":1234,"clicks":56}})");

    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.click();
    fake.platform.runDeferred();

    QCOMPARE(fake.toolTip(), std::string("1.2k keys · 57 clicks"));
}

void KnuckletAppTest::aBurstOfPressesUpdatesTheLabelOnce()
{
    FakeApp fake({}, true);
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.calls.clear();

    for (int i = 0; i < 1000; ++i)
        fake.platform.press();
    QCOMPARE(fake.label(), std::string("0 · 0"));
    fake.platform.runDeferred();

    QCOMPARE(fake.label(), std::string("1.0k · 0"));
    QCOMPARE(std::ranges::count(fake.platform.calls, "call later"), 1);
    QCOMPARE(std::ranges::count(fake.platform.calls, "set label"), 1);
}

void KnuckletAppTest::noWindowIsMadeBeforeOneOpens()
{
    FakeApp fake({}, true);
    const KnuckletApp app(fake.platform, fake.windows());

    fake.platform.press();
    fake.platform.runDeferred();
    fake.platform.advance(20s);
    QCOMPARE(fake.windowsMade, 0);

    fake.platform.clickMenuBarItem({ 400, 10 });
    fake.platform.clickMenuBarItem({ 400, 10 });
    fake.platform.chooseCommand("Setup Assistant…");
    QCOMPARE(fake.windowsMade, 1);
}

void KnuckletAppTest::whereNoWindowCanBeMadeTheProgramCountsAllTheSame()
{
    FakeApp fake({}, true);
    int attempts = 0;
    const KnuckletApp app(fake.platform, [&](AppState&) {
        ++attempts;
        return nullptr;
    });

    fake.platform.clickMenuBarItem({ 400, 10 });
    fake.platform.chooseCommand("Open Knucklet");
    fake.platform.chooseCommand("Setup Assistant…");
    fake.platform.startAgain();
    fake.platform.press();
    fake.platform.runDeferred();

    QCOMPARE(attempts, 4);
    QCOMPARE(fake.label(), std::string("1 · 0"));
    QVERIFY(!fake.platform.hasTerminated());
}

void KnuckletAppTest::theMenuSpeaksTheUsersLanguage_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QStringList>("titles");

    const QStringList english { "Open Knucklet", "Setup Assistant…", "Quit Knucklet" };
    // What is not translated yet stays as it is.
    const QStringList german { "Knucklet öffnen", "Setup Assistant…", "Knucklet „beenden“ & schließen" };
    QTest::newRow("no language") << QByteArray("LC_ALL") << QByteArray("C.UTF-8") << english;
    QTest::newRow("one without a translation")
        << QByteArray("LC_ALL") << QByteArray("fr_FR.UTF-8") << english;
    QTest::newRow("the language alone") << QByteArray("LC_ALL") << QByteArray("de") << german;
    QTest::newRow("of one country") << QByteArray("LC_ALL") << QByteArray("de_AT.UTF-8") << german;
    QTest::newRow("the second of several") << QByteArray("LANGUAGE") << QByteArray("fr_CA:de_CH") << german;
}

void KnuckletAppTest::theMenuSpeaksTheUsersLanguage()
{
    QFETCH(const QByteArray, variable);
    QFETCH(const QByteArray, value);
    QFETCH(const QStringList, titles);
    FakeApp fake;

    const auto before = qgetenv(variable);
    qputenv(variable, value);
    const KnuckletApp app(fake.platform, fake.windows());
    qputenv(variable, before);

    QStringList shown;
    for (const auto& title : fake.platform.commands())
        shown << QString::fromStdString(title);
    QCOMPARE(shown, titles);
}

void KnuckletAppTest::theMenuOpensTheAssistant()
{
    FakeApp fake;
    const KnuckletApp app(fake.platform, fake.windows());
    QVERIFY(!button("Get Started"));

    fake.platform.chooseCommand("Setup Assistant…");

    QVERIFY(button("Get Started"));
}

void KnuckletAppTest::thePanelOpensTheAssistant()
{
    FakeApp fake;
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.clickMenuBarItem({ 400, 10 });

    click("Setup Assistant…");

    QVERIFY(button("Get Started"));
}

void KnuckletAppTest::theAssistantsCheckBoxPutsTheCountsIntoTheMenuBarAtOnce()
{
    FakeApp fake(R"({"2026-11-15":{"keys":1234,"clicks":56}})");
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.chooseCommand("Setup Assistant…");
    for (const auto* step : { "Get Started", "Continue", "Continue" }) {
        click(step);
        QCoreApplication::processEvents();
    }

    click("Show live counts next to the menu bar icon");
    fake.platform.runDeferred();

    QCOMPARE(fake.label(), std::string("1.2k · 56"));
    QVERIFY(button("Finish"));
}

void KnuckletAppTest::theMenuQuits()
{
    FakeApp fake;
    const KnuckletApp app(fake.platform, fake.windows());

    fake.platform.chooseCommand("Quit Knucklet");

    QVERIFY(fake.platform.hasTerminated());
}

void KnuckletAppTest::anotherStartOpensThePanelAndLeavesItOpen()
{
    FakeApp fake;
    const KnuckletApp app(fake.platform, fake.windows());
    QVERIFY(!openPanel());

    fake.platform.startAgain();
    QVERIFY(openPanel());
    fake.platform.startAgain();

    QVERIFY(openPanel());
}

void KnuckletAppTest::withoutAMenuBarAnotherStartOpensAWindowThatStays()
{
    FakeApp fake;
    fake.platform.removeMenuBar();
    const KnuckletApp app(fake.platform, fake.windows());

    fake.platform.startAgain();
    auto* window = openPanel();
    QVERIFY(window);
    fake.platform.pressOutside();
    QEvent deactivation(QEvent::WindowDeactivate);
    QApplication::sendEvent(window, &deactivation);

    QCOMPARE(window->windowType(), Qt::Window);
    QVERIFY(!std::ranges::count(fake.platform.calls, "prepare panel"));
    QVERIFY(window->isVisible());
    QTest::keyClick(window, Qt::Key_Escape);
    QVERIFY(!openPanel());
}

void KnuckletAppTest::theWindowIsThePanelAgainWhenThereIsAMenuBar()
{
    FakeApp fake;
    fake.platform.removeMenuBar();
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.startAgain();
    fake.platform.clickMenuBarItem({ 400, 0 });
    QVERIFY(!openPanel());

    fake.platform.clickMenuBarItem({ 400, 0 });

    const auto* panel = openPanel();
    QVERIFY(panel);
    QCOMPARE(panel->windowType(), Qt::Tool);
    QCOMPARE(panel->pos(), QPoint(250, 28));
}

void KnuckletAppTest::thePanelStandsOnABarAtTheBottomWhateverItsHeight()
{
    FakeApp fake;
    fake.platform.withdrawAccess();
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.clickMenuBarItem({ 400, 799 });
    const auto* panel = openPanel();
    QVERIFY(panel);
    const int heightWithoutAccess = panel->height();
    QCOMPARE(panel->geometry().bottom(), 599);

    // The banner gives way to a smaller one.
    fake.platform.grantAccess();
    fake.platform.refuseTap();
    fake.platform.advance(2s);

    QTRY_COMPARE_LT(panel->height(), heightWithoutAccess);
    QCOMPARE(panel->geometry().bottom(), 599);
    QCOMPARE(panel->geometry().left(), 250);
}

// A place that was asked for is one that window managers keep to.
void KnuckletAppTest::aPanelThatWasMovedIsPlacedAnewAsAWindow()
{
    FakeApp fake;
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.clickMenuBarItem({ 400, 0 });
    QVERIFY(openPanel());
    QVERIFY(openPanel()->testAttribute(Qt::WA_Moved));
    fake.platform.clickMenuBarItem({ 400, 0 });

    fake.platform.removeMenuBar();
    fake.platform.startAgain();

    QVERIFY(openPanel());
    QVERIFY(!openPanel()->testAttribute(Qt::WA_Moved));
}

void KnuckletAppTest::onALowScreenThePanelScrolls()
{
    FakeApp fake;
    fake.platform.withdrawAccess();
    fake.platform.setWorkArea({ .x = 0, .y = 28, .width = 800, .height = 250 });
    const KnuckletApp app(fake.platform, fake.windows());
    const auto inside = [](const QWidget* widget) {
        const auto* panel = openPanel();
        return panel && widget && panel->isAncestorOf(widget)
            && panel->rect().contains(QRect(widget->mapTo(panel, QPoint()), widget->size()));
    };

    fake.platform.clickMenuBarItem({ 400, 14 });
    auto* panel = openPanel();
    QVERIFY(panel);
    QCOMPARE(panel->geometry(), QRect(250, 28, 300, 250));
    QVERIFY(!inside(button("Quit Knucklet")));

    auto* scrollBar = panel->findChild<QAbstractSlider*>();
    QVERIFY(scrollBar && scrollBar->isVisible());

    // By the wheel.
    const QPoint middle(150, 125);
    QWheelEvent down(middle, panel->mapToGlobal(middle), {}, QPoint(0, -120 * 10), {}, {}, {}, false);
    QCoreApplication::sendEvent(panel, &down);
    QVERIFY(inside(button("Quit Knucklet")));
    QVERIFY(!inside(button("Grant access…")));

    // By its bar.
    QTest::mouseClick(scrollBar, Qt::LeftButton, {}, { 6, 2 });
    QVERIFY(!inside(button("Quit Knucklet")));
    QTest::mousePress(scrollBar, Qt::LeftButton, {}, { 6, 20 });
    QTest::mouseMove(scrollBar, { 6, 240 });
    QVERIFY(inside(button("Quit Knucklet")));

    // By the keyboard, to where the focus is.
    QVERIFY(QTest::qWaitForWindowActive(panel, patience));
    focus("Quit Knucklet");
    QVERIFY(inside(button("Quit Knucklet")));
    focus("Grant access…");
    QVERIFY(inside(button("Grant access…")));

    // And nothing scrolls any more when there is room.
    fake.platform.setWorkArea({ .x = 0, .y = 28, .width = 800, .height = 400 });
    fake.platform.grantAccess();
    fake.platform.advance(2s);
    QTRY_VERIFY(inside(button("Quit Knucklet")));
    QCOMPARE_LT(panel->height(), 400);
    QVERIFY(!scrollBar->isVisible());
}

void KnuckletAppTest::eachOpeningBeginsAtTheTop()
{
    FakeApp fake;
    fake.platform.setWorkArea({ .x = 0, .y = 28, .width = 800, .height = 250 });
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.clickMenuBarItem({ 400, 14 });
    QVERIFY(openPanel());
    auto* scrollBar = openPanel()->findChild<QAbstractSlider*>();
    QVERIFY(scrollBar);
    scrollBar->setValue(scrollBar->maximum());
    QCOMPARE_GT(scrollBar->value(), 0);

    fake.platform.clickMenuBarItem({ 400, 14 });
    QVERIFY(!openPanel());
    fake.platform.clickMenuBarItem({ 400, 14 });

    QVERIFY(openPanel());
    QCOMPARE(scrollBar->value(), 0);
}

void KnuckletAppTest::whatIsAroundAFocusedControlIsSeenAsWell()
{
    FakeApp fake;
    fake.platform.setWorkArea({ .x = 0, .y = 28, .width = 800, .height = 250 });
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.clickMenuBarItem({ 400, 14 });
    auto* panel = openPanel();
    QVERIFY(panel);
    const auto* scrollBar = panel->findChild<QAbstractSlider*>();
    QVERIFY(scrollBar);
    QVERIFY(QTest::qWaitForWindowActive(panel, patience));

    // The padding below the last control, and that above the first.
    focus("Quit Knucklet");
    const int atTheLast = scrollBar->value();
    focus("Share a day card");
    const int atTheFirst = scrollBar->value();

    QCOMPARE_GT(scrollBar->maximum(), 0);
    QCOMPARE(atTheLast, scrollBar->maximum());
    QCOMPARE(atTheFirst, 0);
}

void KnuckletAppTest::aWindowOpensBesideItsPlaceWithinTheWorkArea_data()
{
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<QPoint>("corner");

    // A bar of 28 points along the top of a screen of 1280 by 800.
    QTest::newRow("in the bar, far from its ends") << QPoint(640, 14) << QPoint(490, 28);
    QTest::newRow("at the right end of the bar") << QPoint(1270, 14) << QPoint(980, 28);
    QTest::newRow("at the left end of the bar") << QPoint(5, 14) << QPoint(0, 28);
    QTest::newRow("at the bottom") << QPoint(640, 795) << QPoint(490, 700);
    QTest::newRow("off the screen") << QPoint(5000, -5000) << QPoint(980, 28);
}

void KnuckletAppTest::aWindowOpensBesideItsPlaceWithinTheWorkArea()
{
    QFETCH(const QPoint, place);
    QFETCH(const QPoint, corner);

    QCOMPARE(placeBeside(place, QSize(300, 100), QRect(0, 0, 1280, 800), QRect(0, 28, 1280, 772)), corner);
}

void KnuckletAppTest::ofAWindowThatIsTooLargeTheBeginningIsSeen_data()
{
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPoint>("corner");

    QTest::newRow("too wide") << QPoint(640, 14) << QSize(1500, 100) << QPoint(20, 28);
    QTest::newRow("too wide, from the right") << QPoint(1275, 400) << QSize(1500, 100) << QPoint(20, 350);
    QTest::newRow("too high") << QPoint(640, 14) << QSize(300, 900) << QPoint(490, 28);
    QTest::newRow("too high, from below") << QPoint(640, 795) << QSize(300, 900) << QPoint(490, 28);
}

void KnuckletAppTest::ofAWindowThatIsTooLargeTheBeginningIsSeen()
{
    QFETCH(const QPoint, place);
    QFETCH(const QSize, size);
    QFETCH(const QPoint, corner);

    QCOMPARE(placeBeside(place, size, QRect(0, 0, 1280, 800), QRect(20, 28, 1240, 744)), corner);
}

void KnuckletAppTest::theUsersAccentIsFollowedWhileAWindowIsOpen()
{
    const auto atTheEnd = qScopeGuard([] { applyLook(ColorScheme::Light, Motion::Full); });
    FakeApp fake({}, true);
    fake.platform.setAppearance(
        ColorScheme::Light, Motion::Full, AccentColor { .red = 0.7, .green = 0, .blue = 0 });
    const KnuckletApp app(fake.platform, fake.windows());
    fake.platform.clickMenuBarItem({ 400, 10 });
    const auto colorOfTick = [] {
        auto* box = button("Show counts in menu bar");
        const auto picture = box->grab().toImage();
        return picture.pixelColor(QPoint(11, box->height() / 2 + 4) * picture.devicePixelRatio()).name();
    };
    QCOMPARE(colorOfTick(), "#b30000");

    fake.platform.setAppearance(
        ColorScheme::Light, Motion::Full, AccentColor { .red = 0, .green = 0.4, .blue = 0 });

    QTRY_COMPARE(colorOfTick(), "#006600");
}

void KnuckletAppTest::englishReadsFromLeftToRightWhateverTheDates_data()
{
    QTest::addColumn<QByteArray>("variable");

    QTest::newRow("dates in Hebrew") << QByteArray("LC_TIME");
    // There is no such translation.
    QTest::newRow("everything in Hebrew") << QByteArray("LC_ALL");
}

void KnuckletAppTest::englishReadsFromLeftToRightWhateverTheDates()
{
    QFETCH(const QByteArray, variable);
    const auto atTheEnd = qScopeGuard([] {
        qunsetenv("LC_TIME");
        qputenv("LC_ALL", "C.UTF-8");
        QApplication::setLayoutDirection(Qt::LeftToRight);
    });
    qunsetenv("LC_ALL");
    qputenv(variable.constData(), "he_IL.UTF-8");
    FakeApp fake(R"({"2026-11-15":{"keys":12,"clicks":3}})");
    const KnuckletApp app(fake.platform, fake.windows());

    fake.platform.clickMenuBarItem({ 400, 10 });

    QVERIFY(openPanel());
    QVERIFY(shows(*openPanel(), "יום ראשון"));
    const auto* quit = button("Quit Knucklet");
    const auto* setup = button("Setup Assistant…");
    QVERIFY(quit->mapTo(openPanel(), QPoint()).x() > setup->mapTo(openPanel(), QPoint()).x());
    // Today is the rightmost.
    int rightmost = 0;
    QString today;
    for (const auto* widget : openPanel()->findChildren<QWidget*>()) {
        const int left = widget->mapTo(openPanel(), QPoint()).x();
        if (widget->toolTip().contains(" · ") && left > rightmost) {
            rightmost = left;
            today = widget->toolTip();
        }
    }
    QCOMPARE(today, "12 keys · 3 clicks");
}

static const TestArea area("KnuckletApp", runTest<KnuckletAppTest, QApplication>);
#include "KnuckletAppTest.moc"
