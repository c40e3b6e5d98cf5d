#include "support/DesktopWindows.h"
#include "support/FakeCard.h"
#include "support/Files.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/PointAt.h"
#include "support/RunningKnucklet.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);
const QString title = QStringLiteral("Day Card");
const QString dialogTitle = QStringLiteral("Save PNG");

bool await(const std::function<bool()>& isSo) { return QTest::qWaitFor(isSo, patience); }

/// Keysyms of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymReturn = 0xff0d;
constexpr xcb_keysym_t keysymEscape = 0xff1b;

QByteArray today() { return QDateTime::currentDateTimeUtc().toString("yyyy-MM-dd").toLatin1(); }

QString pictureName() { return QString("Knucklet-%1.png").arg(QString(today())); }

/// The card of the numbers that a stats file holds, as it is now.
QImage cardOf(const QByteArray& stats)
{
    FakeCard card(stats.toStdString());
    card.program.platform.setClock(Moment(std::chrono::milliseconds(QDateTime::currentMSecsSinceEpoch())));
    return card.view(cardPicture()).rendered();
}

QImage decoded(const QByteArray& png)
{
    return QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGB32);
}

/// The columns of the picture in which its middle row is bright, as one stretch for each button.
std::vector<QRect> brightStretches(const QImage& row)
{
    std::vector<QRect> stretches;
    int begin = -1;
    for (int x = 0; x <= row.width(); ++x) {
        const bool isBright = x < row.width() && qGray(row.pixel(x, 0)) == 255;
        if (isBright && begin < 0)
            begin = x;
        if (!isBright && begin >= 0) {
            stretches.emplace_back(begin, 0, x - begin, 1);
            begin = -1;
        }
    }
    return stretches;
}

}

/// The day card of the real program, on a real desktop: what leaves it is what was counted.
class ShareCardDesktopTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theCopiedPictureIsThatOfTheCounts_data();
    void theCopiedPictureIsThatOfTheCounts();
    void theClipboardManagerKeepsTheCopyWhenTheProgramEnds();
    void theSavedPictureIsThatOfTheCounts();
    void twoSavesProposeTheSameName();
    void aFullDiskLeavesNothing();
    void aReadOnlyFolderLeavesNothing();
    void aCancelledSaveLeavesNothing();
    void savingWritesNothingButThePicture();
    void aSharedPictureGoesWithTheProgram_data();
    void aSharedPictureGoesWithTheProgram();
    void showingTheCardAgainKeepsTheWindowAndShowsWhatIsNew();

private:
    [[nodiscard]] bool start(const QString& command = program, const QProcessEnvironment& extra = {});
    /// From the icon through the panel to the card, whose buttons are all there afterwards.
    [[nodiscard]] bool openCard();
    /// Copy, Save PNG and Share, in pixels of the screen; fewer while they are not all there.
    std::vector<QRect> buttons() const;
    /// Returns when the click has been counted.
    [[nodiscard]] bool clickButton(std::size_t index) const;
    void click(QPoint place) const;
    void type(xcb_keysym_t symbol) const;
    [[nodiscard]] bool awaitDialog() const;
    [[nodiscard]] bool awaitNoDialog() const;
    /// What another program gets when it asks the clipboard for the type.
    QByteArray paste(const QString& type) const;
    /// Ends the program and returns what it has counted.
    QByteArray countsAtTheEnd() const;
    QString pictures() const { return desktop->folder() + "/home/Pictures"; }
    QString picture() const { return pictures() + '/' + pictureName(); }
    QStringList savedPictures() const { return QDir(pictures()).entryList(QDir::Files | QDir::Hidden); }
    QString sharedPictures() const { return desktop->folder() + "/runtime/knucklet"; }
    /// A program that runs Knucklet, after the shell has done this.
    QString wrapped(const QByteArray& command) const;

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    std::unique_ptr<DesktopWindows> windows;
    std::unique_ptr<RunningKnucklet> knucklet;
    QRect icon;
};

