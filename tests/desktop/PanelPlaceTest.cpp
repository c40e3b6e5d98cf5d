#include "support/PanelOnDesktop.h"
#include "support/Patience.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"

#include <QColor>
#include <QTest>

#include <X11/keysym.h>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// The bar and the line beside it, in pixels.
constexpr int barHeight = 29;

/// How many pixels a line from left to right needs to get from the color at its first to the darkest one or,
/// on dark ground, the lightest one.
int blur(const QImage& picture, QPoint from, int length)
{
    const auto level = [&](int x) { return qGray(picture.pixel(x, from.y())); };
    const int ground = level(from.x());
    int ink = ground;
    for (int x = from.x(); x < from.x() + length; ++x) {
        if (std::abs(level(x) - ground) > std::abs(ink - ground))
            ink = level(x);
    }
    const int step = std::abs(ink - ground);
    int between = 0;
    for (int x = from.x(); x < from.x() + length && std::abs(level(x) - ink) > step / 10; ++x) {
        if (std::abs(level(x) - ground) > step / 10)
            ++between;
    }
    return step > 30 ? between : length;
}

/// How many pixels from the edge inward have the color of the edge.
int lineThickness(const QImage& picture, QPoint edge, QPoint inward)
{
    int thickness = 1;
    while (picture.pixel(edge + thickness * inward) == picture.pixel(edge))
        ++thickness;
    return thickness;
}

}

/// Where the panel of the real program opens, in which size and how sharp: beside its icon wherever the bar
/// stands, on the icon's monitor, at every scale, and whatever becomes of the window manager.
class PanelPlaceTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void itStandsBesideTheBarAtAnyEdge_data();
    void itStandsBesideTheBarAtAnyEdge();
    void itIsSharpAtEveryScale_data();
    void itIsSharpAtEveryScale();
    void aReportOfWhatIsNoPlaceOpensItAtTheEndOfTheBar_data();
    void aReportOfWhatIsNoPlaceOpensItAtTheEndOfTheBar();
    void aPlaceInPointsIsReadByTheScaleThatTheSessionHasNow();
    void aWorkAreaInOtherUnitsIsReadAsSuch_data();
    void aWorkAreaInOtherUnitsIsReadAsSuch();
    void itScrollsWhereTheScreenIsTooLow();
    void itOpensOnTheMonitorOfTheIcon_data();
    void itOpensOnTheMonitorOfTheIcon();
    void aBarOnAnotherMonitorTakesNoRoom_data() { itOpensOnTheMonitorOfTheIcon_data(); }
    void aBarOnAnotherMonitorTakesNoRoom();
    void anotherWindowManagerChangesNothing();
    void anotherWindowManagerLeavesTheOpenPanelUsable();

private:
    void configureBar(const QString& property, const QString& type, const QString& value);
    void startWithTwoMonitors(const QRect& withBar, const QRect& withoutBar);
    /// A window of another program, which has the keyboard then.
    xcb_window_t openOther() const;
    /// Returns when the new one has taken over that window.
    [[nodiscard]] bool startAnotherWindowManager(xcb_window_t other);
    QRect screen() const { return { {}, user->desktop.size() }; }

    std::unique_ptr<PanelOnDesktop> user;
    /// What the test itself has started on the desktop.
    std::unique_ptr<QProcess> part;
};

void PanelPlaceTest::init()
{
    user = std::make_unique<PanelOnDesktop>();
    QVERIFY2(user->start(), qPrintable(user->desktop.failure()));
}

void PanelPlaceTest::cleanup()
{
    if (part) {
        part->kill();
        part->waitForFinished(patience);
        part.reset();
    }
    user.reset();
}

void PanelPlaceTest::configureBar(const QString& property, const QString& type, const QString& value)
{
    QVERIFY(user->desktop.run("xfconf-query",
        { "--channel", "xfce4-panel", "--property", "/panels/panel-1/" + property, "--create", "--type", type,
            "--set", value }));
}

void PanelPlaceTest::itStandsBesideTheBarAtAnyEdge_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QRect>("tray");
    QTest::addColumn<QRect>("free");

    // The bar's own names for its places.
    QTest::newRow("top") << "p=6;x=0;y=0"
                         << "0" << QRect(1258, 2, 22, 24) << QRect(0, barHeight, 1280, 800 - barHeight);
    QTest::newRow("bottom") << "p=8;x=0;y=0"
                            << "0" << QRect(1258, 774, 22, 24) << QRect(0, 0, 1280, 800 - barHeight);
    QTest::newRow("left") << "p=6;x=0;y=0"
                          << "1" << QRect(2, 778, 24, 22) << QRect(barHeight, 0, 1280 - barHeight, 800);
    QTest::newRow("right") << "p=2;x=0;y=0"
                           << "1" << QRect(1254, 778, 24, 22) << QRect(0, 0, 1280 - barHeight, 800);
}

