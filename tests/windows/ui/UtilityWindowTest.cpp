#include "windows/ui/UtilityWindow.h"

#include "platform/WindowActivation.h"
#include "platform/fake/FakeWindows.h"
#include "support/Patience.h"
#include "support/TestArea.h"
#include "support/Widgets.h"
#include "windows/ui/Controls.h"
#include "windows/ui/Look.h"

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

class RecordingActivation final : public WindowActivation {
public:
    void activate(NativeWindow window) override { activated.push_back(window); }

    std::vector<NativeWindow> activated;
};

View page(const QString& text) { return column({ label(text), spacer() }).width(300).height(200); }

/// Found by its type in C++, since it is no class of its own to Qt.
QWidget* contentOf(const UtilityWindow& window)
{
    const auto children = window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    const auto isContent = [](const QWidget* child) { return dynamic_cast<const Host*>(child) != nullptr; };
    const auto found = std::find_if(children.begin(), children.end(), isContent);
    return found == children.end() ? nullptr : *found;
}

bool showsText(const QWidget& window, const QString& text)
{
    for (const auto* label : window.findChildren<QLabel*>()) {
        if (label->text() == text && label->isVisible())
            return true;
    }
    return false;
}

}

class UtilityWindowTest final : public QObject {
    Q_OBJECT

private slots:
    void init() { edges.setEdge(WindowEdge::Square); }

    void theContentDecidesTheSizeAndNobodyElseMay();
    void theFrameIsEqualOnEachSideAtEveryScale_data();
    void theFrameIsEqualOnEachSideAtEveryScale();
    void theFrameFollowsRoundCorners_data();
    void theFrameFollowsRoundCorners();
    void aShadowIsNoPartOfTheSizeOrThePlace();
    void theTitleIsForTheSystemOnly();
    void theWindowIsCenteredOnlyTheFirstTime();
    void eachPresentingReplacesTheContent();
    void presentingAgainLeavesTheWindowOnTheScreen();
    void eachPresentingBringsTheWindowToTheFront();
    void anIconifiedWindowIsRestored();
    void theCloseButtonStandsInTheCornerWhereReadingEnds_data();
    void theCloseButtonStandsInTheCornerWhereReadingEnds();
    void theCloseButtonAndItsShortcutClose_data();
    void theCloseButtonAndItsShortcutClose();
    void theCloseButtonShowsThatThePointerIsOverItAndThatItIsPressed();
    void aClosedWindowLetsItsContentGo();
    void contentMayCloseOrReplaceItselfFromItsOwnButton();
    void returnAndEnterPressTheDefaultButtonWhateverHasTheFocus_data();
    void returnAndEnterPressTheDefaultButtonWhateverHasTheFocus();
    void aHeldReturnPressesOnce();
    void withoutADefaultButtonReturnPressesTheFocusedOne();
    void returnTicksNoBox();
    void theDefaultButtonHasTheFocusFirst();

private:
    RecordingActivation activation;
    std::vector<std::string> calls;
    FakeWindows edges { calls };
};

void UtilityWindowTest::theContentDecidesTheSizeAndNobodyElseMay()
{
    UtilityWindow window("Title", activation, edges);

    window.present([] { return page("one"); });

    QCOMPARE(window.size(), QSize(300, 200));
    QCOMPARE(window.minimumSize(), window.size());
    QCOMPARE(window.maximumSize(), window.size());
}

void UtilityWindowTest::theFrameIsEqualOnEachSideAtEveryScale_data()
{
    QTest::addColumn<double>("ratio");

    for (const double ratio : { 1.0, 1.25, 1.5, 1.75, 2.0 })
        QTest::addRow("%g", ratio) << ratio;
}

