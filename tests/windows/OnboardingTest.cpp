#include "windows/Onboarding.h"

#include "support/Contrast.h"
#include "support/Patience.h"
#include "support/PseudoTranslator.h"
#include "support/ShownAssistant.h"
#include "support/TestArea.h"
#include "support/Widgets.h"
#include "windows/DateTexts.h"
#include "windows/StatsView.h"
#include "windows/ui/Controls.h"
#include "windows/ui/Transition.h"

#include <QAbstractButton>
#include <QAbstractEventDispatcher>
#include <QAbstractSlider>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QFontMetrics>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSet>
#include <QTest>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr int pageCount = 4;
const QString settingsButton = "Open Input Monitoring settings…";

QStringList texts(const QWidget& window)
{
    QStringList all;
    for (const auto* label : window.findChildren<QLabel*>())
        all << label->text();
    return all;
}

/// The texts of all buttons but the check boxes and the one that closes, in order.
QStringList buttons(const QWidget& window)
{
    QStringList all;
    for (const auto* button : window.findChildren<QPushButton*>())
        all << button->text();
    return all;
}

QRect placeOf(const QWidget& window, const QString& label)
{
    return placeIn(window, labelWith(window, label));
}

/// The points between the bottom of one thing and the top of the next.
int gap(const QRect& above, const QRect& below) { return below.top() - above.bottom() - 1; }

void press(const QWidget& window, const QString& button)
{
    QTest::mouseClick(&theButton(window, button), Qt::LeftButton);
    QCoreApplication::processEvents();
}

/// The page that a screen reader says is shown, from 0.
int shownPage(const QWidget& window)
{
    for (const auto* widget : window.findChildren<QWidget*>()) {
        const auto name = widget->accessibleName();
        if (name.startsWith("Page "))
            return name.section(' ', 1, 1).toInt() - 1;
    }
    return -1;
}

QRect dots(const QWidget& window)
{
    for (const auto* widget : window.findChildren<QWidget*>()) {
        if (widget->accessibleName().startsWith("Page "))
            return placeIn(window, widget);
    }
    return {};
}

qsizetype lookUps(const FakePlatform& platform)
{
    return std::ranges::count_if(
        platform.calls, [](const std::string& call) { return call.starts_with("find picture"); });
}

QStringList callsOf(const FakePlatform& platform)
{
    QStringList calls;
    for (const auto& call : platform.calls)
        calls << QString::fromStdString(call);
    return calls;
}

void savePicture(const QTemporaryDir& folder, const QString& name, const QSize& size, const QColor& color)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(color);
    QVERIFY(picture.save(folder.filePath(name + ".png")));
}

const Transition* transition(const QWidget& window)
{
    for (const auto* widget : window.findChildren<QWidget*>()) {
        if (const auto* found = dynamic_cast<const Transition*>(widget))
            return found;
    }
    return nullptr;
}

/// Counts the events that the application handles.
class Doings final : public QObject {
public:
    Doings() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent*) override
    {
        ++count;
        return false;
    }

    /// Since the last call.
    int soFar()
    {
        QCoreApplication::processEvents();
        return std::exchange(count, 0);
    }

private:
    int count = 0;
};

QColor pixel(QWidget& window, QPoint place)
{
    const auto picture = window.grab().toImage();
    return picture.pixelColor(place * picture.devicePixelRatio());
}

}

/// The setup assistant in its window, on the fake platform.
class OnboardingTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    // The window.
    void theAssistantOpensByItselfAtTheFirstStart();
    void theAssistantStaysAwayOnceItWasFinished();
    void theStartPageIsBroughtWithinThePages_data();
    void theStartPageIsBroughtWithinThePages();
    void theWindowHasOneSizeOnEveryPage();
    void theSystemKnowsTheWindowByItsTitle();
    void showingItWhileOpenStartsAfresh();
    void finishingClosesTheWindowAndIsRemembered();
    void afterFinishingTheSameWindowIsShownAgain();
    void closingIsNotFinishing();
    void theWindowGoesWithItsController();
    void eachShowingBringsTheWindowToTheFront();

    // The pages' flow.
    void theButtonsLeadFromPageToPage();
    void returnLeadsFromPageToPage();
    void returnAndEnterGoOnWhereverTheFocusIs_data();
    void returnAndEnterGoOnWhereverTheFocusIs();
    void aControlThatGoesLeavesTheFocusToTheNext();
    void twoPressesAtOnceAreTwoSteps();
    void continueWorksWithoutThePermission();
    void theDotsStandInTheMiddleOnEveryPage_data();
    void theDotsStandInTheMiddleOnEveryPage();
    void theDotOfTheShownPageStandsOut();
    void theButtonsAreOfTheDefaultSize();

    // On a low screen.
    void whereItIsTooLowTheFlexibleSpaceGivesWayFirst_data();
    void whereItIsTooLowTheFlexibleSpaceGivesWayFirst();
    void whereThePageDoesNotFitItScrollsAndTheFooterStays_data();
    void whereThePageDoesNotFitItScrollsAndTheFooterStays();
    void theKeyboardScrollsThePageToItsControls();

    // What the pages say, and how they are laid out.
    void theWelcomePageGreets();
    void thePrivacyPageSaysWhatIsRecorded();
    void theRowsAreShownAsTheyAreInEveryLanguage();
    void rowsWrapAndTheirIconsStayAtTheTop();
    void thePermissionPageExplains();
    void theDonePageTellsWhereTheProgramLives();
    void longerTextsAreNeverCutOff_data();
    void longerTextsAreNeverCutOff();
    void aScreenReaderHearsEverything_data();
    void aScreenReaderHearsEverything();
    void textsStandOutFromTheirBackground_data();
    void textsStandOutFromTheirBackground();
    void headingsStandOutAsFarAsTheirColorsDo_data();
    void headingsStandOutAsFarAsTheirColorsDo();
    void anAssistantThatIsOpenAndIdleDoesNothing_data();
    void anAssistantThatIsOpenAndIdleDoesNothing();

    // The pictures.
    void aMissingPictureIsReplacedByItsSymbol_data();
    void aMissingPictureIsReplacedByItsSymbol();
    void aBrokenPictureIsLikeAMissingOne();
    void aPictureOfAnotherShapeCoversItsPlace();
    void aWideIconStandsOutOfItsPlace();
    void aPortraitIconStandsOutOfItsPlace();
    void aVeryWideIconReachesTheWindowsEdges();
    void anIconThatStandsOutLiesBelowEverythingElse_data();
    void anIconThatStandsOutLiesBelowEverythingElse();
    void aPictureOfAnyProportionsIsDrawn_data();
    void aPictureOfAnyProportionsIsDrawn();
    void theHeroHasRoundedCorners();
    void aHundredKeysOnTheFirstPageReadNothing();
    void aPictureIsReadAgainWhenItsPageIsShownAgain();

    // The permission.
    void theCardFollowsThePermission_data();
    void theCardFollowsThePermission();
    void whereNothingCanAskForThePermissionTheCardSaysWhatToType();
    void aRelaunchWithoutThePermissionShowsHereButNotInThePanel();
    void grantingWhileThePageIsOpenTurnsTheCardWithinOnePoll_data();
    void grantingWhileThePageIsOpenTurnsTheCardWithinOnePoll();
    void theSettingsButtonAsksAndOpensAtEveryPress();
    void theRelaunchButtonRelaunches();
    void theCardChangesBeforeTheEyes();
    void withReducedMotionTheCardChangesAtOnce();
    void leavingThePageEndsTheMovement();

    // The settings.
    void theCheckBoxesFollowTheModelBothWays();
    void aRefusedLoginItemUnticksItsBox();
    void theCheckBoxesKeepTheirValuesFromPageToPage();
};

void OnboardingTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
}

void OnboardingTest::theAssistantOpensByItselfAtTheFirstStart()
{
    ShownAssistant assistant;
    assistant.start();
    const bool isThereBefore = assistant.window();

    assistant.platform.runDeferred();

    QVERIFY(!isThereBefore);
    QVERIFY(assistant.window() && assistant.window()->isVisible());
    QCOMPARE(shownPage(*assistant.window()), 0);
}

void OnboardingTest::theAssistantStaysAwayOnceItWasFinished()
{
    ShownAssistant assistant;
    assistant.platform.storeSetting("hasCompletedOnboarding", true);

    assistant.start();
    assistant.platform.runDeferred();

    QVERIFY(!assistant.window());
}

void OnboardingTest::theStartPageIsBroughtWithinThePages_data()
{
    QTest::addColumn<int>("startPage");
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("primary");

    QTest::newRow("far below") << -5 << 0 << "Get Started";
    QTest::newRow("first") << 0 << 0 << "Get Started";
    QTest::newRow("second") << 1 << 1 << "Continue";
    QTest::newRow("third") << 2 << 2 << "Continue";
    QTest::newRow("last") << 3 << 3 << "Finish";
    QTest::newRow("far beyond") << 9 << 3 << "Finish";
}

void OnboardingTest::theStartPageIsBroughtWithinThePages()
{
    QFETCH(const int, startPage);
    QFETCH(const int, page);
    QFETCH(const QString, primary);
    ShownAssistant assistant;

    const auto& window = assistant.show(startPage);

    QCOMPARE(shownPage(window), page);
    QVERIFY2(buttons(window).endsWith(primary), qPrintable(buttons(window).join(u' ')));
    QCOMPARE(buttons(window).contains("Back"), page > 0);
}

void OnboardingTest::theWindowHasOneSizeOnEveryPage()
{
    for (int page = 0; page < pageCount; ++page) {
        ShownAssistant assistant;

        const auto& window = assistant.show(page);

        QCOMPARE(window.size(), QSize(540, 560));
        QCOMPARE(window.minimumSize(), window.size());
        QCOMPARE(window.maximumSize(), window.size());
    }
}

void OnboardingTest::theSystemKnowsTheWindowByItsTitle()
{
    ShownAssistant assistant;

    const auto& window = assistant.show();

    QCOMPARE(window.windowTitle(), "Knucklet Setup");
    QVERIFY(!labelWith(window, "Knucklet Setup"));
}

void OnboardingTest::showingItWhileOpenStartsAfresh()
{
    ShownAssistant assistant;
    auto& window = assistant.show(2);
    window.move(33, 44);

    const auto& again = assistant.show(0);

    QCOMPARE(&again, &window);
    QCOMPARE(shownPage(again), 0);
    QCOMPARE(buttons(again), QStringList { "Get Started" });
    QCOMPARE(again.pos(), QPoint(33, 44));
    QVERIFY(again.isVisible());
}

void OnboardingTest::finishingClosesTheWindowAndIsRemembered()
{
    ShownAssistant assistant;
    const auto& window = assistant.show(3);

    press(window, "Finish");

    QVERIFY(!window.isVisible());
    QVERIFY(assistant.state->hasCompletedOnboarding);
    QCOMPARE(assistant.platform.setting("hasCompletedOnboarding"), std::optional(true));
}

void OnboardingTest::afterFinishingTheSameWindowIsShownAgain()
{
    ShownAssistant assistant;
    auto& window = assistant.show(3);
    window.move(33, 44);
    press(window, "Finish");

    const auto& again = assistant.show(0);
    const int writes = static_cast<int>(callsOf(assistant.platform).filter("hasCompleted").size());
    assistant.state->finishOnboarding();

    QCOMPARE(&again, &window);
    QCOMPARE(again.pos(), QPoint(33, 44));
    QVERIFY(!again.isVisible());
    QCOMPARE(callsOf(assistant.platform).filter("hasCompleted").size(), writes);
}

void OnboardingTest::closingIsNotFinishing()
{
    ShownAssistant assistant;
    const auto& window = assistant.show(3);

    press(window, "Close");

    QVERIFY(!window.isVisible());
    QVERIFY(!assistant.state->hasCompletedOnboarding);
    QCOMPARE(assistant.platform.setting("hasCompletedOnboarding"), std::nullopt);
}

void OnboardingTest::theWindowGoesWithItsController()
{
    ShownAssistant assistant;
    const QPointer<QWidget> window = &assistant.show();

    assistant.state.reset();

    QVERIFY(!window);
}

void OnboardingTest::eachShowingBringsTheWindowToTheFront()
{
    ShownAssistant assistant;

    const auto& window = assistant.show();
    assistant.show();

    const NativeWindow native { window.winId() };
    QCOMPARE(assistant.platform.activatedWindows(), (std::vector { native, native }));
}

void OnboardingTest::theButtonsLeadFromPageToPage()
{
    ShownAssistant assistant;
    const auto& window = assistant.show();
    std::vector<int> pages { shownPage(window) };

    for (const auto* button : { "Get Started", "Continue", "Continue", "Back", "Back", "Back" }) {
        press(window, button);
        pages.push_back(shownPage(window));
    }

    QCOMPARE(pages, (std::vector { 0, 1, 2, 3, 2, 1, 0 }));
    QCOMPARE(buttons(window), QStringList { "Get Started" });
}

void OnboardingTest::returnLeadsFromPageToPage()
{
    ShownAssistant assistant;
    auto& window = assistant.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));

    for (int next = 1; next < pageCount; ++next) {
        QTest::keyClick(&window, Qt::Key_Return);
        QTRY_COMPARE(shownPage(window), next);
    }
    QTest::keyClick(&window, Qt::Key_Return);

    QVERIFY(!window.isVisible());
    QVERIFY(assistant.state->hasCompletedOnboarding);
}

void OnboardingTest::returnAndEnterGoOnWhereverTheFocusIs_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("focus");
    QTest::addColumn<Qt::Key>("key");

    const QStringList controls[pageCount] {
        { "Close", "Get Started" },
        { "Close", "Back", "Continue" },
        { "Close", settingsButton, "Back", "Continue" },
        { "Close", "Show live counts next to the menu bar icon", "Launch Knucklet at login", "Back",
            "Finish" },
    };
    for (int page = 0; page < pageCount; ++page) {
        for (const auto& control : controls[page]) {
            QTest::addRow("Return on page %d, %s", page, qPrintable(control))
                << page << control << Qt::Key_Return;
            QTest::addRow("Enter on page %d, %s", page, qPrintable(control))
                << page << control << Qt::Key_Enter;
        }
    }
}

