#include "platform/linux/bar/BarItem.h"
#include "platform/linux/bar/TrayIcon.h"
#include "platform/linux/bus/Bus.h"
#include "platform/linux/input/X11Input.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/HandMovedClock.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QTest>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr QRgb trayColor = qRgb(0x20, 0x60, 0xa0);
constexpr QRgb ground = qRgb(0x4a, 0x4a, 0x4a);
constexpr int trayDepth = 24;
/// Where the tray stands on the screen.
constexpr QPoint corner(100, 600);

enum class Manners {
    TakesIn,
    /// Never answers.
    TakesNothingIn,
    /// Destroys each window that wants to be taken in.
    Destroys,
    /// Takes each window in and gives it back at once.
    GivesBack,
};

enum class Alpha { None, Offered };

/// A tray as a client of the display, which does what it does when it is told to go on.
class Tray final {
public:
    explicit Tray(const QByteArray& display, Manners manners = Manners::TakesIn, Alpha alpha = Alpha::None,
        int size = 24)
        : connection(xcb_connect(display.constData(), nullptr))
        , screen(xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data)
        , manners(manners)
        , size(size)
    {
        const auto visual = alpha == Alpha::Offered ? alphaVisual() : screen->root_visual;
        const auto depth = static_cast<std::uint8_t>(alpha == Alpha::Offered ? 32 : screen->root_depth);
        const auto colors = xcb_generate_id(connection.get());
        xcb_create_colormap(connection.get(), XCB_COLORMAP_ALLOC_NONE, colors, screen->root, visual);
        window = xcb_generate_id(connection.get());
        const std::array<std::uint32_t, 5> values { trayColor & 0xffffffU, 0, 1,
            XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, colors };
        xcb_create_window(connection.get(), depth, window, screen->root, corner.x(), corner.y(),
            static_cast<std::uint16_t>(size), static_cast<std::uint16_t>(size), 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
            XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK
                | XCB_CW_COLORMAP,
            values.data());
        xcb_map_window(connection.get(), window);
        setVisual(visual);
    }

    /// Before the tray is there.
    void setVisual(xcb_visualid_t visual)
    {
        xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window,
            atom(connection.get(), "_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 32, 1, &visual);
    }

    /// Takes the place of the tray that was there.
    void appear()
    {
        xcb_set_selection_owner(connection.get(), window, selection(), XCB_CURRENT_TIME);
        announce();
    }

    void announce()
    {
        xcb_client_message_event_t message {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = screen->root;
        message.type = atom(connection.get(), "MANAGER");
        message.data.data32[1] = selection();
        message.data.data32[2] = window;
        xcb_send_event(connection.get(), 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
            reinterpret_cast<const char*>(&message));
        xcb_flush(connection.get());
    }

    void goOn()
    {
        while (const XcbReply<xcb_generic_event_t> event { xcb_poll_for_event(connection.get()) }) {
            if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
                continue;
            const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
            if (message.type == atom(connection.get(), "_NET_SYSTEM_TRAY_OPCODE"))
                asked(message.data.data32[2]);
        }
        xcb_flush(connection.get());
    }

    void resize(int newSize)
    {
        size = newSize;
        for (const auto resized : { window, icon }) {
            const std::array values { static_cast<std::uint32_t>(size), static_cast<std::uint32_t>(size) };
            xcb_configure_window(
                connection.get(), resized, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values.data());
        }
        xcb_flush(connection.get());
    }

    int depthOfIcon() const
    {
        const XcbReply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(connection.get(), xcb_get_geometry(connection.get(), icon), nullptr));
        return geometry ? geometry->depth : 0;
    }

    std::uint32_t pixelOfIcon(int x, int y) const
    {
        const auto cookie = xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, icon,
            static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U);
        const XcbReply<xcb_get_image_reply_t> image(xcb_get_image_reply(connection.get(), cookie, nullptr));
        if (!image)
            return 0;
        return *reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
    }

    std::vector<std::uint32_t> embeddingInfo() const
    {
        const auto property = atom(connection.get(), "_XEMBED_INFO");
        const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(),
            xcb_get_property(connection.get(), 0, icon, property, property, 0, 2), nullptr));
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
        return { first, first + reply->value_len };
    }

    QByteArray nameOfIcon() const
    {
        const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(),
            xcb_get_property(connection.get(), 0, icon, atom(connection.get(), "_NET_WM_NAME"),
                atom(connection.get(), "UTF8_STRING"), 0, 100),
            nullptr));
        return { static_cast<const char*>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get()) };
    }

    int requests = 0;

