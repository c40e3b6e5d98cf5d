#include "Build.h"
#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/LoginManager.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDate>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Keysyms of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymA = 0x61;
constexpr xcb_keysym_t keysymShift = 0xffe1;
constexpr xcb_keysym_t keysymCapsLock = 0xffe5;

/// Types and clicks at a place as fast as the server takes it: `blocks` times twenty keys and five clicks,
/// among motion, wheel, modifiers and one key that is held for a while.
void typeAndClick(Injector& injector, int blocks)
{
    const auto letter = injector.keyCode(keysymA);
    const auto shift = injector.keyCode(keysymShift);
    const auto capsLock = injector.keyCode(keysymCapsLock);
    constexpr std::uint8_t buttons[] { 1, 2, 3, 8, 9 };

    for (int block = 0; block < blocks; ++block) {
        injector.pressKey(shift);
        for (int i = 0; i < 10; ++i)
            injector.typeKey(letter);
        injector.releaseKey(shift);
        injector.typeKey(capsLock);
        for (int i = 0; i < 9; ++i)
            injector.typeKey(static_cast<std::uint8_t>(letter + i % 3));
        injector.pressKey(letter);
        for (const auto button : buttons) {
            injector.moveTo(static_cast<std::int16_t>(600 + block % 40), 500);
            injector.click(button);
            injector.scrollDown();
            injector.scrollUp();
        }
        injector.releaseKey(letter);
    }
    injector.sync();
}

}

/// Writes down the signals that the program's item sends, by their names.
class SignalLog final : public QObject {
    Q_OBJECT

public:
    explicit SignalLog(const RunningKnucklet& knucklet)
    {
        // An empty name stands for every signal.
        knucklet.sessionBus().connect(knucklet.itemService(), "/StatusNotifierItem",
            "org.kde.StatusNotifierItem", QString(), this, SLOT(received(QDBusMessage)));
    }

    QStringList names;

private slots:
    void received(const QDBusMessage& message) { names << message.member(); }
};

/// The real program in a real bar, with real input.
class DesktopTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theIconStandsInTheBar();
    void theItemSaysWhatItIs();
    void theLabelIsThereOnlyWhenItIsWanted();
    void theToolTipFollowsTheCounts();
    void nothingIsSentWhileTheVisibleTextIsUnchanged();
    void everyPressOfABurstIsInTheFile();
    void everyPressOfABurstAcrossMidnightIsInTheFile();
    void whatIsTypedWhileTheSessionIsLockedCountsNot();
    void everyOrderlyEndSaves_data();
    void everyOrderlyEndSaves();
    void aServerThatDoesNotAnswerDoesNotKeepItFromSaving();
    void theNextRunContinuesTheDay();
    void theProgramSaysNothing();
    void noSecondToolkitIsLoadedUnlessTheUserAsksForIt_data();
    void noSecondToolkitIsLoadedUnlessTheUserAsksForIt();
    void noToolkitIsLoadedBeforeTheFirstWindow();
    void anUpgradeWhileItRunsChangesNoWindows();
    void withoutItsWindowsItCounts_data();
    void withoutItsWindowsItCounts();
    void aToolkitThatDoesNotFitTheSessionIsPassedOver_data();
    void aToolkitThatDoesNotFitTheSessionIsPassedOver();
    void withoutADisplayItLeavesWithoutAWord();

private:
    void clickIcon(const RunningKnucklet& knucklet);
    static QString copyOfTheProgram(const QTemporaryDir& folder);
    /// This build's windows with another id.
    static QByteArray moduleOfAnotherBuild();

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
};

void DesktopTest::init()
{
    desktop = std::make_unique<VirtualDesktop>(DesktopParts { .windowManager = true, .panel = true });
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    // The assistant would otherwise cover what is looked at.
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
}

void DesktopTest::cleanup()
{
    injector.reset();
    desktop.reset();
}

void DesktopTest::theIconStandsInTheBar()
{
    RunningKnucklet knucklet(*desktop, program);

    QVERIFY(knucklet.awaitItem());

    // As large as the keyboard is drawn for a bar of this height.
    QVERIFY(!knucklet.awaitIcon().isNull());
}

void DesktopTest::theItemSaysWhatItIs()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());

    QCOMPARE(knucklet.itemProperty("Title").toString(), "Knucklet");
    QCOMPARE(knucklet.itemProperty("Id").toString(), "org.knucklet.Knucklet");
    QCOMPARE(knucklet.itemProperty("Status").toString(), "Active");
    QCOMPARE(knucklet.itemProperty("ItemIsMenu").toBool(), false);
    QCOMPARE(knucklet.commands(), (QStringList { "Open Knucklet", "Setup Assistant…", "Quit Knucklet" }));
}