void ShareCardDesktopTest::init()
{
    desktop = std::make_unique<VirtualDesktop>(DesktopParts {
        // Room for the window with two pixels to a point.
        .size = { 1600, 1400 },
        .windowManager = true,
        .panel = true,
    });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    windows = std::make_unique<DesktopWindows>(desktop->display());
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    writeStatsFile(*desktop,
        "{\"2020-01-01\":{\"keys\":99999,\"clicks\":0},\"" + today() + "\":{\"keys\":1234,\"clicks\":56}}");
    QVERIFY(QDir().mkpath(pictures()));
}

void ShareCardDesktopTest::cleanup()
{
    knucklet.reset();
    windows.reset();
    injector.reset();
    desktop.reset();
}

bool ShareCardDesktopTest::start(const QString& command, const QProcessEnvironment& extra)
{
    knucklet = std::make_unique<RunningKnucklet>(*desktop, command, extra);
    if (!knucklet->awaitItem())
        return false;
    icon = knucklet->awaitIcon();
    return !icon.isNull();
}

void ShareCardDesktopTest::click(QPoint place) const
{
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->click();
    injector->sync();
}

void ShareCardDesktopTest::type(xcb_keysym_t symbol) const
{
    injector->typeKey(injector->keyCode(symbol));
    injector->sync();
}

bool ShareCardDesktopTest::openCard()
{
    click(icon.center());
    const auto isOpen = [this] {
        const auto panel = windows->find("Knucklet");
        return panel != XCB_WINDOW_NONE && windows->isShown(panel) && windows->active() == panel;
    };
    if (!await(isOpen))
        return false;
    const auto share = pointAtShareButton(*injector, *windows);
    if (!share)
        return false;
    click(*share);
    // An icon that is clicked while the panel is still there closes it.
    const auto isAlone = [this] {
        const auto card = windows->find(title);
        return card != XCB_WINDOW_NONE && windows->active() == card
            && !windows->isShown(windows->find("Knucklet"));
    };
    if (!await([&] { return isAlone() && buttons().size() == 3; }))
        return false;
    knucklet->settle();
    return true;
}

std::vector<QRect> ShareCardDesktopTest::buttons() const
{
    const auto window = windows->place(windows->find(title));
    // Above the buttons' texts, which are dark.
    const int y = window.bottom() - 20 * window.width() / 375 - 5;
    auto found = brightStretches(screenshot(desktop->display(), QRect(window.left(), y, window.width(), 1)));
    std::erase_if(found, [](const QRect& stretch) { return stretch.width() < 40; });
    for (auto& button : found)
        button.translate(window.left(), y);
    return found;
}

bool ShareCardDesktopTest::clickButton(std::size_t index) const
{
    // The button below the pointer has another color.
    const auto corner = windows->place(windows->find(title)).topLeft();
    injector->moveTo(static_cast<std::int16_t>(corner.x()), static_cast<std::int16_t>(corner.y()));
    injector->sync();
    std::vector<QRect> found;
    const auto areThere = [&] {
        found = buttons();
        return found.size() == 3;
    };
    if (!await(areThere))
        return false;
    const auto place = found[index].center();
    const auto before = knucklet->toolTip();
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->pressButton(1);
    injector->sync();
    // A hand is slower than the program, which counts the press before anything is done at the release.
    if (!await([&] { return knucklet->toolTip() != before; }))
        return false;
    injector->releaseButton(1);
    injector->sync();
    return true;
}

bool ShareCardDesktopTest::awaitDialog() const
{
    return await([this] {
        const auto dialog = windows->find(dialogTitle);
        return dialog != XCB_WINDOW_NONE && windows->active() == dialog;
    });
}

bool ShareCardDesktopTest::awaitNoDialog() const
{
    return await([this] { return windows->find(dialogTitle) == XCB_WINDOW_NONE; });
}

QByteArray ShareCardDesktopTest::paste(const QString& type) const
{
    const auto client = desktop->launch("xclip", { "-selection", "clipboard", "-t", type, "-o" });
    client->waitForFinished(patience);
    return client->exitCode() == 0 ? client->readAllStandardOutput() : QByteArray();
}

QByteArray ShareCardDesktopTest::countsAtTheEnd() const
{
    return knucklet->end(SIGTERM) ? statsFile(*desktop) : QByteArray();
}