void PanelPlaceTest::itStandsBesideTheBarAtAnyEdge()
{
    QFETCH(const QString, position);
    QFETCH(const QString, mode);
    QFETCH(const QRect, tray);
    QFETCH(const QRect, free);
    QVERIFY(user->run(program));

    // The program runs already: bars are moved at any time.
    configureBar("mode", "uint", mode);
    configureBar("position", "string", position);
    QVERIFY(user->findIcon(tray));
    QVERIFY(user->open());

    // In the corner where bar and icon are.
    const auto area = user->area();
    QVERIFY2(free.contains(area), qPrintable(QDebug::toString(area)));
    QCOMPARE(area.left() == free.left(), QTest::currentDataTag() == QByteArray("left"));
    QCOMPARE(area.top() == free.top(), QTest::currentDataTag() == QByteArray("top"));
    QCOMPARE(area.right() == free.right(), QTest::currentDataTag() != QByteArray("left"));
    QCOMPARE(area.bottom() == free.bottom(), QTest::currentDataTag() != QByteArray("top"));
}

void PanelPlaceTest::itIsSharpAtEveryScale_data()
{
    QTest::addColumn<double>("scale");

    QTest::newRow("1") << 1.0;
    QTest::newRow("1.25") << 1.25;
    QTest::newRow("1.5") << 1.5;
    QTest::newRow("2") << 2.0;
}

void PanelPlaceTest::itIsSharpAtEveryScale()
{
    QFETCH(const double, scale);
    QProcessEnvironment scaled;
    scaled.insert("QT_SCALE_FACTOR", QString::number(scale));
    QVERIFY(user->run(program, scaled));

    QVERIFY(user->open());

    const auto area = user->area();
    QCOMPARE(area.width(), qRound(300 * scale));
    QVERIFY2(screen().adjusted(0, barHeight, 0, 0).contains(area), qPrintable(QDebug::toString(area)));
    // Touching both, but for the part of a point.
    QCOMPARE_LE(area.top() - barHeight, 1);
    QCOMPARE_LE(screen().right() - area.right(), 1);

    // The line around it has whole pixels, and the same number on each side.
    const auto picture = user->picture();
    const auto middle = picture.rect().center();
    const int thickness = static_cast<int>(scale);
    QCOMPARE(lineThickness(picture, { 0, middle.y() }, { 1, 0 }), thickness);
    QCOMPARE(lineThickness(picture, { picture.width() - 1, middle.y() }, { -1, 0 }), thickness);
    QCOMPARE(lineThickness(picture, { middle.x(), 0 }, { 0, 1 }), thickness);
    QCOMPARE(lineThickness(picture, { middle.x(), picture.height() - 1 }, { 0, -1 }), thickness);

    // The upright edge at the left of a symbol, the keyboard.
    const auto place = (QPointF(19, 66) * scale).toPoint();
    QCOMPARE_LE(blur(picture, place, qRound(8 * scale)), 1);
    QVERIFY(
        blur(picture.scaled(picture.size() * 2, {}, Qt::SmoothTransformation), place * 2, qRound(16 * scale))
        > 1);
}

void PanelPlaceTest::aReportOfWhatIsNoPlaceOpensItAtTheEndOfTheBar_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QRect>("tray");
    QTest::addColumn<QPoint>("reported");

    const QRect above(1258, 2, 22, 24);
    const QRect below(1258, 774, 22, 24);
    QTest::newRow("within the icon") << "p=6;x=0;y=0" << above << QPoint(10, 14);
    QTest::newRow("within the icon of a lower bar") << "p=8;x=0;y=0" << below << QPoint(10, 14);
    QTest::newRow("within a lower bar") << "p=8;x=0;y=0" << below << QPoint(1266, 14);
}