void OnboardingTest::returnAndEnterGoOnWhereverTheFocusIs()
{
    QFETCH(const int, page);
    QFETCH(const QString, focus);
    QFETCH(const Qt::Key, key);
    ShownAssistant assistant;
    auto& window = assistant.show(page);
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    theButton(window, focus).setFocus();
    assistant.platform.calls.clear();

    QVERIFY(window.focusWidget());
    QTest::keyClick(window.focusWidget(), key);
    QCoreApplication::processEvents();

    const bool isLast = page == pageCount - 1;
    QCOMPARE(window.isVisible(), !isLast);
    QCOMPARE(bool { assistant.state->hasCompletedOnboarding }, isLast);
    if (!isLast)
        QCOMPARE(shownPage(window), page + 1);
    QCOMPARE(callsOf(assistant.platform).filter("request access"), QStringList());
    QVERIFY(!assistant.state->showCountsInMenuBar);
    QVERIFY(!assistant.state->launchAtLogin);
}

void OnboardingTest::aControlThatGoesLeavesTheFocusToTheNext()
{
    ShownAssistant assistant;
    auto& window = assistant.show(1);
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    theButton(window, "Back").setFocus();

    QVERIFY(window.focusWidget());
    QTest::keyClick(window.focusWidget(), Qt::Key_Space);
    QTRY_COMPARE(shownPage(window), 0);
    const auto* afterBack = window.focusWidget();
    const auto* goOn = buttonWith(window, "Get Started");
    assistant.show(2);
    theButton(window, settingsButton).setFocus();
    assistant.platform.grantAccess();
    assistant.platform.advance(2s);
    QTRY_VERIFY(!buttonWith(window, settingsButton));

    QCOMPARE(afterBack, goOn);
    QCOMPARE(window.focusWidget(), buttonWith(window, "Back"));
}

void OnboardingTest::twoPressesAtOnceAreTwoSteps()
{
    ShownAssistant assistant;
    auto& window = assistant.show(1);

    // Before the first of them has been shown.
    for (int i = 0; i < 2; ++i)
        theButton(window, "Continue").click();
    QCoreApplication::processEvents();
    const int forward = shownPage(window);
    for (int i = 0; i < 5; ++i)
        theButton(window, "Back").click();
    QCoreApplication::processEvents();

    QCOMPARE(forward, 3);
    QCOMPARE(shownPage(window), 0);
}

void OnboardingTest::continueWorksWithoutThePermission()
{
    ShownAssistant assistant;
    const auto& window = assistant.show(2);

    press(window, "Continue");

    QVERIFY(!assistant.state->keyAccessGranted);
    QCOMPARE(shownPage(window), 3);
}

void OnboardingTest::theDotsStandInTheMiddleOnEveryPage_data()
{
    QTest::addColumn<bool>("isLonger");

    QTest::newRow("English") << false;
    QTest::newRow("a longer language") << true;
}

void OnboardingTest::theDotsStandInTheMiddleOnEveryPage()
{
    QFETCH(const bool, isLonger);
    PseudoTranslator translator;
    if (isLonger)
        QCoreApplication::installTranslator(&translator);
    ShownAssistant assistant;

    for (int page = 0; page < pageCount; ++page) {
        const auto& window = assistant.show(page);

        const auto place = dots(window);
        QCOMPARE(place.size(), QSize(46, 7));
        QCOMPARE(place.left(), window.width() - 1 - place.right());
        const auto pushed = window.findChildren<QPushButton*>();
        QVERIFY(!pushed.isEmpty());
        const auto* primary = pushed.last();
        QCOMPARE_LE(std::abs(placeIn(window, primary).center().y() - place.center().y()), 1);
    }
}

void OnboardingTest::theDotOfTheShownPageStandsOut()
{
    ShownAssistant assistant;

    for (int page = 0; page < pageCount; ++page) {
        auto& window = assistant.show(page);

        const auto first = dots(window).topLeft() + QPoint(3, 3);
        for (int dot = 0; dot < pageCount; ++dot) {
            const auto color = pixel(window, first + QPoint(13 * dot, 0));
            // The text's color, or a fifth of it.
            QCOMPARE(color.lightness() < 40, dot == page);
            QCOMPARE(color.lightness() > 190 && color.lightness() < 215, dot != page);
        }
    }
}

void OnboardingTest::theButtonsAreOfTheDefaultSize()
{
    ShownAssistant assistant;
    Host large([] { return button("Large", [] {}, { .size = ButtonSize::Large }); });
    large.show();

    for (int page = 0; page < pageCount; ++page) {
        const auto& window = assistant.show(page);

        for (const auto* button : window.findChildren<QPushButton*>()) {
            QCOMPARE(button->font().pixelSize(), 13);
            QCOMPARE(button->height(), QFontMetrics(button->font()).height() + 8);
            QCOMPARE_LE(button->height(), large.height() - 4);
        }
    }
}

void OnboardingTest::whereItIsTooLowTheFlexibleSpaceGivesWayFirst_data()
{
    QTest::addColumn<int>("page");

    for (int page = 0; page < pageCount; ++page)
        QTest::addRow("page %d", page) << page;
}

void OnboardingTest::whereItIsTooLowTheFlexibleSpaceGivesWayFirst()
{
    QFETCH(const int, page);
    ShownAssistant assistant;
    const auto& whole = assistant.show(page);
    std::vector<QRect> places;
    for (const auto* label : whole.findChildren<QLabel*>())
        places.push_back(placeIn(whole, label));
    ShownAssistant low;
    // What 1920 by 1080 pixels leave with two pixels to a point, below a bar.
    low.platform.setWorkArea({ .x = 0, .y = 28, .width = 960, .height = 512 });
    assistant.state.reset();

    const auto& window = low.show(page);

    QCOMPARE(window.size(), QSize(540, 512));
    const auto labels = window.findChildren<QLabel*>();
    QCOMPARE(labels.size(), static_cast<qsizetype>(places.size()));
    for (qsizetype i = 0; i < labels.size(); ++i)
        QCOMPARE(placeIn(window, labels[i]), places[static_cast<std::size_t>(i)]);
    for (const auto* button : window.findChildren<QPushButton*>())
        QVERIFY2(window.rect().contains(placeIn(window, button)), qPrintable(button->text()));
    const auto buttons = window.findChildren<QPushButton*>();
    QVERIFY(!buttons.isEmpty());
    QCOMPARE(placeIn(window, buttons.last()).bottom(), 512 - 20 - 1);
    const auto* scrollBar = window.findChild<QAbstractSlider*>();
    QVERIFY(scrollBar);
    QVERIFY(!scrollBar->isVisible());
}