void DesktopTest::theLabelIsThereOnlyWhenItIsWanted()
{
    const auto today = QDate::currentDate().toString(Qt::ISODate).toUtf8();
    writeStatsFile(*desktop, "{\"" + today + "\":{\"keys\":1234,\"clicks\":56}}");
    {
        RunningKnucklet knucklet(*desktop, program);
        QVERIFY(knucklet.awaitItem());
        QCOMPARE(knucklet.itemProperty("XAyatanaLabel").toString(), "");
    }

    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\nshowCountsInMenuBar=true\n");
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());

    QCOMPARE(knucklet.itemProperty("XAyatanaLabel").toString(), "1.2k · 56");
}

void DesktopTest::theToolTipFollowsTheCounts()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    QVERIFY(knucklet.toolTip().contains("0 keys · 0 clicks"));

    for (int i = 0; i < 3; ++i)
        injector->typeKey(injector->keyCode(keysymA));
    injector->moveTo(600, 500);
    injector->click();
    injector->sync();

    QTRY_VERIFY2(knucklet.toolTip().contains("3 keys · 1 clicks"), qPrintable(knucklet.toolTip()));
}

void DesktopTest::nothingIsSentWhileTheVisibleTextIsUnchanged()
{
    const auto today = QDate::currentDate().toString(Qt::ISODate).toUtf8();
    writeStatsFile(*desktop, "{\"" + today + "\":{\"keys\":1160,\"clicks\":0}}");
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\nshowCountsInMenuBar=true\n");
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    const SignalLog log(knucklet);
    const auto letter = injector->keyCode(keysymA);

    // 1160 to 1249 all read "1.2k"; the ninety-first press makes it "1.3k".
    for (int i = 0; i < 89; ++i) {
        injector->typeKey(letter);
        injector->sync();
    }
    for (int i = 0; i < 2; ++i)
        injector->typeKey(letter);
    injector->sync();

    QTRY_COMPARE(log.names.size(), 2);
    auto names = log.names;
    names.sort();
    QCOMPARE(names, (QStringList { "NewToolTip", "XAyatanaNewLabel" }));
    QCOMPARE(knucklet.itemProperty("XAyatanaLabel").toString(), "1.3k · 0");
}

/// The program with its modules in a folder of its own. Says where its windows are.
QString DesktopTest::copyOfTheProgram(const QTemporaryDir& folder)
{
    if (!copyProgram(program, folder))
        return {};
    return folder.filePath("modules/knucklet-windows.so");
}

QByteArray DesktopTest::moduleOfAnotherBuild()
{
    const QTemporaryDir folder;
    QFile ours(copyOfTheProgram(folder));
    if (!ours.open(QFile::ReadOnly))
        return {};
    auto module = ours.readAll();
    const auto id = module.indexOf(buildId);
    if (id >= 0)
        module[id] = module[id] == '0' ? '1' : '0';
    return id < 0 ? QByteArray() : module;
}

void DesktopTest::clickIcon(const RunningKnucklet& knucklet)
{
    const auto icon = knucklet.awaitIcon();
    QVERIFY(!icon.isNull());
    const auto place = icon.center();
    injector->moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    injector->click();
    injector->sync();
}

void DesktopTest::everyPressOfABurstIsInTheFile()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());

    typeAndClick(*injector, 1000);

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { 20000, 5000 }));
}

// The day changes in the middle of the burst, as far as the program can tell: its clock is read from a file.
void DesktopTest::everyPressOfABurstAcrossMidnightIsInTheFile()
{
    const auto clock = desktop->folder() + "/clock";
    const auto setClock = [&clock](const char* moment) {
        // Renamed into place, so that the program never reads an empty file.
        QFile next(clock + ".next");
        QVERIFY(next.open(QFile::WriteOnly));
        next.write(moment);
        next.close();
        QVERIFY(::rename(qPrintable(next.fileName()), qPrintable(clock)) == 0);
    };
    setClock("2026-11-15 23:59:58");
    QProcessEnvironment faked;
    faked.insert("LD_PRELOAD", FAKETIME_LIBRARY);
    faked.insert("FAKETIME_TIMESTAMP_FILE", clock);
    faked.insert("FAKETIME_NO_CACHE", "1");
    faked.insert("FAKETIME_DONT_FAKE_MONOTONIC", "1");
    faked.insert("NO_FAKE_STAT", "1");
    RunningKnucklet knucklet(*desktop, program, faked);
    QVERIFY(knucklet.awaitItem());

    typeAndClick(*injector, 100);
    QTRY_VERIFY2(knucklet.toolTip().contains("2.0k keys · 500 clicks"), qPrintable(knucklet.toolTip()));
    typeAndClick(*injector, 400);
    // It stands still there, and a press that is handled late is older than that only on a machine that
    // hangs.
    setClock("2026-11-16 00:01:00");
    typeAndClick(*injector, 500);

    QVERIFY(knucklet.end(SIGTERM));
    const auto days = savedDays(*desktop);
    QCOMPARE(days.keys(), (QStringList { "2026-11-15", "2026-11-16" }));
    QCOMPARE_GE(days["2026-11-15"].keys, 2000);
    QCOMPARE_GE(days["2026-11-16"].keys, 1);
    QCOMPARE(savedCounts(*desktop), (Counts { 20000, 5000 }));
}