void PanelPlaceTest::aReportOfWhatIsNoPlaceOpensItAtTheEndOfTheBar()
{
    QFETCH(const QString, position);
    QFETCH(const QRect, tray);
    QFETCH(const QPoint, reported);
    QProcessEnvironment wayland;
    wayland.insert("XDG_SESSION_TYPE", "wayland");
    QVERIFY(user->run(program, wayland));
    configureBar("position", "string", position);
    QVERIFY(user->findIcon(tray));

    QVERIFY(user->knucklet->reportClick(reported));

    QTRY_VERIFY(user->isOpen());
    QTRY_COMPARE(user->area().right(), screen().right());
    const bool isAbove = tray.top() < 400;
    QCOMPARE(isAbove ? user->area().top() : screen().bottom() - user->area().bottom(), barHeight);
}

// As GNOME 48 reports a click, when its user has doubled the scale since the toolkit came.
void PanelPlaceTest::aPlaceInPointsIsReadByTheScaleThatTheSessionHasNow()
{
    QProcessEnvironment wayland;
    wayland.insert("XDG_SESSION_TYPE", "wayland");
    QVERIFY(user->run(program, wayland));
    QVERIFY(user->open());
    user->type(XK_Escape);
    QTRY_VERIFY(!user->isOpen());
    QVERIFY(user->desktop.run("sh", { "-c", "echo 'Xft.dpi: 192' | xrdb -nocpp -merge" }));

    QVERIFY(user->knucklet->reportClick({ 300, 14 }));

    QTRY_VERIFY(user->isOpen());
    // Half of its width beside the pixel.
    QTRY_COMPARE(user->area().left(), 600 - 150);
}

void PanelPlaceTest::aWorkAreaInOtherUnitsIsReadAsSuch_data()
{
    QTest::addColumn<QString>("desktop");
    QTest::addColumn<QString>("workArea");

    // As kwin says it of this screen at 1.5 pixels to a point, and at one after that; 100 pixels below are
    // not free.
    QTest::newRow("smaller ones") << "853, 533"
                                  << "0, 19, 853, 447";
    QTest::newRow("larger ones") << "1920, 1200"
                                 << "0, 44, 1920, 1006";
    // As it says it of a session that has begun with two.
    QTest::newRow("pixels, of a desktop in points") << "640, 400"
                                                    << "0, 29, 1280, 671";
}

void PanelPlaceTest::aWorkAreaInOtherUnitsIsReadAsSuch()
{
    QFETCH(const QString, desktop);
    QFETCH(const QString, workArea);
    QProcessEnvironment tall;
    tall.insert("XDG_SESSION_TYPE", "wayland");
    tall.insert("QT_SCALE_FACTOR", "2");
    QVERIFY(user->run(program, tall));
    const auto set = [this](const QString& property, const QString& value) {
        return user->desktop.run("xprop", { "-root", "-f", property, "32c", "-set", property, value });
    };
    QVERIFY(set("_NET_DESKTOP_GEOMETRY", desktop));
    QVERIFY(set("_NET_WORKAREA", workArea));

    QVERIFY(user->open());

    const auto area = user->area();
    // It is higher than what is free, and as wide as it likes.
    QCOMPARE_LE(std::abs(area.top() - barHeight), 1);
    QCOMPARE_LE(std::abs(area.bottom() - 699), 2);
    QCOMPARE_LE(std::abs(area.right() - screen().right()), 1);
}

void PanelPlaceTest::itScrollsWhereTheScreenIsTooLow()
{
    QProcessEnvironment scaled;
    scaled.insert("QT_SCALE_FACTOR", "2.5");
    QVERIFY(user->run(program, scaled));
    QVERIFY(user->open());
    QVERIFY(screen().adjusted(0, barHeight, 0, 0).contains(user->area()));
    // Below the title, where a tile has its color.
    const QPoint place = user->area().topLeft() + QPoint(100, 200);
    const auto color = [&] { return user->picture().pixel(100, 200); };
    const auto before = color();

    user->moveTo(place);
    for (int notch = 0; notch < 5; ++notch)
        user->injector->scrollDown();
    user->injector->sync();

    QTRY_VERIFY(color() != before);
    // The last button stands where the panel ends.
    user->click(user->area().bottomRight() - QPoint(100, 60));
    QVERIFY(user->knucklet->awaitEnd());
}

void PanelPlaceTest::itOpensOnTheMonitorOfTheIcon_data()
{
    QTest::addColumn<QRect>("withBar");
    QTest::addColumn<QRect>("withoutBar");

    const QRect left(0, 0, 640, 800);
    const QRect right(640, 0, 640, 800);
    QTest::newRow("the left one") << left << right;
    QTest::newRow("the right one") << right << left;
}

