#include "support/Patience.h"
#include "support/TestArea.h"
#include "support/Widgets.h"
#include "windows/ui/Controls.h"
#include "windows/ui/Look.h"
#include "windows/ui/View.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// What would do nothing for a view does not compile.
template <typename Kind>
concept IsClipped = requires(Kind view)
{
    std::move(view).clip(1);
};
template <typename Kind>
concept IsPadded = requires(Kind view)
{
    std::move(view).padding(1);
};
template <typename Kind>
concept HasBackground = requires(Kind view)
{
    std::move(view).background(ThemeColor {}, 1);
};
template <typename Kind>
concept FillsWidth = requires(Kind view)
{
    std::move(view).fillWidth();
};
template <typename Kind>
concept IsAnimated = requires(Kind view)
{
    std::move(view).animated(1);
};

static_assert(
    IsPadded<StackView> && HasBackground<StackView> && FillsWidth<StackView> && IsAnimated<StackView>);
static_assert(!IsPadded<View> && !HasBackground<View> && !FillsWidth<View> && !IsAnimated<View>);
static_assert(IsClipped<PictureView> && !IsClipped<View> && !IsClipped<StackView>);

QCheckBox* boxOf(const Host& host) { return host.findChild<QCheckBox*>(); }

QRect placeOf(const Host& host, const QWidget* widget)
{
    return widget ? widget->rect().translated(widget->mapTo(&host, QPoint())) : QRect();
}

/// The box of all that is drawn on a plain ground.
QRect inkOf(const QImage& picture)
{
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) != picture.pixel(0, 0))
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

/// Counts the events of some types that reach a widget or anything inside it.
class EventCounter final : public QObject {
public:
    EventCounter(QWidget& root, std::vector<QEvent::Type> types)
        : types(std::move(types))
    {
        root.installEventFilter(this);
        for (auto* child : root.findChildren<QWidget*>())
            child->installEventFilter(this);
    }

    bool eventFilter(QObject*, QEvent* event) override
    {
        count += static_cast<int>(std::ranges::count(types, event->type()));
        return false;
    }

    int count = 0;

private:
    std::vector<QEvent::Type> types;
};

void doNothing() { }

}

class HostTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void aButtonHeldDownAcrossManyRendersIsNotLost();
    void aButtonHeldDownSurvivesItsNeighborsComingAndGoing();
    void aClickRunsTheActionOfTheLatestRender();
    void anyNumberOfChangesInOneTurnCostOneRender();
    void nothingIsDescribedBeforeTheFirstShowing();
    void nothingIsDescribedWhileHidden();
    void eachShowingBeginsWithOneRender();
    void aChangeDuringARenderIsNotLost();
    void aRenderWithoutADifferencePaintsNothing();
    void aWidgetIsReplacedOnlyWhenItsTypeChanges();
    void aChildThatComesOrGoesLeavesItsSiblingsAlone();
    void aListMayGrowAndShrink();
    void nothingIsLeftOfWhatStoodInAPlaceBefore();
    void anAbsentViewTakesNoRoomAndAddsNoSpacing();
    void theHostGrowsAndShrinksWithItsContent();
    void fontAndColorHoldForEverythingInside();
    void colorsFollowTheScheme();

    void aToggleHandsOverWhatTheUserWants_data();
    void aToggleHandsOverWhatTheUserWants();
    void aToggleShowsTheModelAfterEachRender();
    void aToggleShowsTheModelThatWentTrueAndBackInOneTurn();
    void everyOneOfTwoClicksInOneTurnCounts();
    void renderingAToggleHandsOverNothing();

    void rowsAreMirroredWhereReadingBeginsAtTheRight();
    void thoseThatFillTheWidthShareItEqually();
    void aLabelWithoutRoomIsTruncated();
    void aParagraphIsNeverTruncated();
    void aParagraphDoesNotEndInASingleWord_data();
    void aParagraphDoesNotEndInASingleWord();
    void aParagraphKeepsLongWordsWhole_data();
    void aParagraphKeepsLongWordsWhole();
    void theTabKeyGoesDownTheScreenAlsoToLateComers();
    void returnPressesTheFocusedButton_data();
    void returnPressesTheFocusedButton();
    void inAnInactiveWindowAControlThatGoesLeavesTheFocusToTheNextAsWell();
    void theFocusRingShowsOnlyToThoseWhoUseTheKeyboard();
    void aStackWithATextIsReadAsOneElement();
};