QString ShareCardDesktopTest::wrapped(const QByteArray& command) const
{
    const auto script = desktop->folder() + "/wrapped";
    put(script.toStdString(), ("#!/bin/sh\n" + command + " '" + program.toUtf8() + "'\n").toStdString());
    ::chmod(qPrintable(script), 0700);
    return script;
}

void ShareCardDesktopTest::theCopiedPictureIsThatOfTheCounts_data()
{
    QTest::addColumn<QString>("scale");

    QTest::newRow("an ordinary screen") << "1";
    QTest::newRow("two pixels to a point") << "2";
}

void ShareCardDesktopTest::theCopiedPictureIsThatOfTheCounts()
{
    QFETCH(const QString, scale);
    QProcessEnvironment extra;
    extra.insert("QT_SCALE_FACTOR", scale);
    QVERIFY(start(program, extra));
    QVERIFY(openCard());

    QVERIFY(clickButton(0));

    QTRY_VERIFY(paste("TARGETS").split('\n').contains("image/png"));
    const auto pasted = decoded(paste("image/png"));
    QCOMPARE(pasted.size(), QSize(1080, 1350));
    const auto counts = countsAtTheEnd();
    QVERIFY(counts.contains("1234"));
    QCOMPARE(pasted, cardOf(counts));
}

void ShareCardDesktopTest::theClipboardManagerKeepsTheCopyWhenTheProgramEnds()
{
    const auto manager = desktop->launch("xfsettingsd", { "--no-daemon" });
    QVERIFY(await([this] { return windows->hasSelectionOwner("CLIPBOARD_MANAGER"); }));
    QVERIFY(start());
    QVERIFY(openCard());
    QVERIFY(clickButton(0));
    QTRY_VERIFY(!paste("image/png").isEmpty());

    const auto counts = countsAtTheEnd();

    QVERIFY(!knucklet->isRunning());
    QCOMPARE(decoded(paste("image/png")), cardOf(counts));
}

void ShareCardDesktopTest::theSavedPictureIsThatOfTheCounts()
{
    QVERIFY(start());
    QVERIFY(openCard());

    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    QVERIFY(!QFile::exists(picture()));
    type(keysymReturn);
    QVERIFY(awaitNoDialog());

    QTRY_COMPARE(savedPictures(), QStringList { pictureName() });
    const auto saved = decoded(QByteArray::fromStdString(contentOf(picture().toStdString())));
    QCOMPARE(saved.size(), QSize(1080, 1350));
    // The key that chose the place was counted after the picture was drawn.
    auto counts = countsAtTheEnd();
    QVERIFY(counts.contains("1235"));
    counts.replace("1235", "1234");
    QCOMPARE(saved, cardOf(counts));
}

void ShareCardDesktopTest::twoSavesProposeTheSameName()
{
    QVERIFY(start());
    QVERIFY(openCard());
    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    type(keysymReturn);
    QVERIFY(awaitNoDialog());
    QTRY_COMPARE(savedPictures(), QStringList { pictureName() });
    const auto first = contentOf(picture().toStdString());

    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    type(keysymReturn);
    // The file is there: the dialog asks whether to replace it, and "No" is what Return does.
    QTRY_VERIFY(windows->active() != windows->find(dialogTitle));
    type(keysymEscape);
    QTRY_COMPARE(windows->active(), windows->find(dialogTitle));
    type(keysymEscape);
    QVERIFY(awaitNoDialog());

    QCOMPARE(savedPictures(), QStringList { pictureName() });
    QCOMPARE(contentOf(picture().toStdString()), first);
}

// A limit on the size of files stands for the disk: what is written stops in the middle.
void ShareCardDesktopTest::aFullDiskLeavesNothing()
{
    QVERIFY(start(wrapped("exec prlimit --fsize=100000")));
    QVERIFY(openCard());

    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    type(keysymReturn);
    QVERIFY(awaitNoDialog());

    QVERIFY(!countsAtTheEnd().isEmpty());
    QCOMPARE(savedPictures(), QStringList());
}