void UtilityWindowTest::theFrameIsEqualOnEachSideAtEveryScale()
{
    QFETCH(const double, ratio);
    UtilityWindow window("Title", activation, edges);
    window.present([] { return column({ label(""), spacer() }).width(301).height(203); });
    QImage picture(window.size() * ratio, QImage::Format_RGB32);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::red);

    QPainter painter(&picture);
    window.render(&painter);

    const auto thickness = static_cast<int>(ratio);
    const auto inside = picture.rect().adjusted(thickness, thickness, -thickness, -thickness);
    const auto frame = picture.pixel(0, 0);
    const auto ground = picture.pixel(thickness, thickness);
    QVERIFY(frame != ground);
    const auto middle = picture.rect().center();
    for (int x = 0; x < picture.width(); ++x)
        QCOMPARE(picture.pixel(x, middle.y()), inside.contains(x, middle.y()) ? ground : frame);
    for (int y = 0; y < picture.height(); ++y)
        QCOMPARE(picture.pixel(middle.x(), y), inside.contains(middle.x(), y) ? ground : frame);
}

void UtilityWindowTest::theFrameFollowsRoundCorners_data()
{
    QTest::addColumn<ColorScheme>("scheme");
    QTest::addColumn<WindowEdge>("edge");

    QTest::newRow("light") << ColorScheme::Light << WindowEdge::Round;
    QTest::newRow("dark") << ColorScheme::Dark << WindowEdge::Round;
    QTest::newRow("light, with a shadow") << ColorScheme::Light << WindowEdge::RoundWithShadow;
    QTest::newRow("dark, with a shadow") << ColorScheme::Dark << WindowEdge::RoundWithShadow;
}

void UtilityWindowTest::theFrameFollowsRoundCorners()
{
    QFETCH(const ColorScheme, scheme);
    QFETCH(const WindowEdge, edge);
    applyLook(scheme, Motion::Full);
    edges.setEdge(edge);
    UtilityWindow window("Title", activation, edges);
    window.present([] { return column({ label(""), spacer() }).width(301).height(203); });
    constexpr int ratio = 4;
    QImage picture(window.size() * ratio, QImage::Format_RGB32);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::red);

    QPainter painter(&picture);
    window.render(&painter);
    painter.end();

    const int margin = window.contentsMargins().left() * ratio;
    const auto body = picture.rect().adjusted(margin, margin, -margin, -margin);
    const auto line = picture.pixel(body.left(), body.center().y());
    const auto ground = picture.pixel(body.center().x(), body.bottom() - 2 * ratio);
    QVERIFY(line != ground);
    // From each corner inward: what is behind, the line, the ground. On a circle of 12 points the line is met
    // after 3.5.
    const QPoint across(body.width() - 1, 0);
    const QPoint down(0, body.height() - 1);
    const std::pair<QPoint, QPoint> corners[] {
        { body.topLeft(), { 1, 1 } },
        { body.topLeft() + across, { -1, 1 } },
        { body.topLeft() + down, { 1, -1 } },
        { body.topLeft() + across + down, { -1, -1 } },
    };
    for (const auto& [corner, inward] : corners) {
        const auto behind = picture.pixelColor(corner);
        QCOMPARE(behind.green(), 0);
        QVERIFY(edge == WindowEdge::Round ? behind == QColor(Qt::red) : behind.red() < 255);
        int met = 0;
        while (met < 12 * ratio && picture.pixel(corner + met * inward) != line)
            ++met;
        QCOMPARE_GT(met, 3 * ratio);
        QCOMPARE_LT(met, 5 * ratio);
        QCOMPARE(picture.pixel(corner + (met + 2 * ratio) * inward), ground);
    }
    applyLook(ColorScheme::Light, Motion::Full);
}

void UtilityWindowTest::aShadowIsNoPartOfTheSizeOrThePlace()
{
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });
    const auto place = window.geometry();
    const auto shadow = [&] { return edges.shadowOf(NativeWindow { window.winId() }); };
    QCOMPARE(shadow().margin, 0);

    edges.setEdge(WindowEdge::RoundWithShadow);

    const int margin = shadow().margin;
    QVERIFY(margin > 0);
    QCOMPARE(window.geometry(), place.adjusted(-margin, -margin, margin, margin));
    QCOMPARE(QSize(shadow().width, shadow().height), window.size());
    QCOMPARE(contentOf(window)->geometry(), QRect({ margin, margin }, place.size()));

    // Also what opens later stands where it would have without.
    window.close();
    edges.setEdge(WindowEdge::Round);
    window.present([] { return page("two"); });
    QCOMPARE(window.geometry(), place);
    QCOMPARE(shadow().margin, 0);
}