void HostTest::initTestCase()
{
    loadFonts();
    applyLook(ColorScheme::Light, Motion::Full);
}

void HostTest::aButtonHeldDownAcrossManyRendersIsNotLost()
{
    int count = 0;
    int pressed = 0;
    Host host([&] { return column({ label(QString::number(count)), button("Press", [&] { ++pressed; }) }); });
    host.show();
    auto* button = buttonWith(host, "Press");

    QTest::mousePress(button, Qt::LeftButton);
    for (int i = 0; i < 200; ++i) {
        ++count;
        host.invalidate();
        QCoreApplication::processEvents();
    }
    const bool staysDown = button->isDown();
    QTest::mouseRelease(&theButton(host, "Press"), Qt::LeftButton);

    QVERIFY(staysDown);
    QVERIFY(labelWith(host, "200"));
    QCOMPARE(pressed, 1);
}

void HostTest::aButtonHeldDownSurvivesItsNeighborsComingAndGoing()
{
    bool hasNeighbors = false;
    int pressed = 0;
    Host host([&] {
        return row({
            hasNeighbors ? label("before") : View(),
            button("Press", [&] { ++pressed; }),
            hasNeighbors ? button("after", doNothing) : View(),
        });
    });
    host.show();
    auto* button = buttonWith(host, "Press");

    QTest::mousePress(button, Qt::LeftButton);
    for (int i = 0; i < 5; ++i) {
        hasNeighbors = !hasNeighbors;
        host.renderNow();
    }
    QTest::mouseRelease(button, Qt::LeftButton);

    QVERIFY(labelWith(host, "before"));
    QCOMPARE(pressed, 1);
}

void HostTest::aClickRunsTheActionOfTheLatestRender()
{
    int generation = 1;
    int ran = 0;
    Host host([&] { return button("Press", [&ran, generation] { ran = generation; }); });
    host.show();

    generation = 2;
    host.renderNow();
    QTest::mouseClick(&theButton(host, "Press"), Qt::LeftButton);

    QCOMPARE(ran, 2);
}

void HostTest::anyNumberOfChangesInOneTurnCostOneRender()
{
    int renders = 0;
    Host host([&] {
        ++renders;
        return label("text");
    });
    host.show();
    renders = 0;

    for (int i = 0; i < 1000; ++i)
        host.invalidate();
    const int rendersWithinTheTurn = renders;
    QCoreApplication::processEvents();

    QCOMPARE(rendersWithinTheTurn, 0);
    QCOMPARE(renders, 1);
}

void HostTest::nothingIsDescribedBeforeTheFirstShowing()
{
    int renders = 0;
    Host host([&] {
        ++renders;
        return label("text");
    });

    host.invalidate();
    QCoreApplication::processEvents();

    QCOMPARE(renders, 0);
}

void HostTest::nothingIsDescribedWhileHidden()
{
    int renders = 0;
    Host host([&] {
        ++renders;
        return label("text");
    });
    host.show();
    renders = 0;

    // The first change is on its way when the host is hidden.
    host.invalidate();
    host.hide();
    QCoreApplication::processEvents();
    host.invalidate();
    QCoreApplication::processEvents();

    QCOMPARE(renders, 0);
}

void HostTest::eachShowingBeginsWithOneRender()
{
    int renders = 0;
    Host host([&] {
        ++renders;
        return label(QString::number(renders));
    });
    host.show();
    host.invalidate();
    host.hide();
    renders = 10;

    host.show();
    const bool isFreshAtOnce = labelWith(host, "11");
    QCoreApplication::processEvents();

    QVERIFY(isFreshAtOnce);
    QCOMPARE(renders, 11);
}

void HostTest::aChangeDuringARenderIsNotLost()
{
    int value = 1;
    Host* self = nullptr;
    Host host([&] {
        auto view = label(QString::number(value));
        if (value == 1 && self->isVisible()) {
            value = 2;
            self->invalidate();
        }
        return view;
    });
    self = &host;

    host.show();
    QCoreApplication::processEvents();

    QVERIFY(labelWith(host, "2"));
}