void OnboardingTest::whereThePageDoesNotFitItScrollsAndTheFooterStays_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("last");

    QTest::newRow("welcome") << 0
                             << "Every key you press, every click you make — counted.\n"
                                "See how much your fingers work each day.";
    QTest::newRow("privacy")
        << 1 << "Holding a key down counts once, not hundreds of times — auto-repeat is ignored.";
    QTest::newRow("permission") << 2 << settingsButton;
    QTest::newRow("done") << 3 << "Launch Knucklet at login";
}

void OnboardingTest::whereThePageDoesNotFitItScrollsAndTheFooterStays()
{
    QFETCH(const int, page);
    QFETCH(const QString, last);
    ShownAssistant assistant;
    assistant.platform.setWorkArea({ .x = 0, .y = 0, .width = 640, .height = 270 });

    auto& window = assistant.show(page);

    QCOMPARE(window.size(), QSize(540, 270));
    const auto buttons = window.findChildren<QPushButton*>();
    QVERIFY(!buttons.isEmpty());
    const auto* primary = buttons.last();
    const QWidget* widget = labelWith(window, last);
    if (!widget)
        widget = buttonWith(window, last);
    QVERIFY(widget);
    const auto isSeen = [&] { return widget->visibleRegion().boundingRect() == widget->rect(); };
    const auto footer = placeIn(window, primary);
    QCOMPARE(footer.bottom(), 270 - 20 - 1);
    QVERIFY(!isSeen());
    auto* scrollBar = window.findChild<QAbstractSlider*>();
    QVERIFY(scrollBar);
    QVERIFY(scrollBar->isVisible());

    const QPoint middle(270, 100);
    QWheelEvent down(middle, window.mapToGlobal(middle), {}, QPoint(0, -120 * 10), {}, {}, {}, false);
    QCoreApplication::sendEvent(scrollBar->parentWidget(), &down);

    QVERIFY(isSeen());
    QCOMPARE_LE(placeIn(window, widget).bottom(), footer.top() - 20);
    QCOMPARE(placeIn(window, primary), footer);
    // Another page begins at its top.
    press(window, primary->text());
    if (page == pageCount - 1)
        return;
    scrollBar = window.findChild<QAbstractSlider*>();
    QVERIFY(scrollBar);
    QCOMPARE(scrollBar->value(), 0);
}

void OnboardingTest::theKeyboardScrollsThePageToItsControls()
{
    ShownAssistant assistant;
    assistant.platform.setWorkArea({ .x = 0, .y = 0, .width = 640, .height = 270 });
    auto& window = assistant.show(3);
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    const auto* login = buttonWith(window, "Launch Knucklet at login");
    const auto isSeen = [&] { return login->visibleRegion().boundingRect() == login->rect(); };
    QVERIFY(!isSeen());

    while (window.focusWidget() != login)
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);

    QVERIFY(isSeen());
}

void OnboardingTest::theWelcomePageGreets()
{
    ShownAssistant assistant;

    const auto& window = assistant.show(0);

    const QString title = "Welcome to Knucklet";
    const QString subtitle
        = "Every key you press, every click you make — counted.\nSee how much your fingers work each day.";
    QCOMPARE(texts(window), (QStringList { title, subtitle }));
    QCOMPARE(theLabel(window, title).font().pixelSize(), 26);
    QCOMPARE(theLabel(window, title).font().weight(), QFont::Bold);
    QCOMPARE(theLabel(window, subtitle).font().pixelSize(), 15);
    QCOMPARE(theLabel(window, subtitle).alignment(), Qt::AlignHCenter);
    // The picture ends 28 + 230 below the top, and 18 lie between the parts.
    QCOMPARE(placeOf(window, title).top(), 28 + 230 + 18);
    QCOMPARE(placeOf(window, title).left(), 40);
    QCOMPARE(placeOf(window, title).right(), 540 - 40 - 1);
    QCOMPARE(gap(placeOf(window, title), placeOf(window, subtitle)), 18);
    QCOMPARE(placeOf(window, subtitle).height(), 2 * theLabel(window, subtitle).fontMetrics().height());
}

void OnboardingTest::thePrivacyPageSaysWhatIsRecorded()
{
    ShownAssistant assistant;

    const auto& window = assistant.show(1);

    const QStringList expected {
        "Counts, not keys",
        "Only counters go up",
        "Knucklet adds +1 per key press and +1 per click. Which key you pressed is never read, logged, or "
        "stored — the code only looks at the event type.",
        "Everything stays on this Mac",
        "Daily totals live in a small local JSON file. Nothing is ever sent anywhere — Knucklet doesn't even "
        "use the network.",
        "Honest counting",
        "Holding a key down counts once, not hundreds of times — auto-repeat is ignored.",
    };
    QCOMPARE(texts(window), expected);
    for (int row = 0; row < 3; ++row) {
        const auto& title = theLabel(window, expected[1 + 2 * row]);
        const auto& detail = theLabel(window, expected[2 + 2 * row]);
        QCOMPARE(title.font().pixelSize(), 13);
        QCOMPARE(title.font().weight(), QFont::DemiBold);
        QCOMPARE(detail.font().pixelSize(), 12);
        QCOMPARE(gap(placeIn(window, &title), placeIn(window, &detail)), 3);
        // After an icon that is 34 wide, and 14 more.
        QCOMPARE(placeIn(window, &title).left(), 40 + 34 + 14);
        QCOMPARE(placeIn(window, &detail).left(), 40 + 34 + 14);
    }
    QCOMPARE(gap(placeOf(window, expected[0]), placeOf(window, expected[1])), 22);
    QCOMPARE(gap(placeOf(window, expected[2]), placeOf(window, expected[3])), 22);
}

void OnboardingTest::theRowsAreShownAsTheyAreInEveryLanguage()
{
    PseudoTranslator translator;
    ShownAssistant assistant;
    const auto english = texts(assistant.show(1));

    QCoreApplication::installTranslator(&translator);
    const auto translated = texts(assistant.show(1));

    QVERIFY(translated.value(0) != english.value(0));
    QCOMPARE(translated.mid(1), english.mid(1));
}

void OnboardingTest::rowsWrapAndTheirIconsStayAtTheTop()
{
    const QString detail = QString("A rather long sentence that says the same thing again. ").repeated(12);
    Host host([&] {
        return column({ InfoRow { "repeat.circle.fill", Theme::keyAccent, "Title", detail }.body() })
            .width(300);
    });

    host.show();

    const auto* text = labelWith(host, detail);
    const auto* title = labelWith(host, "Title");
    QVERIFY(text && title);
    QCOMPARE_GE(text->height(), 10 * text->fontMetrics().height());
    QCOMPARE(text->height(), text->heightForWidth(text->width()));
    const auto* icon = title->parentWidget()->parentWidget()->findChild<QWidget*>();
    QVERIFY(icon);
    QCOMPARE(placeIn(host, icon).top(), placeIn(host, title).top());
    QCOMPARE(icon->width(), 34);
}