void DesktopTest::whatIsTypedWhileTheSessionIsLockedCountsNot()
{
    LoginManager manager(QDBusConnection::connectToBus(desktop->busAddress(), "login"));
    QProcessEnvironment withManager;
    withManager.insert("DBUS_SYSTEM_BUS_ADDRESS", desktop->busAddress());
    RunningKnucklet knucklet(*desktop, program, withManager);
    QVERIFY(knucklet.awaitItem());
    QTRY_VERIFY(manager.hasClient());
    const auto type = [this](int keys) {
        for (int i = 0; i < keys; ++i) {
            injector->typeKey(injector->keyCode(keysymA));
            injector->sync();
        }
    };

    // On the heels of each other, so that presses are still on their way when the lock changes.
    for (int round = 0; round < 20; ++round) {
        type(5);
        manager.own.setLocked(true);
        manager.awaitHearing();
        type(7);
        manager.own.setLocked(false);
        manager.awaitHearing();
    }

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop).keys, 100);
    QDBusConnection::disconnectFromBus("login");
}

void DesktopTest::everyOrderlyEndSaves_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
    QTest::newRow("Quit in the menu") << 0;
}

void DesktopTest::everyOrderlyEndSaves()
{
    QFETCH(const int, signal);
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());

    typeAndClick(*injector, 10);

    if (signal) {
        QVERIFY(knucklet.end(signal));
    } else {
        QVERIFY(knucklet.choose("Quit Knucklet"));
        QVERIFY(knucklet.awaitEnd());
    }
    QCOMPARE(savedCounts(*desktop), (Counts { 200, 50 }));
}

void DesktopTest::aServerThatDoesNotAnswerDoesNotKeepItFromSaving()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    typeAndClick(*injector, 1);
    QTRY_VERIFY2(knucklet.toolTip().contains("20 keys · 5 clicks"), qPrintable(knucklet.toolTip()));

    desktop->freezeServer();
    ::kill(static_cast<pid_t>(knucklet.processId()), SIGTERM);

    QTRY_COMPARE(savedCounts(*desktop), (Counts { 20, 5 }));
    desktop->thawServer();
    QVERIFY(knucklet.awaitEnd());
}

void DesktopTest::theNextRunContinuesTheDay()
{
    for (int run = 1; run <= 2; ++run) {
        RunningKnucklet knucklet(*desktop, program);
        QVERIFY(knucklet.awaitItem());

        typeAndClick(*injector, 1);

        QVERIFY(knucklet.end(SIGTERM));
        QCOMPARE(savedCounts(*desktop), (Counts { run * 20, run * 5 }));
    }
}

void DesktopTest::theProgramSaysNothing()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    clickIcon(knucklet);
    typeAndClick(*injector, 10);

    QVERIFY(knucklet.end(SIGTERM));

    QCOMPARE(knucklet.output(), QByteArray());
}

void DesktopTest::noToolkitIsLoadedBeforeTheFirstWindow()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitItem());
    const auto toolTip = knucklet.toolTip();
    typeAndClick(*injector, 10);
    QTRY_VERIFY(knucklet.toolTip() != toolTip);
    // Of what hosts ask for, this has to be drawn.
    QVERIFY(knucklet.itemProperty("IconPixmap").isValid());
    QVERIFY(knucklet.itemProperty("XAyatanaLabel").isValid());

    QCOMPARE(QDir(QString("/proc/%1/task").arg(knucklet.processId()))
                 .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                 .size(),
        1);
    const auto before = knucklet.mappings();
    QVERIFY(before.contains("/libxcb.so"));
    for (const char* library :
        { "/libQt", "/libicu", "/libglib", "knucklet-windows.so", "knucklet-calendar.so" })
        QVERIFY2(!before.contains(library), library);

    QVERIFY(DesktopWindows::awaitManager(desktop->display()));
    clickIcon(knucklet);
    const DesktopWindows windows(desktop->display());
    QTRY_VERIFY(windows.isShown(windows.find("Knucklet")));
    QVERIFY(knucklet.mappings().contains("knucklet-windows.so"));
    QVERIFY(knucklet.mappings().contains("/libQt6Widgets.so"));
}