private:
    xcb_atom_t selection() const { return atom(connection.get(), "_NET_SYSTEM_TRAY_S0"); }

    xcb_visualid_t alphaVisual() const
    {
        auto depths = xcb_screen_allowed_depths_iterator(screen);
        for (; depths.rem; xcb_depth_next(&depths)) {
            if (depths.data->depth == 32 && xcb_depth_visuals_length(depths.data) > 0)
                return xcb_depth_visuals(depths.data)[0].visual_id;
        }
        return XCB_NONE;
    }

    void asked(xcb_window_t newIcon)
    {
        ++requests;
        icon = newIcon;
        switch (manners) {
        case Manners::TakesIn:
            xcb_reparent_window(connection.get(), icon, window, 0, 0);
            resize(size);
            xcb_map_window(connection.get(), icon);
            break;
        case Manners::TakesNothingIn:
            break;
        case Manners::Destroys:
            xcb_destroy_window(connection.get(), icon);
            break;
        case Manners::GivesBack:
            xcb_reparent_window(connection.get(), icon, window, 0, 0);
            xcb_map_window(connection.get(), icon);
            xcb_reparent_window(connection.get(), icon, screen->root, 0, 0);
            break;
        }
    }

    XcbConnection connection;
    const xcb_screen_t* screen;
    Manners manners;
    int size;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_window_t icon = XCB_WINDOW_NONE;
};

}

/// The icon and trays of every kind, on a display of their own.
class TrayProtocolTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theIconIsTakenIn();
    void theBadgeLiesOverTheBackgroundOfTheTray();
    void aTrayWithAlphaGetsPixelsWithAlpha();
    void theBadgeHasTheLargestSizeThatFits_data();
    void theBadgeHasTheLargestSizeThatFits();
    void theBadgeFollowsTheSizeOfTheTray();
    void aBadgeThatIsLargerThanTheTrayHasNoCorners();
    void clicksTellTheMiddleOfTheIcon();
    void aPressThatLeavesTheIconIsNoClick();
    void restingOnTheIconShowsTheToolTip();
    void theToolTipIsTheNameOfTheWindow();
    void aTrayThatComesLaterIsFound();
    void theIconReturnsWithTheTray();
    void aNewTrayTakesTheIconFromTheOldOne();
    void aVisualThatDoesNotExistIsNone();
    void rudeTraysAreLeftAlone_data();
    void rudeTraysAreLeftAlone();
    void announcementsWithoutATrayAskForNothing();
    void aTrayThatResizesAllTheTimeKeepsNobodyWaiting();
    void aFrozenServerKeepsNobodyWaiting();
    void noIconIsMadeWhileTheServerIsStuck();
    void theEndOfTheServerIsTheEndOfTheIcon();

private:
    void makeIcon();
    void answerRequests(Tray& tray);
    void makeShownIcon(Tray& tray);
    /// Until it is drawn in a tray without alpha, of 24 pixels. Before that the icon is of its color all
    /// over.
    void awaitBadge() const;
    QImage trayPicture(int size) const
    {
        return screenshot(desktop->display(), QRect(corner, QSize(size, size)));
    }

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<EventLoop> loop;
    std::unique_ptr<ServedLoop> served;
    std::unique_ptr<TrayIcon> icon;
    std::vector<std::optional<ScreenPixel>> clicks;
    std::vector<std::optional<ScreenPixel>> menus;
};

void TrayProtocolTest::init()
{
    desktop = std::make_unique<VirtualDesktop>();
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    qputenv("DISPLAY", desktop->display());
    loop = std::make_unique<EventLoop>();
    served = std::make_unique<ServedLoop>(*loop);
    clicks.clear();
    menus.clear();
}

void TrayProtocolTest::cleanup()
{
    icon.reset();
    served.reset();
    loop.reset();
    desktop.reset();
}

void TrayProtocolTest::makeIcon()
{
    icon = std::make_unique<TrayIcon>(
        *loop, [this](auto place) { clicks.push_back(place); },
        [this](auto place) { menus.push_back(place); });
}