void OnboardingTest::thePermissionPageExplains()
{
    ShownAssistant assistant;

    auto& window = assistant.show(2);

    const QString explanation = "macOS requires the Input Monitoring permission before any app may observe "
                                "key presses — even just to count them. Clicks are already being counted "
                                "without it.";
    const auto* label = labelWith(window, explanation);
    QVERIFY(label);
    QCOMPARE(label->font().pixelSize(), 13);
    QCOMPARE(gap(placeOf(window, "One permission"), placeIn(window, label)), 22);
    // Two words of it are bold: drawn without the marks, but plain, it looks otherwise.
    Host plain([&] {
        return column({ paragraph(explanation).font(13).color(Theme::secondary) }).width(label->width());
    });
    plain.show();
    auto* plainLabel = plain.findChild<QLabel*>();
    QVERIFY(plainLabel);
    QVERIFY(plainLabel->grab().toImage() != const_cast<QLabel*>(label)->grab().toImage());
}

void OnboardingTest::theDonePageTellsWhereTheProgramLives()
{
    ShownAssistant assistant;

    const auto& window = assistant.show(3);

    const QString title = "You're counting!";
    const QString description
        = "Knucklet lives in your menu bar — click the keyboard icon anytime for today's "
          "tally and your 7-day chart.";
    QCOMPARE(texts(window), (QStringList { title, description }));
    QCOMPARE(placeOf(window, title).top(), 28 + 120 + 22);
    QCOMPARE(gap(placeOf(window, title), placeOf(window, description)), 22);
    QCOMPARE(theLabel(window, description).font().pixelSize(), 15);
    const auto* first = buttonWith(window, "Show live counts next to the menu bar icon");
    const auto* second = buttonWith(window, "Launch Knucklet at login");
    QVERIFY(first && second);
    QCOMPARE(gap(placeIn(window, first), placeIn(window, second)), 10);
    QCOMPARE(placeIn(window, first).left(), placeIn(window, second).left());
    // The card is as wide as its boxes, with 18 around them, in the middle of the page.
    const auto card = placeIn(window, first->parentWidget());
    QCOMPARE(card, placeIn(window, first).united(placeIn(window, second)).adjusted(-18, -18, 18, 18));
    QCOMPARE(gap(placeOf(window, description), card), 22);
    QCOMPARE_LE(std::abs(card.left() - (window.width() - 1 - card.right())), 1);
}

void OnboardingTest::longerTextsAreNeverCutOff_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<bool>("isGranted");

    for (int page = 0; page < pageCount; ++page) {
        QTest::addRow("page %d", page) << page << false;
        QTest::addRow("page %d, relaunch", page) << page << true;
    }
}

void OnboardingTest::longerTextsAreNeverCutOff()
{
    QFETCH(const int, page);
    QFETCH(const bool, isGranted);
    PseudoTranslator translator;
    QCoreApplication::installTranslator(&translator);
    ShownAssistant assistant;
    assistant.platform.refuseTap();
    if (isGranted)
        assistant.platform.grantAccess();

    const auto& window = assistant.show(page);

    QCOMPARE(window.size(), QSize(540, 560));
    const int footer = dots(window).top();
    for (const auto* label : window.findChildren<QLabel*>()) {
        const auto box = placeIn(window, label);
        QVERIFY2(window.rect().contains(box) && box.bottom() < footer, qPrintable(label->text()));
        if (label->wordWrap())
            QCOMPARE_GE(label->height(), label->heightForWidth(label->width()));
        else
            QCOMPARE_GE(label->width(), label->sizeHint().width());
    }
    for (const auto* button : window.findChildren<QAbstractButton*>()) {
        QVERIFY2(window.rect().contains(placeIn(window, button)), qPrintable(button->text()));
        if (!button->text().isEmpty())
            QCOMPARE_GE(button->width(), button->sizeHint().width());
    }
}

void OnboardingTest::aScreenReaderHearsEverything_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("primary");
    QTest::addColumn<QStringList>("controls");

    QTest::newRow("welcome") << 0 << "Get Started" << QStringList();
    QTest::newRow("privacy") << 1 << "Continue" << QStringList { "Back" };
    QTest::newRow("permission") << 2 << "Continue" << QStringList { settingsButton, "Back" };
    QTest::newRow("done") << 3 << "Finish"
                          << QStringList { "Show live counts next to the menu bar icon",
                                 "Launch Knucklet at login", "Back" };
}

void OnboardingTest::aScreenReaderHearsEverything()
{
    QFETCH(const int, page);
    QFETCH(const QString, primary);
    QFETCH(const QStringList, controls);
    ShownAssistant assistant;
    QStringList heard;
    const std::function<void(QAccessibleInterface*)> walk = [&](QAccessibleInterface* element) {
        const auto name = element->text(QAccessible::Name);
        if (!name.isEmpty())
            heard << name;
        for (int i = 0; i < element->childCount(); ++i)
            walk(element->child(i));
    };

    auto& window = assistant.show(page);
    walk(QAccessible::queryAccessibleInterface(&window));

    const auto said = texts(window) + controls
        + QStringList { "Knucklet Setup", "Close", QString("Page %1 of 4").arg(page + 1), primary };
    QCOMPARE(QSet(heard.begin(), heard.end()), QSet(said.begin(), said.end()));
    // Nothing is said twice, and nothing without a name can be reached.
    QCOMPARE(heard.size(), said.size());
    for (const auto* button : window.findChildren<QAbstractButton*>())
        QVERIFY(!button->text().isEmpty() || !button->accessibleName().isEmpty());
    const auto* goOn = QAccessible::queryAccessibleInterface(buttonWith(window, primary));
    QVERIFY(goOn);
    QVERIFY(goOn->state().defaultButton);
    QCOMPARE(goOn->role(), QAccessible::PushButton);
    for (const auto* box : window.findChildren<QCheckBox*>())
        QCOMPARE(QAccessible::queryAccessibleInterface(const_cast<QCheckBox*>(box))->role(),
            QAccessible::CheckBox);
}

void OnboardingTest::textsStandOutFromTheirBackground_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<int>("page");
    QTest::addColumn<bool>("isGranted");
    QTest::addColumn<bool>("isRefused");

    for (const bool isDark : { false, true }) {
        const auto* look = isDark ? "dark" : "light";
        QTest::addRow("welcome, %s", look) << isDark << 0 << false << false;
        QTest::addRow("privacy, %s", look) << isDark << 1 << false << false;
        QTest::addRow("waiting, %s", look) << isDark << 2 << false << false;
        QTest::addRow("relaunch, %s", look) << isDark << 2 << true << true;
        QTest::addRow("counting, %s", look) << isDark << 2 << true << false;
        QTest::addRow("done, %s", look) << isDark << 3 << false << false;
    }
}