void PanelPlaceTest::itOpensOnTheMonitorOfTheIcon()
{
    QFETCH(const QRect, withBar);
    QFETCH(const QRect, withoutBar);
    startWithTwoMonitors(withBar, withoutBar);

    QVERIFY(user->open());

    const auto area = user->area();
    QCOMPARE(area.top(), barHeight);
    QCOMPARE(area.right(), withBar.right());
    QVERIFY(withBar.contains(area));
}

void PanelPlaceTest::aBarOnAnotherMonitorTakesNoRoom()
{
    QFETCH(const QRect, withBar);
    QFETCH(const QRect, withoutBar);
    startWithTwoMonitors(withBar, withoutBar);

    // Whoever opens it from elsewhere gets it where the pointer is.
    user->moveTo({ withoutBar.center().x(), 3 });
    QVERIFY(user->knucklet->choose("Open Knucklet"));

    QTRY_VERIFY(user->isOpen());
    QCOMPARE(user->area().top(), 0);
    QVERIFY(withoutBar.contains(user->area()));
}

/// The server has one output, which either monitor can be given. The bar knows only a monitor with an output.
void PanelPlaceTest::startWithTwoMonitors(const QRect& withBar, const QRect& withoutBar)
{
    user = std::make_unique<PanelOnDesktop>(DesktopParts { .windowManager = true });
    QVERIFY2(user->start(), qPrintable(user->desktop.failure()));
    const auto setMonitor = [this](const QString& name, const QRect& area, const QString& output) {
        const auto geometry
            = QString("%1/170x%2/210+%3+%4").arg(area.width()).arg(area.height()).arg(area.x()).arg(area.y());
        QVERIFY(user->desktop.run("xrandr", { "--setmonitor", name, geometry, output }));
    };
    setMonitor("first", withBar, "screen");
    setMonitor("second", withoutBar, "none");
    part = user->desktop.launch("xfce4-panel", { "--disable-wm-check" });
    user->knucklet = std::make_unique<RunningKnucklet>(user->desktop, program);
    QVERIFY(user->knucklet->awaitItem());
    QVERIFY(user->findIcon({ withBar.right() - 21, 2, 22, 24 }));
}

xcb_window_t PanelPlaceTest::openOther() const
{
    const auto other = user->windows->openOther({ 100, 200, 200, 100 });
    const auto isActive = [&] { return user->windows->active() == other; };
    return QTest::qWaitFor(isActive, patience) ? other : xcb_window_t { XCB_WINDOW_NONE };
}

bool PanelPlaceTest::startAnotherWindowManager(xcb_window_t other)
{
    const auto before = user->windows->manager();
    part = user->desktop.launch("xfwm4", { "--compositor=off", "--replace" });
    // It says that it is there before it has taken over the windows, and does what it is asked after that.
    const QPoint wanted(300, 400);
    return QTest::qWaitFor(
        [&] {
            const auto manager = user->windows->manager();
            if (manager == before || manager == XCB_WINDOW_NONE)
                return false;
            user->windows->move(other, wanted);
            return user->windows->place(other).topLeft() == wanted;
        },
        patience);
}

void PanelPlaceTest::anotherWindowManagerChangesNothing()
{
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    const auto before = user->area();
    user->type(XK_Escape);
    QTRY_VERIFY(!user->isOpen());

    QVERIFY(startAnotherWindowManager(openOther()));
    QVERIFY(openOther());
    QVERIFY(user->open());

    QCOMPARE(user->area(), before);
    user->type(XK_Tab, 2);
    user->type(XK_space);
    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=true"));
    QCOMPARE(user->windows->receivedPresses(), 0);
}

void PanelPlaceTest::anotherWindowManagerLeavesTheOpenPanelUsable()
{
    QVERIFY(user->run(program));
    const auto other = openOther();
    QVERIFY(user->open());
    const auto panel = user->panel();
    const auto before = user->area();

    QVERIFY(startAnotherWindowManager(other));

    // Whether the panel lost the keyboard for a moment, and closed, is the managers' affair.
    user->click({ 400, 600 });
    QTRY_VERIFY(!user->isOpen());
    QVERIFY(user->open());
    QCOMPARE(user->panel(), panel);
    QCOMPARE(user->area(), before);
    for (const char* state :
        { "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE" })
        QTRY_VERIFY2(user->windows->states(panel).contains(state), state);
    user->type(XK_Escape);
    QTRY_VERIFY(!user->isOpen());
}

static const TestArea area("PanelPlace", runTest<PanelPlaceTest>);
#include "PanelPlaceTest.moc"