/// Until whatever was asked for has been done, on both sides.
void TrayProtocolTest::answerRequests(Tray& tray) { QTRY_VERIFY((tray.goOn(), tray.requests > 0)); }

void TrayProtocolTest::makeShownIcon(Tray& tray)
{
    tray.appear();
    makeIcon();
    answerRequests(tray);
    QTRY_VERIFY(icon->isShown());
}

void TrayProtocolTest::awaitBadge() const
{
    QTRY_VERIFY(trayPicture(24).pixel(0, 0) == trayColor && trayPicture(24).pixel(12, 1) == ground);
}

void TrayProtocolTest::theIconIsTakenIn()
{
    Tray tray(desktop->display());

    makeIcon();
    QVERIFY(!icon->isShown());
    tray.appear();
    answerRequests(tray);

    QTRY_VERIFY(icon->isShown());
    QCOMPARE(tray.embeddingInfo(), (std::vector<std::uint32_t> { 0, 1 }));
    QCOMPARE(tray.requests, 1);
}

void TrayProtocolTest::theBadgeLiesOverTheBackgroundOfTheTray()
{
    Tray tray(desktop->display());

    makeShownIcon(tray);

    awaitBadge();
    const auto picture = trayPicture(24);
    QCOMPARE(picture.pixel(0, 0), trayColor);
    // On the round of the corner, between the two.
    const QRgb between = picture.pixel(0, 4);
    QVERIFY(qBlue(between) > qBlue(ground) && qBlue(between) < qBlue(trayColor));
}

void TrayProtocolTest::aTrayWithAlphaGetsPixelsWithAlpha()
{
    Tray tray(desktop->display(), Manners::TakesIn, Alpha::Offered);

    makeShownIcon(tray);

    QCOMPARE(tray.depthOfIcon(), 32);
    QTRY_COMPARE(tray.pixelOfIcon(12, 1), 0xff4a4a4aU);
    QCOMPARE(tray.pixelOfIcon(0, 0), 0U);
    const std::uint32_t between = tray.pixelOfIcon(0, 4);
    QVERIFY(qAlpha(between) > 0 && qAlpha(between) < 255);
    QCOMPARE_LE(std::abs(qRed(between) - 0x4a * qAlpha(between) / 255), 1);
}

void TrayProtocolTest::theBadgeHasTheLargestSizeThatFits_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("badge");

    QTest::newRow("exactly") << 22 << 22;
    QTest::newRow("a little room around") << 30 << 24;
    QTest::newRow("much room") << 100 << 48;
    QTest::newRow("too little room") << 10 << 16;
    QTest::newRow("a single pixel") << 1 << 16;
}

void TrayProtocolTest::theBadgeHasTheLargestSizeThatFits()
{
    QFETCH(const int, size);
    QFETCH(const int, badge);
    Tray tray(desktop->display(), Manners::TakesIn, Alpha::Offered, size);

    makeShownIcon(tray);

    const int margin = std::max(0, (size - badge) / 2);
    QTRY_COMPARE(qAlpha(tray.pixelOfIcon(size / 2, margin)), 255);
    if (margin > 0) {
        QCOMPARE(tray.pixelOfIcon(size / 2, margin - 1), 0U);
        QCOMPARE(qAlpha(tray.pixelOfIcon(size / 2, margin + badge - 1)), 255);
        QCOMPARE(tray.pixelOfIcon(size / 2, margin + badge), 0U);
    }
}

void TrayProtocolTest::theBadgeFollowsTheSizeOfTheTray()
{
    constexpr int largest = 32767;
    Tray tray(desktop->display(), Manners::TakesIn, Alpha::None, largest);
    makeShownIcon(tray);

    tray.resize(24);

    QTRY_COMPARE(trayPicture(24).pixel(12, 1), ground);
}

void TrayProtocolTest::aBadgeThatIsLargerThanTheTrayHasNoCorners()
{
    Tray tray(desktop->display(), Manners::TakesIn, Alpha::None, 14);

    makeShownIcon(tray);

    // It is cut off, and what is left of its round corners has no black around it.
    QTRY_COMPARE(trayPicture(14).pixel(7, 0), ground);
    QCOMPARE(trayPicture(14).pixel(0, 0), ground);
}