void OnboardingTest::textsStandOutFromTheirBackground()
{
    QFETCH(const bool, isDark);
    QFETCH(const int, page);
    QFETCH(const bool, isGranted);
    QFETCH(const bool, isRefused);
    ShownAssistant assistant;
    assistant.platform.setAppearance(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    if (isGranted)
        assistant.platform.grantAccess();
    if (isRefused)
        assistant.platform.refuseTap();
    auto& window = assistant.show(page);

    const auto image = magnified(window);

    const auto standsOut = [&](const QRect& rect, const QString& text) {
        const auto found = paintedContrast(image, rect);
        QVERIFY2(found >= 4.5, qPrintable(QString("%1: %2").arg(text).arg(found)));
    };
    for (const auto* label : window.findChildren<QLabel*>()) {
        // The given colors are as they are.
        if (label->text() != "Almost there" && label->text() != "Key counting is on")
            standsOut(placeIn(window, label), label->text());
    }
    for (const auto* button : window.findChildren<QPushButton*>())
        standsOut(placeIn(window, button).adjusted(8, 4, -8, -4), button->text());
    for (const auto* box : window.findChildren<QCheckBox*>())
        standsOut(placeIn(window, box).adjusted(16, 0, 0, 0), box->text());
    standsOut(placeIn(window, buttonWith(window, "Close")).adjusted(5, 7, -5, -7), "Close");
}

void OnboardingTest::headingsStandOutAsFarAsTheirColorsDo_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<bool>("isRefused");
    QTest::addColumn<QString>("heading");
    QTest::addColumn<QString>("found");

    // docs/accessibility.md lists these.
    QTest::newRow("relaunch, light") << false << true << "Almost there"
                                     << "1.6";
    QTest::newRow("relaunch, dark") << true << true << "Almost there"
                                    << "7.0";
    QTest::newRow("counting, light") << false << false << "Key counting is on"
                                     << "1.9";
    QTest::newRow("counting, dark") << true << false << "Key counting is on"
                                    << "6.4";
}

void OnboardingTest::headingsStandOutAsFarAsTheirColorsDo()
{
    QFETCH(const bool, isDark);
    QFETCH(const bool, isRefused);
    QFETCH(const QString, heading);
    QFETCH(const QString, found);
    ShownAssistant assistant;
    assistant.platform.setAppearance(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    assistant.platform.grantAccess();
    if (isRefused)
        assistant.platform.refuseTap();
    auto& window = assistant.show(2);

    const auto image = magnified(window);

    QCOMPARE(QString::number(paintedContrast(image, placeOf(window, heading)), 'f', 1), found);
}

void OnboardingTest::anAssistantThatIsOpenAndIdleDoesNothing_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<bool>("isGranted");

    for (int page = 0; page < pageCount; ++page) {
        QTest::addRow("page %d", page) << page << false;
        QTest::addRow("page %d, counting", page) << page << true;
    }
}

void OnboardingTest::anAssistantThatIsOpenAndIdleDoesNothing()
{
    QFETCH(const int, page);
    QFETCH(const bool, isGranted);
    ShownAssistant assistant;
    if (isGranted)
        assistant.platform.grantAccess();
    assistant.start();
    const auto timers = assistant.platform.runningTimers();
    auto& window = assistant.show(page);
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    Doings doings;
    QTRY_COMPARE(doings.soFar(), 0);
    assistant.platform.calls.clear();

    assistant.platform.advance(60s);
    const int doingsOfAMinute = doings.soFar();

    // The poll asks for the permission, and that is all.
    QCOMPARE(assistant.platform.runningTimers(), timers);
    auto calls = callsOf(assistant.platform);
    calls.removeAll("read clock");
    QCOMPARE(calls, QStringList(isGranted ? 0 : 30, "preflight"));
    QCOMPARE(doingsOfAMinute, 0);
    const auto* dispatcher = QAbstractEventDispatcher::instance();
    for (auto* object : window.findChildren<QObject*>())
        QVERIFY(dispatcher->registeredTimers(object).isEmpty());
    QVERIFY(dispatcher->registeredTimers(&window).isEmpty());
}

void OnboardingTest::aMissingPictureIsReplacedByItsSymbol_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QRect>("box");

    QTest::newRow("hero") << 0 << QRect(40, 28, 460, 230);
    QTest::newRow("icon") << 3 << QRect(210, 28, 120, 120);
}

void OnboardingTest::aMissingPictureIsReplacedByItsSymbol()
{
    QFETCH(const int, page);
    QFETCH(const QRect, box);
    const QTemporaryDir empty;
    ShownAssistant assistant;
    ShownAssistant complete;
    assistant.platform.addPictures(empty.path().toStdString());

    auto& window = assistant.show(page);

    // The ground is pale, the symbol in its middle is not, and around it nothing is drawn.
    const auto ground = pixel(window, box.topLeft() + QPoint(box.width() / 2, 10));
    const auto around = pixel(window, box.topLeft() + QPoint(box.width() / 2, -10));
    QVERIFY(ground != around);
    QCOMPARE_GE(ground.lightness(), 235);
    const auto picture = window.grab(box).toImage();
    int strong = 0;
    for (int x = 0; x < picture.width(); ++x) {
        for (int y = 0; y < picture.height(); ++y)
            strong += picture.pixelColor(x, y).saturation() > 150;
    }
    QCOMPARE_GE(strong, 500);
}

void OnboardingTest::aBrokenPictureIsLikeAMissingOne()
{
    const QTemporaryDir empty;
    const QTemporaryDir broken;
    QFile file(broken.filePath("onboarding-hero.png"));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write("not a picture");
    file.close();

    std::vector<QImage> pictures;
    for (const auto* folder : { &empty, &broken }) {
        ShownAssistant assistant;
        assistant.platform.addPictures(folder->path().toStdString());
        pictures.push_back(assistant.show(0).grab().toImage());
    }

    QCOMPARE(pictures[1], pictures[0]);
}