void HostTest::aRenderWithoutADifferencePaintsNothing()
{
    Host host([&] {
        return column({
            row({ symbol("keyboard.fill"), label("text").font(11).color(Theme::keyAccent), spacer() })
                .padding(10)
                .background(Theme::keyAccent.withOpacity(0.1), 10)
                .help("help")
                .read("read"),
            paragraph("some more text"),
            toggle("toggle", true, [](bool) {}),
            button("button", doNothing),
            symbolButton("lock.shield", "lock", doNothing),
            divider(),
        });
    });
    host.show();
    QVERIFY(QTest::qWaitForWindowExposed(&host, patience));
    host.renderNow();
    QCoreApplication::processEvents();
    EventCounter events(host,
        { QEvent::Paint, QEvent::UpdateRequest, QEvent::LayoutRequest, QEvent::Resize, QEvent::Move,
            QEvent::FontChange, QEvent::PaletteChange, QEvent::ToolTipChange });

    host.renderNow();
    QCoreApplication::processEvents();

    QCOMPARE(events.count, 0);
}

void HostTest::aWidgetIsReplacedOnlyWhenItsTypeChanges()
{
    bool isLabel = true;
    QString text = "one";
    Host host([&] { return column({ isLabel ? label(text) : button(text, doNothing) }); });
    host.show();
    const auto* first = labelWith(host, "one");

    text = "two";
    host.renderNow();
    const auto* second = labelWith(host, "two");
    isLabel = false;
    host.renderNow();

    QCOMPARE(second, first);
    QVERIFY(!labelWith(host, "two"));
    QVERIFY(theButton(host, "two").isVisible());
}

void HostTest::aChildThatComesOrGoesLeavesItsSiblingsAlone()
{
    bool hasMiddle = false;
    Host host([&] {
        return column({ label("first"), hasMiddle ? label("middle") : View(), label("last") });
    });
    host.show();
    const auto* first = labelWith(host, "first");
    const auto* last = labelWith(host, "last");

    hasMiddle = true;
    host.renderNow();
    const bool isBetween = placeOf(host, labelWith(host, "middle")).top() > placeOf(host, first).bottom()
        && placeOf(host, labelWith(host, "middle")).bottom() < placeOf(host, last).top();
    hasMiddle = false;
    host.renderNow();

    QVERIFY(isBetween);
    QCOMPARE(labelWith(host, "first"), first);
    QCOMPARE(labelWith(host, "last"), last);
    QVERIFY(!labelWith(host, "middle"));
}

void HostTest::aListMayGrowAndShrink()
{
    int count = 3;
    Host host([&] {
        std::vector<View> labels;
        labels.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            labels.push_back(label(QString::number(i)));
        return column(std::move(labels));
    });
    host.show();
    const auto* first = labelWith(host, "0");

    count = 5;
    host.renderNow();
    const bool grew = labelWith(host, "4") && theLabel(host, "4").isVisible();
    count = 1;
    host.renderNow();

    QVERIFY(grew);
    QCOMPARE(labelWith(host, "0"), first);
    QCOMPARE(host.findChildren<QLabel*>().size(), 1);
    QCOMPARE(host.height(), first->height());
}

void HostTest::nothingIsLeftOfWhatStoodInAPlaceBefore()
{
    bool isPlain = false;
    Host host([&]() -> View {
        if (isPlain)
            return column({ label("text") });
        return column({ label("text").font(26).color(Theme::keyAccent).help("help") })
            .padding(10)
            .background(Theme::keyAccent, 8)
            .width(200)
            .read("all of it");
    });
    Host plain([] { return column({ label("text") }); });
    host.show();
    plain.show();

    isPlain = true;
    host.renderNow();

    const auto* text = labelWith(host, "text");
    QCOMPARE(text->toolTip(), QString());
    QCOMPARE(text->parentWidget()->accessibleName(), QString());
    QCOMPARE(host.size(), plain.size());
    QCOMPARE(host.grab().toImage(), plain.grab().toImage());
}

void HostTest::anAbsentViewTakesNoRoomAndAddsNoSpacing()
{
    Host host([] { return column({ label("first"), View(), View(), label("last") }, { .spacing = 14 }); });

    host.show();

    const auto first = placeOf(host, labelWith(host, "first"));
    const auto last = placeOf(host, labelWith(host, "last"));
    QCOMPARE(last.top() - (first.bottom() + 1), 14);
}