void UtilityWindowTest::theTitleIsForTheSystemOnly()
{
    UtilityWindow window("Title", activation, edges);

    window.present([] { return page("one"); });

    QCOMPARE(window.windowTitle(), "Title");
    QVERIFY(window.windowFlags().testFlag(Qt::FramelessWindowHint));
    QCOMPARE(window.windowType(), Qt::Window);
    QVERIFY(!showsText(window, "Title"));
}

void UtilityWindowTest::theWindowIsCenteredOnlyTheFirstTime()
{
    const auto middle = QGuiApplication::primaryScreen()->availableGeometry().center();
    UtilityWindow window("Title", activation, edges);

    window.present([] { return page("one"); });
    const auto first = window.geometry().center();
    window.move(10, 20);
    window.present([] { return page("two"); });
    const auto whileOpen = window.pos();
    window.close();
    window.present([] { return page("three"); });

    QCOMPARE(first, middle);
    QCOMPARE(whileOpen, QPoint(10, 20));
    QCOMPARE(window.pos(), QPoint(10, 20));
}

void UtilityWindowTest::eachPresentingReplacesTheContent()
{
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });

    window.present([] { return page("two"); });

    QVERIFY(showsText(window, "two"));
    QVERIFY(!showsText(window, "one"));
}

void UtilityWindowTest::presentingAgainLeavesTheWindowOnTheScreen()
{
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    const QSignalSpy changes(window.windowHandle(), &QWindow::visibleChanged);

    window.present([] { return page("two"); });

    QCOMPARE(changes.count(), 0);
    QVERIFY(window.isActiveWindow());
}

void UtilityWindowTest::eachPresentingBringsTheWindowToTheFront()
{
    activation.activated.clear();
    UtilityWindow window("Title", activation, edges);

    window.present([] { return page("one"); });
    window.present([] { return page("two"); });

    const NativeWindow native { window.winId() };
    QCOMPARE(activation.activated, (std::vector { native, native }));
}

void UtilityWindowTest::anIconifiedWindowIsRestored()
{
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });
    window.setWindowState(Qt::WindowMinimized);

    window.present([] { return page("two"); });

    QVERIFY(!window.isMinimized());
    QVERIFY(window.isVisible());
}

void UtilityWindowTest::theCloseButtonStandsInTheCornerWhereReadingEnds_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");

    QTest::newRow("left to right") << Qt::LeftToRight;
    QTest::newRow("right to left") << Qt::RightToLeft;
}

void UtilityWindowTest::theCloseButtonStandsInTheCornerWhereReadingEnds()
{
    QFETCH(const Qt::LayoutDirection, direction);
    UtilityWindow window("Title", activation, edges);
    window.setLayoutDirection(direction);

    window.present([] { return page("one"); });

    const auto button = theButton(window, "Close").geometry();
    const int end = direction == Qt::LeftToRight ? window.width() - 1 - button.right() : button.left();
    QCOMPARE(end, 10);
    QCOMPARE(button.top(), 10);
}

void UtilityWindowTest::theCloseButtonAndItsShortcutClose_data()
{
    QTest::addColumn<bool>("byButton");

    QTest::newRow("the button") << true;
    QTest::newRow("the shortcut") << false;
}

void UtilityWindowTest::theCloseButtonShowsThatThePointerIsOverItAndThatItIsPressed()
{
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });
    auto& button = theButton(window, "Close");
    // Beside the cross, which is in the middle.
    const auto face = [&] {
        const auto place = button.geometry();
        return qGray(window.grab().toImage().pixel(place.left() + 4, place.center().y()));
    };

    const int atRest = face();
    button.setAttribute(Qt::WA_UnderMouse);
    const int underPointer = face();
    button.setDown(true);
    const int pressed = face();

    QCOMPARE_LT(underPointer, atRest);
    QCOMPARE_LT(pressed, underPointer);
}

void UtilityWindowTest::theCloseButtonAndItsShortcutClose()
{
    QFETCH(const bool, byButton);
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));

    if (byButton)
        QTest::mouseClick(&theButton(window, "Close"), Qt::LeftButton);
    else
        QTest::keySequence(&window, QKeySequence::Close);

    QVERIFY(!window.isVisible());
}