void OnboardingTest::aPictureOfAnotherShapeCoversItsPlace()
{
    const QTemporaryDir folder;
    savePicture(folder, "onboarding-hero", { 50, 400 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(0);

    const QRect box(40, 28, 460, 230);
    for (const auto place : { QPoint(1, 115), QPoint(458, 115), QPoint(230, 1), QPoint(230, 228) })
        QCOMPARE(pixel(window, box.topLeft() + place), QColor(Qt::blue));
    QVERIFY(pixel(window, box.topLeft() + QPoint(230, -2)) != QColor(Qt::blue));
    QVERIFY(pixel(window, box.topLeft() + QPoint(230, 231)) != QColor(Qt::blue));
}

void OnboardingTest::aWideIconStandsOutOfItsPlace()
{
    const QTemporaryDir folder;
    savePicture(folder, "AppIcon-preview", { 200, 100 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(3);

    // 240 wide, in the middle, and still 120 high.
    QCOMPARE(pixel(window, { 152, 88 }), QColor(Qt::blue));
    QCOMPARE(pixel(window, { 387, 88 }), QColor(Qt::blue));
    QVERIFY(pixel(window, { 147, 88 }) != QColor(Qt::blue));
    QVERIFY(pixel(window, { 392, 88 }) != QColor(Qt::blue));
    QCOMPARE(placeOf(window, "You're counting!").top(), 28 + 120 + 22);
}

void OnboardingTest::aPortraitIconStandsOutOfItsPlace()
{
    const QTemporaryDir folder;
    savePicture(folder, "AppIcon-preview", { 200, 400 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(3);

    // 240 high around the middle of its place, up to the edge of the window, and still 120 wide.
    QCOMPARE(pixel(window, { 215, 2 }), QColor(Qt::blue));
    QCOMPARE(pixel(window, { 215, 206 }), QColor(Qt::blue));
    QVERIFY(pixel(window, { 215, 210 }) != QColor(Qt::blue));
    QVERIFY(pixel(window, { 207, 88 }) != QColor(Qt::blue));
    QVERIFY(pixel(window, { 332, 88 }) != QColor(Qt::blue));
    QCOMPARE(placeOf(window, "You're counting!").top(), 28 + 120 + 22);
}

void OnboardingTest::aVeryWideIconReachesTheWindowsEdges()
{
    const QTemporaryDir folder;
    savePicture(folder, "AppIcon-preview", { 1000, 100 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(3);

    QCOMPARE(pixel(window, { 3, 88 }), QColor(Qt::blue));
    QCOMPARE(pixel(window, { 536, 88 }), QColor(Qt::blue));
    QVERIFY(pixel(window, { 270, 24 }) != QColor(Qt::blue));
    QVERIFY(pixel(window, { 270, 152 }) != QColor(Qt::blue));
}

void OnboardingTest::anIconThatStandsOutLiesBelowEverythingElse_data()
{
    QTest::addColumn<int>("startPage");

    QTest::newRow("shown first") << 3;
    // Whose texts are older than the picture.
    QTest::newRow("after another page") << 2;
}

void OnboardingTest::anIconThatStandsOutLiesBelowEverythingElse()
{
    QFETCH(const int, startPage);
    const QTemporaryDir folder;
    savePicture(folder, "AppIcon-preview", { 100, 800 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(startPage);
    if (startPage == 2)
        press(window, "Continue");

    QCOMPARE(shownPage(window), 3);
    const auto* box = buttonWith(window, "Launch Knucklet at login");
    QCOMPARE(window.childAt(placeIn(window, box).center()), box);
    const auto* title = labelWith(window, "You're counting!");
    QCOMPARE(window.childAt(placeIn(window, title).center()), title);
}

void OnboardingTest::aPictureOfAnyProportionsIsDrawn_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("a point") << QSize(1, 1);
    QTest::newRow("a line across") << QSize(20000, 1);
    QTest::newRow("a line down") << QSize(1, 20000);
}

void OnboardingTest::aPictureOfAnyProportionsIsDrawn()
{
    QFETCH(const QSize, size);
    const QTemporaryDir folder;
    savePicture(folder, "onboarding-hero", size, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(0);

    for (const auto place : { QPoint(60, 40), QPoint(480, 40), QPoint(270, 143), QPoint(60, 250) })
        QCOMPARE(pixel(window, place), QColor(Qt::blue));
}

void OnboardingTest::theHeroHasRoundedCorners()
{
    const QTemporaryDir folder;
    savePicture(folder, "onboarding-hero", { 920, 460 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());

    auto& window = assistant.show(0);

    const QRect box(40, 28, 460, 230);
    const auto outside = pixel(window, { 20, 300 });
    for (const auto corner : { box.topLeft(), box.topRight(), box.bottomLeft(), box.bottomRight() })
        QCOMPARE(pixel(window, corner), outside);
    // Where a corner of this radius has ended, the picture is whole.
    QCOMPARE(pixel(window, box.topLeft() + QPoint(6, 6)), QColor(Qt::blue));
}

void OnboardingTest::aHundredKeysOnTheFirstPageReadNothing()
{
    const QTemporaryDir folder;
    savePicture(folder, "onboarding-hero", { 920, 460 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());
    assistant.platform.grantAccess();
    auto& window = assistant.show(0);
    savePicture(folder, "onboarding-hero", { 920, 460 }, Qt::red);

    for (int i = 0; i < 100; ++i) {
        assistant.platform.press();
        QCoreApplication::processEvents();
    }

    QCOMPARE(std::int64_t { assistant.state->todayKeys }, 100);
    QCOMPARE(lookUps(assistant.platform), 1);
    QCOMPARE(pixel(window, { 270, 140 }), QColor(Qt::blue));
}

void OnboardingTest::aPictureIsReadAgainWhenItsPageIsShownAgain()
{
    const QTemporaryDir folder;
    savePicture(folder, "onboarding-hero", { 920, 460 }, Qt::blue);
    ShownAssistant assistant;
    assistant.platform.addPictures(folder.path().toStdString());
    auto& window = assistant.show(0);
    savePicture(folder, "onboarding-hero", { 920, 460 }, Qt::red);

    press(window, "Get Started");
    press(window, "Back");

    QCOMPARE(pixel(window, { 270, 140 }), QColor(Qt::red));
}

void OnboardingTest::theCardFollowsThePermission_data()
{
    QTest::addColumn<bool>("isGranted");
    QTest::addColumn<bool>("needsRelaunch");
    QTest::addColumn<QString>("heading");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("button");

    const QString relaunch
        = "Access is granted, but macOS needs Knucklet to relaunch before key counting starts.";
    QTest::newRow("counting") << true << false << "Key counting is on"
                              << "You're all set — keys and clicks are both being counted." << QString();
    QTest::newRow("relaunch") << true << true << "Almost there" << relaunch << "Relaunch Knucklet";
    QTest::newRow("relaunch, not granted")
        << false << true << "Almost there" << relaunch << "Relaunch Knucklet";
    QTest::newRow("waiting") << false << false << "Waiting for permission"
                             << "System Settings will open on Privacy & Security → Input Monitoring. Turn on "
                                "Knucklet, then come back here — this page updates by itself."
                             << settingsButton;
}

void OnboardingTest::theCardFollowsThePermission()
{
    QFETCH(const bool, isGranted);
    QFETCH(const bool, needsRelaunch);
    QFETCH(const QString, heading);
    QFETCH(const QString, text);
    QFETCH(const QString, button);
    ShownAssistant assistant;
    auto& state = assistant.start();
    state.keyAccessGranted = isGranted;
    state.needsRelaunch = needsRelaunch;

    const auto& window = assistant.show(2);

    QCOMPARE(texts(window).mid(2), (QStringList { heading, text }));
    auto expected = QStringList { "Back", "Continue" };
    if (!button.isEmpty())
        expected.prepend(button);
    QCOMPARE(buttons(window), expected);
    QCOMPARE(theLabel(window, heading).font().pixelSize(), 15);
    QCOMPARE(theLabel(window, heading).font().weight(), QFont::DemiBold);
    QCOMPARE(theLabel(window, text).font().pixelSize(), 12);
    QCOMPARE(theLabel(window, text).alignment(), Qt::AlignHCenter);
    // 24 around what is in the card, which is as wide as the page, and 14 between its parts.
    const auto card = placeIn(window, theLabel(window, text).parentWidget());
    QCOMPARE(card.left(), 40);
    QCOMPARE(card.width(), 460);
    QCOMPARE(placeOf(window, heading).top(), card.top() + 24);
    QCOMPARE(gap(placeOf(window, heading), placeOf(window, text)), 14);
    if (button.isEmpty()) {
        QCOMPARE(placeOf(window, text).bottom(), card.bottom() - 24);
    } else {
        QCOMPARE(gap(placeOf(window, text), placeIn(window, buttonWith(window, button))), 14);
        QCOMPARE(placeIn(window, buttonWith(window, button)).bottom(), card.bottom() - 24);
    }
}

void OnboardingTest::whereNothingCanAskForThePermissionTheCardSaysWhatToType()
{
    ShownAssistant assistant;
    assistant.platform.leaveGrantingTo("sudo grant-it");
    const QString text
        = "Nothing here can ask for your password. Type this in a terminal instead:\nsudo grant-it";

    const auto& window = assistant.show(2);

    // Below the button, which does no harm.
    QCOMPARE(texts(window).last(), text);
    QCOMPARE(gap(placeIn(window, buttonWith(window, settingsButton)), placeOf(window, text)), 14);
    QCOMPARE(theLabel(window, text).font().pixelSize(), 12);
    assistant.platform.grantAccess();
    assistant.platform.advance(2s);
    QTRY_VERIFY(!labelWith(window, text));
}

void OnboardingTest::aRelaunchWithoutThePermissionShowsHereButNotInThePanel()
{
    ShownAssistant assistant;
    auto& state = assistant.start();
    auto& platform = assistant.platform;
    state.keyAccessGranted = false;
    state.needsRelaunch = true;
    const DateTexts dates("en_US");

    const auto& window = assistant.show(2);
    Host panel([&] {
        return StatsView { state, dates, platform.listenAccess(), platform.desktop() }.body();
    });
    panel.show();

    QVERIFY(labelWith(window, "Almost there"));
    QVERIFY(labelWith(panel, "Keyboard counting is off"));
    QVERIFY(texts(panel).filter("Access granted").isEmpty());
}

void OnboardingTest::grantingWhileThePageIsOpenTurnsTheCardWithinOnePoll_data()
{
    QTest::addColumn<bool>("isRefused");
    QTest::addColumn<QString>("heading");

    QTest::newRow("to counting") << false << "Key counting is on";
    QTest::newRow("to a relaunch") << true << "Almost there";
}

void OnboardingTest::grantingWhileThePageIsOpenTurnsTheCardWithinOnePoll()
{
    QFETCH(const bool, isRefused);
    QFETCH(const QString, heading);
    ShownAssistant assistant;
    if (isRefused)
        assistant.platform.refuseTap();
    const auto& window = assistant.show(2);
    QVERIFY(labelWith(window, "Waiting for permission"));

    assistant.platform.grantAccess();
    assistant.platform.advance(2s);
    QCoreApplication::processEvents();

    QVERIFY(labelWith(window, heading));
    QVERIFY(!labelWith(window, "Waiting for permission"));
    QCOMPARE(shownPage(window), 2);
}

void OnboardingTest::theSettingsButtonAsksAndOpensAtEveryPress()
{
    ShownAssistant assistant;
    const auto& window = assistant.show(2);
    assistant.platform.calls.clear();

    press(window, settingsButton);
    press(window, settingsButton);

    const QString open = "open x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";
    QCOMPARE(callsOf(assistant.platform), (QStringList { "request access", open, "request access", open }));
    QVERIFY(labelWith(window, "Waiting for permission"));
}

void OnboardingTest::theRelaunchButtonRelaunches()
{
    ShownAssistant assistant;
    assistant.platform.grantAccess();
    assistant.platform.refuseTap();
    const auto& window = assistant.show(2);

    press(window, "Relaunch Knucklet");
    assistant.platform.answerNewInstance();
    assistant.platform.runDeferred();

    QCOMPARE(callsOf(assistant.platform).count("open new instance"), 1);
    QVERIFY(assistant.platform.hasTerminated());
}

void OnboardingTest::theCardChangesBeforeTheEyes()
{
    ShownAssistant assistant;
    auto& window = assistant.show(2);
    const auto before = window.grab().toImage();

    assistant.platform.grantAccess();
    assistant.platform.advance(2s);
    QCoreApplication::processEvents();
    const auto isMoving = transition(window) != nullptr;
    const auto during = window.grab().toImage();
    QTRY_VERIFY(!transition(window));
    const auto after = window.grab().toImage();

    QVERIFY(isMoving);
    QVERIFY(after != before);
    QVERIFY(during != after);
}

void OnboardingTest::withReducedMotionTheCardChangesAtOnce()
{
    ShownAssistant assistant;
    assistant.platform.setAppearance(ColorScheme::Light, Motion::Reduced);
    auto& window = assistant.show(2);

    assistant.platform.grantAccess();
    assistant.platform.advance(2s);
    QCoreApplication::processEvents();

    QVERIFY(labelWith(window, "Key counting is on"));
    QVERIFY(!transition(window));
}

void OnboardingTest::leavingThePageEndsTheMovement()
{
    ShownAssistant assistant;
    auto& window = assistant.show(2);
    assistant.platform.grantAccess();
    assistant.platform.advance(2s);
    QCoreApplication::processEvents();
    QVERIFY(transition(window));

    press(window, "Back");

    QVERIFY(!transition(window) || !transition(window)->isVisible());
}

void OnboardingTest::theCheckBoxesFollowTheModelBothWays()
{
    ShownAssistant assistant;
    const auto& window = assistant.show(3);
    auto& state = *assistant.state;
    const auto* counts = buttonWith(window, "Show live counts next to the menu bar icon");
    const auto* login = buttonWith(window, "Launch Knucklet at login");
    QVERIFY(counts && login);

    press(window, counts->text());
    press(window, login->text());
    const bool both = state.showCountsInMenuBar && state.launchAtLogin;
    state.showCountsInMenuBar = false;
    state.launchAtLogin = false;
    QCoreApplication::processEvents();

    QVERIFY(both);
    QCOMPARE(assistant.platform.setting("showCountsInMenuBar"), std::optional(false));
    QVERIFY(!counts->isChecked());
    QVERIFY(!login->isChecked());
}

void OnboardingTest::aRefusedLoginItemUnticksItsBox()
{
    ShownAssistant assistant;
    assistant.platform.refuseLoginItem();
    const auto& window = assistant.show(3);

    press(window, "Launch Knucklet at login");

    QVERIFY(!assistant.state->launchAtLogin);
    QVERIFY(!theButton(window, "Launch Knucklet at login").isChecked());
}

void OnboardingTest::theCheckBoxesKeepTheirValuesFromPageToPage()
{
    ShownAssistant assistant;
    const auto& window = assistant.show(3);
    press(window, "Show live counts next to the menu bar icon");

    press(window, "Back");
    press(window, "Continue");

    QVERIFY(theButton(window, "Show live counts next to the menu bar icon").isChecked());
    QVERIFY(!theButton(window, "Launch Knucklet at login").isChecked());
}

static const TestArea area("Onboarding", runTest<OnboardingTest, QApplication>);
#include "OnboardingTest.moc"