void HostTest::theHostGrowsAndShrinksWithItsContent()
{
    bool isLong = false;
    Host host([&] { return column({ label("first"), isLong ? label("more") : View() }).width(300); });
    host.show();
    const auto before = host.size();

    isLong = true;
    host.renderNow();
    const auto grown = host.size();
    isLong = false;
    host.renderNow();

    QCOMPARE(before.width(), 300);
    QCOMPARE(grown.width(), 300);
    QCOMPARE(grown.height(), before.height() + 8 + theLabel(host, "first").height());
    QCOMPARE(host.size(), before);
}

void HostTest::fontAndColorHoldForEverythingInside()
{
    Host host([] {
        return column({ row({ label("inside"), label("own").font(20) }) })
            .font(11, QFont::Medium)
            .color(Theme::clickAccent);
    });

    host.show();

    const auto* inside = labelWith(host, "inside");
    const auto* own = labelWith(host, "own");
    QCOMPARE(inside->font().pixelSize(), 11);
    QCOMPARE(inside->font().weight(), QFont::Medium);
    QCOMPARE(inside->palette().color(QPalette::WindowText), resolved(Theme::clickAccent, Qt::black));
    QCOMPARE(own->font().pixelSize(), 20);
}

void HostTest::colorsFollowTheScheme()
{
    Host host([] { return label("text").color(Theme::secondary); });
    host.show();
    const auto lightness
        = [&] { return theLabel(host, "text").palette().color(QPalette::WindowText).lightness(); };
    const int inLight = lightness();

    applyLook(ColorScheme::Dark, Motion::Full);

    QTRY_VERIFY(lightness() > 200);
    applyLook(ColorScheme::Light, Motion::Full);
    QTRY_COMPARE(lightness(), inLight);
}

void HostTest::aToggleHandsOverWhatTheUserWants_data()
{
    QTest::addColumn<QString>("by");

    QTest::newRow("a click on the box") << "mouse";
    QTest::newRow("the space bar") << "keyboard";
    QTest::newRow("an assistive program") << "assistive program";
}

void HostTest::aToggleHandsOverWhatTheUserWants()
{
    QFETCH(const QString, by);
    bool isOn = false;
    int assigned = 0;
    Host host([&] {
        return toggle("toggle", isOn, [&](bool wanted) {
            isOn = wanted;
            ++assigned;
        });
    });
    host.show();

    if (by == "mouse") {
        QTest::mouseClick(boxOf(host), Qt::LeftButton);
    } else if (by == "keyboard") {
        QTest::keyClick(boxOf(host), Qt::Key_Space);
    } else {
        auto* box = QAccessible::queryAccessibleInterface(boxOf(host));
        box->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    }
    host.renderNow();

    QVERIFY(isOn);
    QCOMPARE(assigned, 1);
    QVERIFY(boxOf(host)->isChecked());
}

void HostTest::aToggleShowsTheModelAfterEachRender()
{
    // A model that refuses.
    Host host([&] { return toggle("toggle", false, [](bool) {}); });
    host.show();

    QTest::mouseClick(boxOf(host), Qt::LeftButton);
    host.renderNow();

    QVERIFY(!boxOf(host)->isChecked());
}

void HostTest::aToggleShowsTheModelThatWentTrueAndBackInOneTurn()
{
    bool isOn = false;
    Host* self = nullptr;
    Host host([&] {
        return toggle("toggle", isOn, [&](bool wanted) {
            isOn = wanted;
            self->invalidate();
            isOn = !wanted;
            self->invalidate();
        });
    });
    self = &host;
    host.show();

    QTest::mouseClick(boxOf(host), Qt::LeftButton);
    QCoreApplication::processEvents();

    QVERIFY(!isOn);
    QVERIFY(!boxOf(host)->isChecked());
}

void HostTest::everyOneOfTwoClicksInOneTurnCounts()
{
    bool isOn = false;
    std::vector<bool> assigned;
    Host host([&] {
        return toggle("toggle", isOn, [&](bool wanted) {
            isOn = wanted;
            assigned.push_back(wanted);
        });
    });
    host.show();

    boxOf(host)->click();
    boxOf(host)->click();
    host.renderNow();

    QCOMPARE(assigned, (std::vector { true, false }));
    QVERIFY(!boxOf(host)->isChecked());
}