void UtilityWindowTest::aClosedWindowLetsItsContentGo()
{
    UtilityWindow window("Title", activation, edges);
    window.present([] { return page("one"); });
    const QPointer<QWidget> content = contentOf(window);
    QVERIFY(content);

    window.close();

    QTRY_VERIFY(!content);
}

void UtilityWindowTest::contentMayCloseOrReplaceItselfFromItsOwnButton()
{
    UtilityWindow window("Title", activation, edges);
    const auto closes = [&] { return column({ button("close", [&] { window.close(); }) }); };
    window.present([&] { return column({ button("replace", [&] { window.present(closes); }) }); });

    QTest::mouseClick(&theButton(window, "replace"), Qt::LeftButton);
    QTRY_VERIFY(!buttonWith(window, "replace"));
    QTest::mouseClick(&theButton(window, "close"), Qt::LeftButton);

    QVERIFY(!window.isVisible());
    QTRY_VERIFY(!buttonWith(window, "close"));
}

void UtilityWindowTest::returnAndEnterPressTheDefaultButtonWhateverHasTheFocus_data()
{
    QTest::addColumn<QString>("focus");
    QTest::addColumn<Qt::Key>("key");

    for (const auto* focus : { "go", "other", "box", "Close" }) {
        QTest::addRow("Return, %s", focus) << focus << Qt::Key_Return;
        QTest::addRow("Enter, %s", focus) << focus << Qt::Key_Enter;
    }
}

void UtilityWindowTest::returnAndEnterPressTheDefaultButtonWhateverHasTheFocus()
{
    QFETCH(const QString, focus);
    QFETCH(const Qt::Key, key);
    int pressed = 0;
    UtilityWindow window("Title", activation, edges);
    window.present([&] {
        return column({
            toggle("box", false, [&](bool) { pressed += 100; }),
            button("other", [&] { pressed += 100; }, { .isProminent = true }),
            button("go", [&] { ++pressed; }, { .isDefault = true }),
        });
    });
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    theButton(window, focus).setFocus();

    QTest::keyClick(&window, key);

    QCOMPARE(pressed, 1);
    QVERIFY(window.isVisible());
}

void UtilityWindowTest::aHeldReturnPressesOnce()
{
    int pressed = 0;
    UtilityWindow window("Title", activation, edges);
    window.present([&] { return column({ button("go", [&] { ++pressed; }, { .isDefault = true }) }); });
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));

    QTest::keyPress(&window, Qt::Key_Return);
    for (int i = 0; i < 10; ++i) {
        QTest::simulateEvent(&window, true, Qt::Key_Return, {}, {}, true);
    }
    QTest::keyRelease(&window, Qt::Key_Return);

    QCOMPARE(pressed, 1);
}

void UtilityWindowTest::withoutADefaultButtonReturnPressesTheFocusedOne()
{
    int pressed = 0;
    UtilityWindow window("Title", activation, edges);
    window.present([&] {
        return column({ button("first", [&] { ++pressed; }), button("other", [&] { pressed += 100; }) });
    });
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    theButton(window, "first").setFocus();

    QTest::keyClick(window.focusWidget(), Qt::Key_Return);

    QCOMPARE(pressed, 1);
}

void UtilityWindowTest::returnTicksNoBox()
{
    int ticked = 0;
    UtilityWindow window("Title", activation, edges);
    window.present([&] { return column({ toggle("box", false, [&](bool) { ++ticked; }) }); });
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    theButton(window, "box").setFocus();

    QTest::keyClick(window.focusWidget(), Qt::Key_Return);

    QCOMPARE(ticked, 0);
}

void UtilityWindowTest::theDefaultButtonHasTheFocusFirst()
{
    UtilityWindow window("Title", activation, edges);

    window.present([] {
        return column({ button("other", [] {}), button("go", [] {}, { .isDefault = true }) });
    });

    QCOMPARE(window.focusWidget(), buttonWith(window, "go"));
}

static const TestArea area("UtilityWindow", runTest<UtilityWindowTest, QApplication>);
#include "UtilityWindowTest.moc"
