#include "support/AssistantOnScreen.h"
#include "support/PanelOnDesktop.h"
#include "support/Patience.h"
#include "support/Screenshot.h"
#include "support/SettingsPortal.h"
#include "support/TestArea.h"

#include <QTest>

#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <memory>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

using Look = SettingsPortal::Look;

/// The outermost pixel in each corner.
std::array<QPoint, 4> corners(const QRect& area)
{
    return { area.topLeft(), area.topRight(), area.bottomLeft(), area.bottomRight() };
}

/// Whether what was seen there before is still seen, perhaps in a shadow.
bool shinesThrough(QRgb before, QRgb now)
{
    return qGray(now) <= qGray(before) && qGray(now) * 10 >= qGray(before) * 6;
}

}

/// How the windows that have no frame end on a real desktop: round and with a shadow where a compositor runs,
/// square where none does.
class WindowEdgesTest final : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void theDesktopShowsInTheCornersOfThePanel_data();
    void theDesktopShowsInTheCornersOfThePanel();
    void withoutACompositorTheCornersAreThePanels_data() { theDesktopShowsInTheCornersOfThePanel_data(); }
    void withoutACompositorTheCornersAreThePanels();
    void aCompositorMayComeAndGoBetweenTwoOpenings();
    void theOpenAssistantFollowsTheCompositor();
    void aPressOnTheShadowIsForWhatLiesBelow();
    void aPanelWithAFrameOfTheDesktopsHasNoneOfItsOwn();

private:
    void start(const DesktopParts& parts);
    void switchCompositor(bool on);
    QImage screen() const { return screenshot(user->desktop.display()); }
    bool isRound(const QRect& area, const QImage& before) const;
    bool isSquare(const QRect& area) const;

    std::unique_ptr<PanelOnDesktop> user;
};

void WindowEdgesTest::cleanup() { user.reset(); }

void WindowEdgesTest::start(const DesktopParts& parts)
{
    user = std::make_unique<PanelOnDesktop>(parts);
    QVERIFY2(user->start(), qPrintable(user->desktop.failure()));
}

void WindowEdgesTest::switchCompositor(bool on)
{
    QVERIFY(user->desktop.run("xfconf-query",
        { "--channel", "xfwm4", "--property", "/general/use_compositing", "--create", "--type", "bool",
            "--set", on ? "true" : "false" }));
    QTRY_COMPARE(user->windows->hasSelectionOwner("_NET_WM_CM_S0"), on);
}

bool WindowEdgesTest::isRound(const QRect& area, const QImage& before) const
{
    const auto now = screen();
    return std::ranges::all_of(
        corners(area), [&](QPoint corner) { return shinesThrough(before.pixel(corner), now.pixel(corner)); });
}

bool WindowEdgesTest::isSquare(const QRect& area) const
{
    const auto now = screen();
    const auto line = now.pixel(area.left(), area.center().y());
    return std::ranges::all_of(corners(area), [&](QPoint corner) { return now.pixel(corner) == line; });
}

void WindowEdgesTest::theDesktopShowsInTheCornersOfThePanel_data()
{
    QTest::addColumn<Look>("look");

    QTest::newRow("light") << Look::Light;
    QTest::newRow("dark") << Look::Dark;
}

void WindowEdgesTest::theDesktopShowsInTheCornersOfThePanel()
{
    QFETCH(const Look, look);
    start({ .windowManager = true, .compositor = true, .panel = true });
    const SettingsPortal portal(user->desktop, look);
    // The desktop itself is black. Below a dark panel there is something white.
    if (look == Look::Dark) {
        const auto other = user->windows->openOther({ 900, 100, 380, 600 });
        QTRY_COMPARE(user->windows->active(), other);
        QTRY_COMPARE_GT(qGray(screen().pixel(1200, 500)), 200);
    }
    QVERIFY(user->run(program));
    const auto before = screen();

    QVERIFY(user->open());

    const auto area = user->area();
    QCOMPARE(area.width(), 300);
    QCOMPARE(area.top(), 29);
    QCOMPARE(area.right(), 1279);
    QTRY_VERIFY(isRound(area, before));
    // Within the corner is the panel.
    QVERIFY(!user->picture().isNull());
    // The look may be told after the panel has been drawn.
    const auto inside = area.bottomLeft() + QPoint(6, -6);
    QTRY_COMPARE(qGray(screen().pixel(inside)) > 128, look == Look::Light);
}