void HostTest::renderingAToggleHandsOverNothing()
{
    bool isOn = false;
    int assigned = 0;
    Host host([&] { return toggle("toggle", isOn, [&](bool) { ++assigned; }); });
    host.show();

    for (int i = 0; i < 3; ++i) {
        isOn = !isOn;
        host.renderNow();
    }

    QVERIFY(boxOf(host)->isChecked());
    QCOMPARE(assigned, 0);
}

void HostTest::rowsAreMirroredWhereReadingBeginsAtTheRight()
{
    Host host([] {
        return column({
                          row({ label("first"), spacer(), label("last") }),
                          label("below"),
                      })
            .padding(10)
            .width(200);
    });
    host.setLayoutDirection(Qt::RightToLeft);

    host.show();

    QCOMPARE(placeOf(host, labelWith(host, "first")).right(), 189);
    QCOMPARE(placeOf(host, labelWith(host, "last")).left(), 10);
    QCOMPARE(placeOf(host, labelWith(host, "below")).right(), 189);
}

void HostTest::thoseThatFillTheWidthShareItEqually()
{
    Host host([] {
        return column({
                          row({ column({ label("a") }).fillWidth(),
                                  column({ label("a much longer text") }).fillWidth() },
                              { .spacing = 10 }),
                      })
            .width(272);
    });

    host.show();

    QCOMPARE(theLabel(host, "a").parentWidget()->width(), 131);
    QCOMPARE(theLabel(host, "a much longer text").parentWidget()->width(), 131);
}

void HostTest::aLabelWithoutRoomIsTruncated()
{
    const QString text = "a text that is far too long for this";
    Host host([&] { return column({ row({ label(text), spacer(), label("end") }) }).width(100); });
    Host whole([&] { return label(text); });

    host.show();
    whole.show();

    QCOMPARE(host.width(), 100);
    QCOMPARE(placeOf(host, labelWith(host, "end")).right(), 99);
    QVERIFY(theLabel(host, text).width() < labelWith(whole, text)->width());
    QCOMPARE(theLabel(host, text).height(), labelWith(whole, text)->height());
}

void HostTest::aParagraphIsNeverTruncated()
{
    const QString text = "a text that is far too long for one line of this narrow window";
    Host host([&] { return column({ paragraph(text) }).width(100); });

    host.show();

    const auto* shown = labelWith(host, text);
    const auto needed = shown->fontMetrics().boundingRect(0, 0, 100, 1000, Qt::TextWordWrap, text);
    QCOMPARE(shown->width(), 100);
    QVERIFY(needed.height() > 2 * shown->fontMetrics().height());
    QCOMPARE(shown->height(), needed.height());
}

void HostTest::aParagraphDoesNotEndInASingleWord_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");

    QTest::newRow("left to right") << Qt::LeftToRight;
    QTest::newRow("right to left") << Qt::RightToLeft;
}

void HostTest::aParagraphDoesNotEndInASingleWord()
{
    QFETCH(const Qt::LayoutDirection, direction);
    const QString first = "a text whose second to last word goes with the";
    const QString text = first + " last";
    const QFontMetrics metrics(font(13));
    // All but the last word fits into the first line, and only just.
    const int width = metrics.horizontalAdvance(first) + 2;
    Host host([&] { return column({ paragraph(text) }).width(width); });
    host.setLayoutDirection(direction);

    host.show();

    const auto* shown = labelWith(host, text);
    QCOMPARE(shown->height(), 2 * metrics.height());
    const auto line = QRect(0, metrics.height(), width, metrics.height());
    const auto ink = inkOf(const_cast<QLabel*>(shown)->grab(line).toImage());
    QVERIFY(std::abs(ink.width() - metrics.horizontalAdvance("the last")) <= 3);
    QVERIFY((direction == Qt::LeftToRight ? ink.left() : width - 1 - ink.right()) <= 2);
}

void HostTest::aParagraphKeepsLongWordsWhole_data()
{
    QTest::addColumn<Qt::Alignment>("alignment");

    QTest::newRow("aligned") << Qt::Alignment(Qt::AlignLeft);
    QTest::newRow("centered") << Qt::Alignment(Qt::AlignHCenter);
}

