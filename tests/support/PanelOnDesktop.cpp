#include "support/PanelOnDesktop.h"

#include "support/Patience.h"
#include "support/PointAt.h"
#include "support/Screenshot.h"

#include <QTest>

PanelOnDesktop::~PanelOnDesktop()
{
    if (busLog) {
        busLog->kill();
        busLog->waitForFinished(patience);
    }
}

bool PanelOnDesktop::start()
{
    if (!desktop.start())
        return false;
    busLog = desktop.launch("dbus-monitor",
        { "--profile", "type=method_call,interface=org.kde.StatusNotifierItem,member=Activate" },
        { .channels = QProcess::MergedChannels });
    if (!busLog->waitForReadyRead(patience))
        return false;
    injector = std::make_unique<Injector>(desktop.display());
    windows = std::make_unique<DesktopWindows>(desktop.display());
    // The assistant would otherwise cover what is looked at.
    writeSettingsFile(desktop, "[General]\nhasCompletedOnboarding=true\n");
    return true;
}

bool PanelOnDesktop::run(const QString& program, const QProcessEnvironment& extra)
{
    // One program at a time.
    knucklet.reset();
    knucklet = std::make_unique<RunningKnucklet>(desktop, program, extra);
    return knucklet->awaitItem() && findIcon({ desktop.size().width() - 22, 2, 22, 24 });
}

bool PanelOnDesktop::findIcon(const QRect& tray)
{
    const auto found = knucklet->awaitIcon(tray);
    icon = found.center();
    return !found.isNull();
}

void PanelOnDesktop::moveTo(QPoint place) const
{
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->sync();
}

void PanelOnDesktop::click(QPoint place) const
{
    moveTo(place);
    injector->click();
    injector->sync();
}

bool PanelOnDesktop::clickInPanel(QPoint place) const
{
    if (!pointAt(*injector, *windows, panel(), place))
        return false;
    click(place);
    return true;
}

void PanelOnDesktop::clickIcon()
{
    // No hand is as quick as this one, and bars take two quick clicks at one place for a double click.
    const int side = ++clicksOnIcon % 2 == 0 ? 4 : -4;
    click(icon + QPoint(side, 0));
}

void PanelOnDesktop::type(xcb_keysym_t symbol, int times) const
{
    const auto code = injector->keyCode(symbol);
    for (int i = 0; i < times; ++i)
        injector->typeKey(code);
    injector->sync();
}

bool PanelOnDesktop::open()
{
    // A press is held against the place of the pointer when the program hears of it.
    knucklet->settle();
    // Now and then the window manager keeps a press that follows another one at once from the bar.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto before = reportedClicks();
        clickIcon();
        if (QTest::qWaitFor([&] { return reportedClicks() > before; }, 20000))
            break;
    }
    return QTest::qWaitFor([&] { return isOpen() && windows->active() == panel(); }, patience);
}

qsizetype PanelOnDesktop::reportedClicks() { return (reports += busLog->readAll()).count("\tActivate\n"); }

xcb_window_t PanelOnDesktop::panel() const
{
    const auto window = windows->find("Knucklet");
    return windows->isShown(window) ? window : xcb_window_t { XCB_WINDOW_NONE };
}

QImage PanelOnDesktop::picture() const
{
    const auto place = area();
    if (place.isNull())
        return {};
    moveTo({ desktop.size().width() / 2, desktop.size().height() - 1 });
    QImage picture;
    // The line around the panel tells whether it has been painted: what is below it has none.
    const auto isPainted = [&] {
        picture = screenshot(desktop.display(), place);
        const int middle = picture.height() / 2;
        return picture.pixel(0, middle) != picture.pixel(7, middle);
    };
    return QTest::qWaitFor(isPainted, patience) ? picture : QImage();
}
