#include "windows/ui/Controls.h"

#include "support/TestArea.h"
#include "windows/ui/Look.h"
#include "windows/ui/View.h"

#include <QApplication>
#include <QCheckBox>
#include <QEnterEvent>
#include <QImage>
#include <QPainter>
#include <QPushButton>
#include <QTest>

#include <algorithm>
#include <array>
#include <cmath>

Q_DECLARE_METATYPE(View)
Q_DECLARE_METATYPE(ThemeColor)

namespace {

constexpr std::array scales { 1.0, 1.25, 1.5, 1.75, 2.0 };

/// As it is seen on a screen with so many pixels to a point.
QImage pictureOf(QWidget& widget, double ratio)
{
    QImage image(widget.size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    QPainter painter(&image);
    widget.render(&painter);
    return image;
}

/// The colors from the edge of what stands on a plain ground inward, on the way from a point of the ground.
QList<QColor> colorsFromEdge(const QImage& image, QPoint point, QPoint step)
{
    const auto ground = image.pixel(point);
    while (image.rect().contains(point) && image.pixel(point) == ground)
        point += step;
    QList<QColor> colors;
    for (int i = 0; i < 5 && image.rect().contains(point); ++i, point += step)
        colors.append(image.pixelColor(point));
    return colors;
}

double luminance(const QColor& color)
{
    const auto linear
        = [](double part) { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other)
{
    const double bright = std::max(luminance(one), luminance(other));
    const double dark = std::min(luminance(one), luminance(other));
    return (bright + 0.05) / (dark + 0.05);
}

/// How a control is painted in the middle of its left edge, behind its border.
QColor faceOf(Host& host, const QAbstractButton& control)
{
    const auto place = control.mapTo(&host, QPoint(0, control.height() / 2));
    return pictureOf(host, 1).pixelColor(place + QPoint(2, 0));
}

/// The pointer comes over the widget.
void enter(QWidget& widget)
{
    const QPointF inside(3, 3);
    QEnterEvent event(inside, widget.mapTo(widget.window(), inside), widget.mapToGlobal(inside));
    widget.setAttribute(Qt::WA_UnderMouse);
    QApplication::sendEvent(&widget, &event);
}

QPoint onImage(QPointF point, double ratio) { return (point * ratio).toPoint(); }

void doNothing() { }

}

/// How controls are painted.
class ControlsTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void bordersAreSharpAndEqualOnEachSide_data();
    void bordersAreSharpAndEqualOnEachSide();
    void whatIsCenteredHasAsMuchRoomOnEachSide_data();
    void whatIsCenteredHasAsMuchRoomOnEachSide();
    void aControlShowsThatThePointerIsOverItAndThatItIsPressed_data();
    void aControlShowsThatThePointerIsOverItAndThatItIsPressed();
    void soDoesASymbolWithoutABorder();
    void anUntickedBoxCanBeToldFromItsSurroundings_data();
    void anUntickedBoxCanBeToldFromItsSurroundings();
};

void ControlsTest::initTestCase() { loadFonts(); }

void ControlsTest::cleanup() { applyLook(ColorScheme::Light, Motion::Full); }

void ControlsTest::bordersAreSharpAndEqualOnEachSide_data()
{
    QTest::addColumn<double>("ratio");
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<bool>("isBox");
    QTest::addColumn<QMargins>("place");

    for (const double ratio : scales) {
        for (const bool isDark : { false, true }) {
            for (const bool isBox : { false, true }) {
                for (int offset = 10; offset < 14; ++offset) {
                    QTest::addRow("%s, %s, at %g, from %d", isBox ? "box" : "button",
                        isDark ? "dark" : "light", ratio, offset)
                        << ratio << isDark << isBox << QMargins(offset, offset + 1, 10, 10);
                }
            }
        }
    }
}

void ControlsTest::bordersAreSharpAndEqualOnEachSide()
{
    QFETCH(const double, ratio);
    QFETCH(const bool, isDark);
    QFETCH(const bool, isBox);
    QFETCH(const QMargins, place);
    applyLook(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    // Of many widths.
    const QString text(place.left() * 2, 'i');
    Host host([&] {
        return column({ isBox ? toggle("", false, [](bool) {}) : button(text, doNothing) }).padding(place);
    });
    host.show();

    const auto picture = pictureOf(host, ratio);

    const auto* control = host.findChild<QAbstractButton*>();
    const QSize size = isBox ? QSize(14, 14) : control->size();
    const QPointF corner = control->mapTo(&host, QPoint(0, (control->height() - size.height()) / 2));
    const auto center = corner + QPointF(size.width() / 2.0, size.height() / 2.0);
    const auto left = colorsFromEdge(picture, onImage({ 0, center.y() }, ratio), { 1, 0 });
    const auto right
        = colorsFromEdge(picture, { picture.width() - 1, onImage({ 0, center.y() }, ratio).y() }, { -1, 0 });
    const auto top = colorsFromEdge(picture, onImage({ center.x(), 0 }, ratio), { 0, 1 });
    const auto bottom
        = colorsFromEdge(picture, { onImage({ center.x(), 0 }, ratio).x(), picture.height() - 1 }, { 0, -1 });
    QCOMPARE(right, left);
    QCOMPARE(top, left);
    QCOMPARE(bottom, left);
    const int thickness = static_cast<int>(ratio);
    for (int i = 1; i < left.size(); ++i)
        QCOMPARE(left[i] == left[0], i < thickness);
}

void ControlsTest::whatIsCenteredHasAsMuchRoomOnEachSide_data()
{
    QTest::addColumn<View>("view");
    QTest::addColumn<int>("width");

    for (const int width : { 300, 301 }) {
        for (const auto* text : { "i", "ii", "iii", "iiii" }) {
            const auto large = [&] { return button(text, doNothing, { .size = ButtonSize::Regular }); };
            const auto look = StackLook { .spacing = 10 };
            QTest::addRow("button %s in %d", text, width) << button(text, doNothing) << width;
            const View card
                = column({ toggle(text, true, [](bool) {}) }).padding(9).background(Theme::clickAccent, 5);
            QTest::addRow("card %s in %d", text, width) << card << width;
            const View buttons = row({ button(text, doNothing), large() }, look);
            QTest::addRow("buttons %s in %d", text, width) << buttons << width;
        }
    }
}

void ControlsTest::whatIsCenteredHasAsMuchRoomOnEachSide()
{
    QFETCH(const View, view);
    QFETCH(const int, width);
    Host host([&] {
        return column({ view }, { .alignment = Qt::AlignHCenter }).padding({ 0, 9, 0, 9 }).width(width);
    });
    host.show();

    const auto picture = pictureOf(host, 1);

    const int middle = picture.height() / 2;
    const auto ground = picture.pixel(0, middle);
    int left = 0;
    while (picture.pixel(left, middle) == ground)
        ++left;
    int right = 0;
    while (picture.pixel(width - 1 - right, middle) == ground)
        ++right;
    QCOMPARE(left, right);
}

void ControlsTest::aControlShowsThatThePointerIsOverItAndThatItIsPressed_data()
{
    QTest::addColumn<View>("view");
    QTest::addColumn<bool>("isDark");

    for (const bool isDark : { false, true }) {
        const auto* look = isDark ? "dark" : "light";
        QTest::addRow("button, %s", look) << button("", doNothing) << isDark;
        QTest::addRow("prominent button, %s", look)
            << button("", doNothing, { .size = ButtonSize::Regular, .isProminent = true }) << isDark;
        QTest::addRow("box, %s", look) << toggle("", false, [](bool) {}) << isDark;
        QTest::addRow("ticked box, %s", look) << toggle("", true, [](bool) {}) << isDark;
    }
}

void ControlsTest::aControlShowsThatThePointerIsOverItAndThatItIsPressed()
{
    QFETCH(const View, view);
    QFETCH(const bool, isDark);
    applyLook(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    Host host([&] { return column({ view }).padding(10); });
    host.show();
    auto* control = host.findChild<QAbstractButton*>();

    const auto atRest = faceOf(host, *control);
    enter(*control);
    const auto underPointer = faceOf(host, *control);
    control->setDown(true);
    const auto pressed = faceOf(host, *control);

    // Each can be told from the one before, and goes on in its direction.
    QVERIFY2(contrast(atRest, underPointer) > 1.08, qPrintable(underPointer.name()));
    QVERIFY2(contrast(underPointer, pressed) > 1.08, qPrintable(pressed.name()));
    QVERIFY(contrast(atRest, pressed) > contrast(atRest, underPointer));
}

void ControlsTest::soDoesASymbolWithoutABorder()
{
    Host host([] { return column({ symbolButton("square.and.arrow.up", "", doNothing) }).padding(10); });
    host.show();
    auto* control = host.findChild<QAbstractButton*>();
    QVERIFY(control);
    // Above the box, beside the arrow.
    const auto face = [&] { return pictureOf(host, 1).pixelColor(control->mapTo(&host, QPoint(2, 2))); };

    const auto atRest = face();
    enter(*control);
    const auto underPointer = face();
    control->setDown(true);
    const auto pressed = face();

    QVERIFY2(contrast(atRest, underPointer) > 1.08, qPrintable(underPointer.name()));
    QVERIFY2(contrast(underPointer, pressed) > 1.08, qPrintable(pressed.name()));
}

void ControlsTest::anUntickedBoxCanBeToldFromItsSurroundings_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<ThemeColor>("ground");

    for (const bool isDark : { false, true }) {
        const auto* look = isDark ? "dark" : "light";
        QTest::addRow("in the panel, %s", look) << isDark << Theme::clickAccent.withOpacity(0);
        QTest::addRow("in the assistant, %s", look) << isDark << Theme::clickAccent.withOpacity(0.08);
    }
}

void ControlsTest::anUntickedBoxCanBeToldFromItsSurroundings()
{
    QFETCH(const bool, isDark);
    QFETCH(const ThemeColor, ground);
    applyLook(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    Host host([&] { return column({ toggle("", false, [](bool) {}) }).padding(20).background(ground, 5); });
    host.show();

    const auto picture = pictureOf(host, 1);

    const auto outside = picture.pixelColor(15, picture.height() / 2);
    const auto border = picture.pixelColor(20, picture.height() / 2);
    const auto inside = picture.pixelColor(24, picture.height() / 2);
    QVERIFY2(contrast(border, outside) >= 3, qPrintable(border.name()));
    QVERIFY2(contrast(border, inside) >= 3, qPrintable(border.name()));
}

static const TestArea area("Controls", runTest<ControlsTest, QApplication>);
#include "ControlsTest.moc"