void TrayProtocolTest::clicksTellTheMiddleOfTheIcon()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);
    Injector injector(desktop->display());

    injector.moveTo(corner.x() + 3, corner.y() + 5);
    injector.click(1);
    injector.click(3);
    injector.click(2);
    injector.scrollUp();
    injector.sync();

    QTRY_COMPARE(menus.size(), 1U);
    QCOMPARE(clicks.size(), 1U);
    const ScreenPixel middle { corner.x() + 12, corner.y() + 12 };
    QVERIFY(clicks[0] == middle);
    QVERIFY(menus[0] == middle);
}

void TrayProtocolTest::aPressThatLeavesTheIconIsNoClick()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);
    Injector injector(desktop->display());

    injector.moveTo(corner.x() + 3, corner.y() + 5);
    injector.pressButton(3);
    injector.moveTo(corner.x() + 30, corner.y() + 5);
    injector.releaseButton(3);
    injector.moveTo(corner.x() + 3, corner.y() + 5);
    injector.click(1);
    injector.sync();

    QTRY_COMPARE(clicks.size(), 1U);
    QVERIFY(menus.empty());
}

void TrayProtocolTest::restingOnTheIconShowsTheToolTip()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);
    icon->setToolTip("1 keys · 2 clicks");
    awaitBadge();
    Injector injector(desktop->display());
    const auto before = screenshot(desktop->display());
    const auto changed = [&] { return difference(before, screenshot(desktop->display())); };

    injector.moveTo(corner.x() + 3, corner.y() + 5);
    injector.sync();

    // The icon is in the lower half of the screen.
    QTRY_VERIFY(!changed().isNull());
    const QRect shown = changed();
    QCOMPARE(shown.bottom(), corner.y() - 5);
    QCOMPARE_LE(std::abs(shown.center().x() - (corner.x() + 12)), 1);
    icon->setToolTip("1 keys · 2222 clicks");
    QTRY_COMPARE_GT(changed().width(), shown.width());
    injector.moveTo(10, 10);
    injector.sync();
    QTRY_VERIFY(changed().isNull());
}

void TrayProtocolTest::theToolTipIsTheNameOfTheWindow()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);

    icon->setToolTip("1 keys · 2 clicks");

    QTRY_COMPARE(tray.nameOfIcon(), "Knucklet: 1 keys · 2 clicks");
}

void TrayProtocolTest::aTrayThatComesLaterIsFound()
{
    makeIcon();
    Tray tray(desktop->display());

    tray.appear();
    answerRequests(tray);

    QTRY_VERIFY(icon->isShown());
}

void TrayProtocolTest::theIconReturnsWithTheTray()
{
    for (int round = 0; round < 3; ++round) {
        Tray tray(desktop->display());
        if (icon) {
            QTRY_VERIFY(!icon->isShown());
            tray.appear();
            answerRequests(tray);
        } else {
            makeShownIcon(tray);
        }
        QTRY_VERIFY(icon->isShown());
        QTRY_COMPARE(trayPicture(24).pixel(12, 1), ground);
    }
}

void TrayProtocolTest::aNewTrayTakesTheIconFromTheOldOne()
{
    Tray first(desktop->display());
    makeShownIcon(first);
    Tray second(desktop->display(), Manners::TakesIn, Alpha::Offered);

    second.appear();
    answerRequests(second);

    QTRY_VERIFY(icon->isShown());
    QTRY_COMPARE(second.pixelOfIcon(12, 1), 0xff4a4a4aU);
    QCOMPARE(first.depthOfIcon(), 0);
}

void TrayProtocolTest::aVisualThatDoesNotExistIsNone()
{
    Tray tray(desktop->display());
    tray.setVisual(0x1fffffff);

    makeShownIcon(tray);

    QTRY_COMPARE(trayPicture(24).pixel(12, 1), ground);
}

void TrayProtocolTest::rudeTraysAreLeftAlone_data()
{
    QTest::addColumn<Manners>("manners");

    QTest::newRow("one that takes nothing in") << Manners::TakesNothingIn;
    QTest::newRow("one that destroys the icon") << Manners::Destroys;
    QTest::newRow("one that gives the icon back") << Manners::GivesBack;
}