void WindowEdgesTest::withoutACompositorTheCornersAreThePanels()
{
    QFETCH(const Look, look);
    start({ .windowManager = true, .panel = true });
    const SettingsPortal portal(user->desktop, look);
    QVERIFY(user->run(program));

    QVERIFY(user->open());

    QVERIFY(!user->picture().isNull());
    QTRY_VERIFY(isSquare(user->area()));
}

void WindowEdgesTest::aCompositorMayComeAndGoBetweenTwoOpenings()
{
    start({ .windowManager = true, .compositor = true, .panel = true });
    QVERIFY(user->run(program));
    const auto before = screen();
    QVERIFY(user->open());
    const auto area = user->area();
    QTRY_VERIFY(isRound(area, before));
    const auto close = [this] {
        user->type(XK_Escape);
        QTRY_VERIFY(!user->isOpen());
    };

    close();
    switchCompositor(false);
    QVERIFY(user->open());
    QTRY_VERIFY(isSquare(area));
    QCOMPARE(user->area(), area);

    close();
    switchCompositor(true);
    QVERIFY(user->open());
    QTRY_VERIFY(isRound(area, before));
    QCOMPARE(user->area(), area);
}

void WindowEdgesTest::theOpenAssistantFollowsTheCompositor()
{
    start({ .windowManager = true, .compositor = true, .panel = true });
    QVERIFY(user->run(program));
    const auto before = screen();
    QVERIFY(user->knucklet->choose("Setup Assistant…"));
    QTRY_VERIFY(assistantPage(user->desktop) == 0);
    const auto place = [this] { return user->windows->place(user->windows->find(assistantTitle)); };
    const auto first = place();
    QCOMPARE(first.size(), QSize(540, 560));
    QTRY_VERIFY(isRound(first, before));

    switchCompositor(false);

    QTRY_VERIFY(isSquare(first));
    QTRY_COMPARE(place(), first);

    switchCompositor(true);

    QTRY_VERIFY(isRound(first, before));
    QTRY_COMPARE(place(), first);
}

void WindowEdgesTest::aPressOnTheShadowIsForWhatLiesBelow()
{
    start({ .windowManager = true, .compositor = true, .panel = true });
    const auto other = user->windows->openOther({ 700, 100, 400, 600 });
    QTRY_COMPARE(user->windows->active(), other);
    QVERIFY(user->run(program));
    QVERIFY(user->open());
    const auto area = user->area();
    const QPoint place(area.left() - 4, area.center().y());
    QTRY_COMPARE_LT(qGray(screen().pixel(place)), 250);

    user->click(place);

    QTRY_COMPARE(user->windows->active(), other);
    QTRY_VERIFY(!user->isOpen());
}

void WindowEdgesTest::aPanelWithAFrameOfTheDesktopsHasNoneOfItsOwn()
{
    start({ .windowManager = true, .compositor = true });
    user->knucklet = std::make_unique<RunningKnucklet>(user->desktop, program);
    QVERIFY(user->knucklet->awaitCounting());

    QVERIFY(user->desktop.run(program));

    QTRY_VERIFY(user->isOpen());
    const auto area = user->area();
    QCOMPARE(area.width(), 300);
    // All of it has one color, to the outermost pixels.
    const auto isGround = [&](QPoint corner) {
        const auto now = screen();
        return now.pixel(corner) == now.pixel(area.topLeft() + QPoint(7, 7))
            && qGray(now.pixel(corner)) > 240;
    };
    for (const auto corner : corners(area))
        QTRY_VERIFY(isGround(corner));
}

static const TestArea area("WindowEdges", runTest<WindowEdgesTest>);
#include "WindowEdgesTest.moc"