void HostTest::aParagraphKeepsLongWordsWhole()
{
    QFETCH(const Qt::Alignment, alignment);
    const QString first = "unwahrscheinlicherweise";
    const QFontMetrics metrics(font(13));
    const int width = metrics.horizontalAdvance(first) + 2;
    QString text = first;
    Host host([&] { return column({ paragraph(text, alignment) }).width(width); });
    host.show();
    const auto alone = host.grab().toImage();

    text += " selbstverständlich";
    host.renderNow();

    QCOMPARE(host.height(), 2 * metrics.height());
    QCOMPARE(inkOf(host.grab().toImage().copy(alone.rect())).width(), inkOf(alone).width());
}

void HostTest::theTabKeyGoesDownTheScreenAlsoToLateComers()
{
    bool hasMiddle = false;
    Host host([&] {
        return column({
            button("first", doNothing),
            hasMiddle ? column({ button("middle", doNothing) }) : View(),
            button("last", doNothing),
        });
    });
    host.show();
    host.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&host, patience));
    hasMiddle = true;
    host.renderNow();
    theButton(host, "first").setFocus();

    QStringList order;
    for (int i = 0; i < 3; ++i) {
        order.append(static_cast<QPushButton*>(host.focusWidget())->text());
        QTest::keyClick(host.focusWidget(), Qt::Key_Tab);
    }

    QCOMPARE(order, (QStringList { "first", "middle", "last" }));
    QCOMPARE(static_cast<QPushButton*>(host.focusWidget())->text(), "first");
}

void HostTest::returnPressesTheFocusedButton_data()
{
    QTest::addColumn<Qt::Key>("key");

    QTest::newRow("Return") << Qt::Key_Return;
    QTest::newRow("Enter") << Qt::Key_Enter;
    QTest::newRow("Space") << Qt::Key_Space;
}

void HostTest::returnPressesTheFocusedButton()
{
    QFETCH(const Qt::Key, key);
    int pressed = 0;
    Host host([&] { return column({ button("first", doNothing), button("last", [&] { ++pressed; }) }); });
    host.show();
    host.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&host, patience));
    theButton(host, "last").setFocus();

    QTest::keyClick(host.focusWidget(), key);

    QCOMPARE(pressed, 1);
}

void HostTest::inAnInactiveWindowAControlThatGoesLeavesTheFocusToTheNextAsWell()
{
    bool hasFirst = true;
    Host host([&] {
        return column({
            hasFirst ? row({ button("first", doNothing) }) : View(),
            label("text"),
            button("second", doNothing),
            button("third", doNothing),
        });
    });
    host.show();
    auto* first = buttonWith(host, "first");
    QVERIFY(first);
    first->setFocus();
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other, patience));
    QVERIFY(!host.isActiveWindow());

    hasFirst = false;
    host.renderNow();

    QVERIFY(host.focusWidget());
    QCOMPARE(host.focusWidget(), buttonWith(host, "second"));
}

void HostTest::theFocusRingShowsOnlyToThoseWhoUseTheKeyboard()
{
    Host host([&] { return column({ button("first", doNothing), button("last", doNothing) }).padding(10); });
    host.show();
    host.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&host, patience));
    theButton(host, "first").setFocus(Qt::PopupFocusReason);
    const auto withoutFocus = host.grab().toImage();

    QTest::keyClick(host.focusWidget(), Qt::Key_Tab);
    const auto withFocus = host.grab().toImage();

    const auto control = placeOf(host, buttonWith(host, "last"));
    const QPoint beside(control.left() - 3, control.center().y());
    QVERIFY(withFocus.pixelColor(beside) != withoutFocus.pixelColor(beside));
    const auto other = placeOf(host, buttonWith(host, "first"));
    QCOMPARE(withFocus.copy(other), withoutFocus.copy(other));
}

void HostTest::aStackWithATextIsReadAsOneElement()
{
    Host host([&] {
        return column({
            column({ label("a"), label("b") }).read("a and b"),
            column({ label("c"), label("d") }),
        });
    });
    host.show();

    auto* one = QAccessible::queryAccessibleInterface(theLabel(host, "a").parentWidget());
    auto* two = QAccessible::queryAccessibleInterface(theLabel(host, "c").parentWidget());

    QCOMPARE(one->text(QAccessible::Name), "a and b");
    QCOMPARE(one->role(), QAccessible::StaticText);
    QCOMPARE(one->childCount(), 0);
    QCOMPARE(two->childCount(), 2);
    QCOMPARE(two->child(1)->text(QAccessible::Name), "d");
}

static const TestArea area("Host", runTest<HostTest, QApplication>);
#include "HostTest.moc"