void ShareCardDesktopTest::aReadOnlyFolderLeavesNothing()
{
    put((pictures() + "/old").toStdString(), "old");
    ::chmod(qPrintable(pictures()), 0555);
    // For root alone no folder is read-only.
    QVERIFY(start(wrapped(geteuid() == 0 ? "exec setpriv --bounding-set=-dac_override" : "exec")));
    QVERIFY(openCard());

    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    type(keysymReturn);
    QVERIFY(awaitNoDialog());

    QVERIFY(!countsAtTheEnd().isEmpty());
    QCOMPARE(savedPictures(), QStringList { "old" });
    ::chmod(qPrintable(pictures()), 0755);
}

void ShareCardDesktopTest::aCancelledSaveLeavesNothing()
{
    QVERIFY(start());
    QVERIFY(openCard());

    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    type(keysymEscape);
    QVERIFY(awaitNoDialog());

    QVERIFY(!countsAtTheEnd().isEmpty());
    QCOMPARE(savedPictures(), QStringList());
}

void ShareCardDesktopTest::savingWritesNothingButThePicture()
{
    QVERIFY(start());
    QVERIFY(openCard());

    QVERIFY(clickButton(1));
    QVERIFY(awaitDialog());
    type(keysymReturn);
    QVERIFY(awaitNoDialog());
    QTRY_COMPARE(savedPictures(), QStringList { pictureName() });
    QVERIFY(!countsAtTheEnd().isEmpty());

    QStringList written;
    const QDir home(desktop->folder() + "/home");
    QDirIterator each(home.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (each.hasNext())
        written << home.relativeFilePath(each.next());
    // The bar's own are those of another program.
    written = written.filter(QRegularExpression("^(?!.*xfce)"));
    written.sort();
    QCOMPARE(written,
        (QStringList { ".config/Knucklet/Knucklet.conf", ".local/share/Knucklet/lock",
            ".local/share/Knucklet/stats.json", "Pictures/" + pictureName() }));
}

void ShareCardDesktopTest::aSharedPictureGoesWithTheProgram_data()
{
    QTest::addColumn<std::function<void()>>("end");

    QTest::newRow("when it is told to end")
        << std::function<void()>([this] { QVERIFY(knucklet->send(SIGTERM)); });
    QTest::newRow("when the display ends") << std::function<void()>([this] { desktop->killServer(); });
    QTest::newRow("when it starts after a crash") << std::function<void()>([this] {
        QVERIFY(knucklet->send(SIGKILL));
        QTRY_VERIFY(!knucklet->isRunning());
        QVERIFY(start());
        QVERIFY(!QFile::exists(sharedPictures()));
        QVERIFY(knucklet->send(SIGTERM));
    });
}

void ShareCardDesktopTest::aSharedPictureGoesWithTheProgram()
{
    QFETCH(const std::function<void()>, end);
    writeViewer(*desktop, "cp %f " + pictures().toUtf8());
    QVERIFY(start());
    QVERIFY(openCard());
    QVERIFY(clickButton(2));
    // The viewer comes first in the menu.
    QTRY_VERIFY(windows->firstMenuEntry());
    click(*windows->firstMenuEntry());
    QTRY_COMPARE(savedPictures().size(), 1);
    QVERIFY(!QDir(sharedPictures()).isEmpty());

    end();

    QTRY_VERIFY(!knucklet->isRunning());
    QVERIFY(!QFile::exists(sharedPictures()));
}

void ShareCardDesktopTest::showingTheCardAgainKeepsTheWindowAndShowsWhatIsNew()
{
    QVERIFY(start());
    QVERIFY(openCard());
    const auto window = windows->find(title);
    windows->move(window, { 100, 150 });
    QTRY_COMPARE(windows->place(window).topLeft(), QPoint(100, 150));
    const auto before = screenshot(desktop->display(), windows->place(window));

    QVERIFY(openCard());

    QCOMPARE(windows->find(title), window);
    QCOMPARE(windows->place(window).topLeft(), QPoint(100, 150));
    // Two clicks more, on the icon and in the panel.
    QTRY_VERIFY(!difference(before, screenshot(desktop->display(), windows->place(window))).isNull());
}

static const TestArea area("ShareCardDesktop", runTest<ShareCardDesktopTest, QApplication>);
#include "ShareCardDesktopTest.moc"