void DesktopTest::anUpgradeWhileItRunsChangesNoWindows()
{
    const QTemporaryDir folder;
    const auto windowsModule = copyOfTheProgram(folder);
    RunningKnucklet knucklet(*desktop, folder.filePath("knucklet"));
    QVERIFY(knucklet.awaitItem());

    QVERIFY(QFile::remove(windowsModule));
    QFile other(windowsModule);
    QVERIFY(other.open(QFile::WriteOnly) && other.write("of another build") > 0);
    other.close();
    clickIcon(knucklet);

    const DesktopWindows windows(desktop->display());
    QTRY_VERIFY(windows.isShown(windows.find("Knucklet")));
}

void DesktopTest::withoutItsWindowsItCounts_data()
{
    QTest::addColumn<QByteArray>("module");

    QTest::newRow("missing") << QByteArray();
    QTest::newRow("no module at all") << QByteArray("no module at all");
    QTest::newRow("of another build") << moduleOfAnotherBuild();
}

void DesktopTest::withoutItsWindowsItCounts()
{
    QFETCH(const QByteArray, module);
    const QTemporaryDir folder;
    const auto windowsModule = copyOfTheProgram(folder);
    QVERIFY(QFile::remove(windowsModule));
    QFile other(windowsModule);
    if (!module.isEmpty())
        QVERIFY(other.open(QFile::WriteOnly) && other.write(module) > 0);
    other.close();
    RunningKnucklet knucklet(*desktop, folder.filePath("knucklet"));
    QVERIFY(knucklet.awaitItem());
    const auto before = savedCounts(*desktop).keys;

    clickIcon(knucklet);
    QVERIFY(knucklet.choose("Setup Assistant…"));
    knucklet.settle();
    typeAndClick(*injector, 10);

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop).keys - before, 200);
    QCOMPARE(knucklet.output(), QByteArray());
}

void DesktopTest::aToolkitThatDoesNotFitTheSessionIsPassedOver_data()
{
    QTest::addColumn<QString>("platform");

    QTest::newRow("of another session") << "wayland";
    QTest::newRow("of no session") << "nonsense";
}

void DesktopTest::aToolkitThatDoesNotFitTheSessionIsPassedOver()
{
    QFETCH(const QString, platform);
    QProcessEnvironment wish;
    wish.insert("QT_QPA_PLATFORM", platform);
    RunningKnucklet knucklet(*desktop, program, wish);
    QVERIFY(knucklet.awaitItem());
    const DesktopWindows windows(desktop->display());

    clickIcon(knucklet);

    QTRY_VERIFY(windows.find("Knucklet") != XCB_WINDOW_NONE);
    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { .keys = 0, .clicks = 1 }));
    QCOMPARE(knucklet.output(), QByteArray());
}

void DesktopTest::withoutADisplayItLeavesWithoutAWord()
{
    QProcessEnvironment noDisplay;
    noDisplay.insert("DISPLAY", ":none");
    const auto knucklet
        = desktop->launch(program, {}, { .channels = QProcess::MergedChannels, .additions = noDisplay });

    QVERIFY(knucklet->waitForFinished(patience));

    QCOMPARE(knucklet->exitStatus(), QProcess::NormalExit);
    QCOMPARE(knucklet->exitCode(), 1);
    QCOMPARE(knucklet->readAll(), QByteArray());
}

void DesktopTest::noSecondToolkitIsLoadedUnlessTheUserAsksForIt_data()
{
    QTest::addColumn<QString>("theme");
    QTest::addColumn<bool>("loadsGtk");

    QTest::newRow("the desktop's own theme") << QString() << false;
    QTest::newRow("the theme that the user names") << QStringLiteral("gtk3") << true;
}

void DesktopTest::noSecondToolkitIsLoadedUnlessTheUserAsksForIt()
{
    QFETCH(const QString, theme);
    QFETCH(const bool, loadsGtk);
    QProcessEnvironment xfce;
    xfce.insert("XDG_CURRENT_DESKTOP", "XFCE");
    xfce.insert("QT_QPA_PLATFORMTHEME", theme);

    RunningKnucklet knucklet(*desktop, program, xfce);
    QVERIFY(knucklet.awaitItem());

    clickIcon(knucklet);
    const DesktopWindows windows(desktop->display());
    QTRY_VERIFY(windows.isShown(windows.find("Knucklet")));

    QCOMPARE(knucklet.mappings().contains("/libgtk-"), loadsGtk);
}

static const TestArea area("Desktop", runTest<DesktopTest>);
#include "DesktopTest.moc"