void TrayProtocolTest::rudeTraysAreLeftAlone()
{
    QFETCH(const Manners, manners);
    Tray rude(desktop->display(), manners);
    rude.appear();
    makeIcon();
    answerRequests(rude);
    // Whatever happens because of it has happened when two more timers have run out.
    int turns = 0;
    LoopTimer turn(*loop, [&] { ++turns; });
    turn.repeat(50ms);
    QTRY_VERIFY((rude.goOn(), turns >= 2));

    QCOMPARE(rude.requests, 1);
    QVERIFY(!icon->isShown());
    Tray polite(desktop->display());
    polite.appear();
    answerRequests(polite);
    QTRY_VERIFY(icon->isShown());
}

void TrayProtocolTest::announcementsWithoutATrayAskForNothing()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);

    for (int i = 0; i < 1000; ++i)
        tray.announce();
    icon->setToolTip("1 keys · 2 clicks");

    QTRY_COMPARE(tray.nameOfIcon(), "Knucklet: 1 keys · 2 clicks");
    tray.goOn();
    QCOMPARE(tray.requests, 1);
    QVERIFY(icon->isShown());
}

void TrayProtocolTest::aTrayThatResizesAllTheTimeKeepsNobodyWaiting()
{
    // With alpha, which is drawn without asking for what is below.
    Tray tray(desktop->display(), Manners::TakesIn, Alpha::Offered);
    makeShownIcon(tray);
    // Its upper edge, in the middle of the badge.
    const auto showsIcon = [&] { return qRed(trayPicture(24).pixel(12, 7)) > qRed(ground); };
    QTRY_VERIFY(showsIcon());

    // More than once, since the server may be late with some of it.
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 1000; ++i)
            tray.resize(48 + i % 2);
        tray.resize(24);
        // The answers come with or after what the icon is told.
        QCOMPARE(tray.depthOfIcon(), 32);
        QCOMPARE(tray.depthOfIcon(), 32);
        loop->dispatch();

        // What is drawn, while nothing goes on, is still a large badge, of which the icon begins further
        // down.
        const QDeadlineTimer deadline(patience);
        while (trayPicture(24).pixel(12, 1) != ground && !deadline.hasExpired()) { }
        QVERIFY(!showsIcon());
        QTRY_VERIFY(showsIcon());
    }
}

void TrayProtocolTest::aFrozenServerKeepsNobodyWaiting()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);
    QTRY_COMPARE(trayPicture(24).pixel(12, 1), ground);
    tray.resize(30);
    tray.announce();
    // Its answer comes after what the icon is told.
    QCOMPARE(tray.depthOfIcon(), trayDepth);

    desktop->freezeServer();
    // More than a connection holds that nobody reads.
    for (int i = 0; i < 10000; ++i) {
        icon->setToolTip(std::to_string(i) + " keys");
        loop->dispatch();
    }
    desktop->thawServer();

    QTRY_COMPARE(trayPicture(30).pixel(15, 3), ground);
    QCOMPARE(trayPicture(30).pixel(15, 2), trayColor);
    icon->setToolTip("10000 keys");
    QTRY_COMPARE(tray.nameOfIcon(), "Knucklet: 10000 keys");
}

void TrayProtocolTest::noIconIsMadeWhileTheServerIsStuck()
{
    Tray tray(desktop->display());
    tray.appear();
    const HandMovedClock clock { Moment() };
    X11Input input(*loop, clock);
    int answers = 0;
    Bus noBus(*loop, "unix:path=/nowhere");
    BarItem item(*loop, noBus, {}, [&] {
        ++answers;
        return input.isStuck();
    });

    desktop->freezeServer();
    item.install({}, {}, {});
    QTRY_COMPARE(answers, 2);
    QVERIFY(!item.isShown());
    desktop->thawServer();

    answerRequests(tray);
    QTRY_VERIFY(item.isShown());
}

void TrayProtocolTest::theEndOfTheServerIsTheEndOfTheIcon()
{
    Tray tray(desktop->display());
    makeShownIcon(tray);

    desktop->killServer();

    QTRY_VERIFY(!icon->isShown());
    icon->setToolTip("1 keys · 2 clicks");
    // Its connection is not watched any more: nothing is ready for ever.
    loop->dispatch();
    QVERIFY(!icon->isShown());
}

static const TestArea area("TrayProtocol", runTest<TrayProtocolTest>);
#include "TrayProtocolTest.moc"
