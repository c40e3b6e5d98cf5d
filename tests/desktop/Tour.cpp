// knucklet-tour PROGRAM FOLDER [BAR]: uses the program on a virtual desktop, with real input, and leaves
// pictures of it. The bar is xfce4-panel, if no other is named; it must be one of X11.

#include "platform/linux/Xcb.h"
#include "support/AssistantOnScreen.h"
#include "support/Bars.h"
#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/PointAt.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/VirtualDesktop.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <csignal>
#include <cstdint>
#include <cstdio>

namespace {

/// A night blue in which light and dark windows stand out.
constexpr std::uint32_t backdrop = 0x2f4058;
/// The bar and the line below it, in pixels,
constexpr int barHeight = 29;
/// and how much of it every bar covers.
constexpr int edge = 26;
/// In pixels.
constexpr int leastIcon = 12;
/// Of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymReturn = 0xff0d;

bool fail(const QString& what)
{
    std::fprintf(stderr, "The tour stopped: %s\n", qPrintable(what));
    return false;
}

/// The stats file of somebody who has had the program for a few days.
QByteArray weekBefore(QDate today)
{
    constexpr struct {
        int keys;
        int clicks;
    } days[] { { 8240, 1730 }, { 9612, 2105 }, { 3117, 640 }, { 1406, 388 }, { 7395, 1912 }, { 5020, 1174 } };
    QJsonObject table;
    for (const auto& day : days) {
        today = today.addDays(-1);
        table[today.toString(Qt::ISODate)] = QJsonObject { { "keys", day.keys }, { "clicks", day.clicks } };
    }
    return QJsonDocument(table).toJson(QJsonDocument::Compact);
}

void fillBackdrop(const QByteArray& display)
{
    const XcbConnection connection(xcb_connect(display.constData(), nullptr));
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    xcb_change_window_attributes(connection.get(), root, XCB_CW_BACK_PIXEL, &backdrop);
    // Returns when it has been done.
    const XcbReply<xcb_generic_error_t> ignored(
        xcb_request_check(connection.get(), xcb_clear_area_checked(connection.get(), 0, root, 0, 0, 0, 0)));
}

/// Shows what the program looks like while somebody uses it.
class Tour final {
public:
    Tour(const QString& program, const QString& folder, Bar bar)
        : desktop({ .windowManager = true, .panel = true, .bar = bar })
        , program(QFileInfo(program).absoluteFilePath())
        , folder(folder)
    {
    }

    bool run()
    {
        if (!QDir().mkpath(folder.path()))
            return fail("no folder for the pictures");
        if (!desktop.start())
            return fail(desktop.failure());
        writeStatsFile(desktop, weekBefore(QDate::currentDate()));

        RunningKnucklet knucklet(desktop, program);
        if (!knucklet.awaitItem()
            || !QTest::qWaitFor([this] { return icon().width() >= leastIcon; }, patience))
            return fail("the icon does not appear");
        fillBackdrop(desktop.display());

        Injector injector(desktop.display());
        if (!goThroughTheAssistant(injector))
            return false;
        type(injector, 1230);
        click(injector, 56, { 400, 400 });
        if (!QTest::qWaitFor([&] { return knucklet.toolTip().contains("1.2k keys · 56 clicks"); }, patience))
            return fail("the counts do not follow: " + knucklet.toolTip());

        if (!DesktopWindows::awaitManager(desktop.display()))
            return fail("the window manager does not answer");
        const DesktopWindows windows(desktop.display());
        const auto panel = [&windows] { return windows.find("Knucklet"); };
        click(injector, 1, icon().center());
        if (!QTest::qWaitFor(
                [&] { return panel() != XCB_WINDOW_NONE && windows.isShown(panel()); }, patience))
            return fail("the panel does not open");
        type(injector, 66);
        if (!QTest::qWaitFor([&] { return knucklet.toolTip().contains("1.3k keys · 57 clicks"); }, patience))
            return fail("the counts do not follow: " + knucklet.toolTip());

        const QRect bar(desktop.size().width() - 400, 0, 400, barHeight);
        const auto place = windows.place(panel());
        // Off the icon, whose tooltip would cover the panel.
        moveTo(injector, place.bottomLeft() + QPoint(60, 60));
        return save("panel", stillScreenshot(desktop.display(), place))
            && save("menu-bar", stillScreenshot(desktop.display(), bar))
            && save("desktop", stillScreenshot(desktop.display(), QRect({}, desktop.size())))
            && openDayCard(injector, windows) && (knucklet.end(SIGTERM) || fail("the program does not end"));
    }

private:
    QRect icon() const
    {
        return iconIn(screenshot(desktop.display(), QRect(0, 0, desktop.size().width(), edge)));
    }
    bool goThroughTheAssistant(Injector& injector) const
    {
        const char* const pages[] { "assistant-1-welcome", "assistant-2-privacy", "assistant-3-permission",
            "assistant-4-done" };
        const DesktopWindows windows(desktop.display());
        const auto assistant = [&windows] { return windows.find(assistantTitle); };
        for (int page = 0; page < 4; ++page) {
            const auto takesKeys = [&] { return assistant() && windows.active() == assistant(); };
            if (!QTest::qWaitFor([&] { return assistantPage(desktop) == page && takesKeys(); }, patience))
                return fail("the assistant does not show its next page");
            if (!save(pages[page], stillScreenshot(desktop.display(), windows.place(assistant()))))
                return false;
            injector.typeKey(injector.keyCode(keysymReturn));
            injector.sync();
        }
        return QTest::qWaitFor([&] { return assistantPicture(desktop).isNull(); }, patience)
            || fail("the assistant does not close");
    }
    bool openDayCard(Injector& injector, const DesktopWindows& windows) const
    {
        const auto share = pointAtShareButton(injector, windows);
        if (!share)
            return fail("something covers the share button");
        click(injector, 1, *share);
        const auto card = [&] { return windows.find("Day Card"); };
        if (!QTest::qWaitFor([&] { return card() != XCB_WINDOW_NONE && windows.isShown(card()); }, patience))
            return fail("the day card does not open");
        // Its last button comes a moment later.
        return save("day-card", stillScreenshot(desktop.display(), windows.place(card())));
    }
    static void type(Injector& injector, int keys)
    {
        for (int i = 0; i < keys; ++i)
            injector.typeKey(injector.keyCode('a'));
        injector.sync();
    }
    static void moveTo(Injector& injector, QPoint place)
    {
        injector.moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
        injector.sync();
    }
    static void click(Injector& injector, int clicks, QPoint place)
    {
        moveTo(injector, place);
        for (int i = 0; i < clicks; ++i)
            injector.click();
        injector.sync();
    }
    bool save(const QString& name, const QImage& picture) const
    {
        const auto file = folder.absoluteFilePath(name + ".png");
        if (!picture.save(file))
            return fail("cannot write " + file);
        std::printf("%s\n", qPrintable(file));
        return true;
    }

    VirtualDesktop desktop;
    QString program;
    QDir folder;
};

}

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const auto bar = barNamed(argc == 4 ? argv[3] : "xfce4-panel");
    if ((argc != 3 && argc != 4) || !bar) {
        std::fputs("usage: knucklet-tour PROGRAM FOLDER [BAR]\n", stderr);
        return 2;
    }

    std::printf("No display: Knucklet runs on a virtual one. Its pictures:\n");
    return Tour(argv[1], argv[2], *bar).run() ? 0 : 1;
}
