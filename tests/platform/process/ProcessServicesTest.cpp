#include "platform/linux/process/AutostartEntry.h"
#include "platform/linux/process/EventLoop.h"
#include "platform/linux/process/LoopTimers.h"
#include "platform/linux/process/SettingsFile.h"
#include "platform/linux/process/SystemClock.h"
#include "platform/linux/process/XdgFolders.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/InstalledFiles.h"
#include "support/Patience.h"
#include "support/TestArea.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <memory>

using std::chrono::milliseconds;

namespace {

void writeFile(const QString& name, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(name).path());
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), text.size());
}

QByteArray readFile(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void makeProgram(const QString& name)
{
    writeFile(name, "#!/bin/sh\n");
    QVERIFY(QFile::setPermissions(name, QFile::ReadOwner | QFile::ExeOwner));
}

/// A null string takes the variable away.
void setEnvironment(const char* variable, const QString& value)
{
    if (value.isNull()) {
        qunsetenv(variable);
    } else {
        qputenv(variable, value.toLocal8Bit());
    }
}

}

class ProcessServicesTest final : public QObject {
    Q_OBJECT

private slots:
    void init();

    void theClockIsTheWallClockInWholeMilliseconds();

    void theDataFolderFollowsTheEnvironment_data();
    void theDataFolderFollowsTheEnvironment();
    void thePicturesLieWithTheProgram();
    void theProgramsThatItStartsLieWithIt();

    void aSettingIsFalseUntilItIsSet();
    void aSettingIsInTheFileAtOnce();
    void aSettingThatIsNoBooleanIsFalse_data();
    void aSettingThatIsNoBooleanIsFalse();
    void whatElseTheFileHoldsIsKept();
    void onlyTheSettingIsWritten_data();
    void onlyTheSettingIsWritten();
    void aFullDiskKeepsTheOldSettings();
    void aFileThatCannotBeReadIsNotReplaced();
    void aFolderThatCannotBeMadeLosesOnlyTheSetting();
    void aLockThatACrashLeftBehindHoldsNothingUp();
    void aFifoInTheFilesPlaceIsNotOpened();

    void aTimerTicksUntilItIsInvalidated();
    void aTimerMayBeInvalidatedInItsOwnTick();
    void anUnknownTimerIsIgnored();
    void aTimerIsNoFasterThanItsInterval();
    void aLaterCallComesAfterWhatIsRunningNow();
    void aLaterCallEndsWithTheTimers();

    void theLoginItemFollowsItsDesktopEntry_data();
    void theLoginItemFollowsItsDesktopEntry();
    void withoutADesktopEntryTheLoginItemIsNotRegistered();
    void theLoginItemMustStartThisProgram_data();
    void theLoginItemMustStartThisProgram();
    void aLoginItemThatIsNoFileIsNotRegistered_data();
    void aLoginItemThatIsNoFileIsNotRegistered();

    void registeringMakesAnEntryForThisExecutable();
    void registeringReplacesAnEntryWhoseProgramIsGone();
    void registeringAProgramThatIsGoneIsRefused();
    void unregisteringRemovesAnEntryWhoseProgramIsGone();
    void aLinkOfTheUsersThatLeadsNowhereHidesTheSystemsEntry();
    void registeringTwiceLeavesTheEntryAlone();
    void registeringBringsBackWhatWasSwitchedOff();
    void unregisteringRemovesTheEntry();
    void unregisteringWhatIsSwitchedOffLeavesTheEntryAlone();
    void anEntryOfTheSystemCountsUnlessTheUserHasOne();
    void anEntryOfTheSystemIsHiddenAndShownAgain();
    void aRefusedLoginItemStaysAsItIs();
    void theEntryStartsAnExecutableOfAnyName_data();
    void theEntryStartsAnExecutableOfAnyName();
    void theEntryQuotesWhatDesktopsReplace();

private:
    QString settingsFile() const { return folder->filePath("Knucklet/Knucklet.conf"); }
    QString loginItemFile() const { return folder->filePath("autostart/org.knucklet.Knucklet.desktop"); }
    QString systemsLoginItemFile() const
    {
        return folder->filePath("system/autostart/org.knucklet.Knucklet.desktop");
    }

    const QString path = qEnvironmentVariable("PATH");
    std::unique_ptr<QTemporaryDir> folder;
    EventLoop loop;
    ServedLoop served { loop };
};

void ProcessServicesTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    setEnvironment("XDG_CONFIG_HOME", folder->path());
    setEnvironment("XDG_CONFIG_DIRS", folder->filePath("system"));
    setEnvironment("HOME", folder->filePath("home"));
    setEnvironment("XDG_CURRENT_DESKTOP", "Knuckle:GNOME");
    // What desktop entries start.
    setEnvironment("PATH", folder->filePath("programs") + ':' + path);
    for (const char* name : { "knucklet", "my-wrapper" })
        makeProgram(folder->filePath("programs/") + name);
}

void ProcessServicesTest::theClockIsTheWallClockInWholeMilliseconds()
{
    const SystemClock clock;

    const auto before = std::chrono::system_clock::now();
    const Moment now = clock.now();
    const auto after = std::chrono::system_clock::now();

    QVERIFY(std::chrono::floor<std::chrono::milliseconds>(before) <= now);
    QVERIFY(now <= after);
}

void ProcessServicesTest::theDataFolderFollowsTheEnvironment_data()
{
    QTest::addColumn<QString>("dataHome");
    QTest::addColumn<QString>("home");
    QTest::addColumn<QString>("expected");

    QTest::newRow("the data folder's own variable") << "/data"
                                                    << "/home/ada"
                                                    << "/data";
    QTest::newRow("below the home folder") << QString() << "/home/ada"
                                           << "/home/ada/.local/share";
    QTest::newRow("an empty variable is none") << ""
                                               << "/home/ada"
                                               << "/home/ada/.local/share";
    QTest::newRow("a relative path is none") << "data"
                                             << "/home/ada"
                                             << "/home/ada/.local/share";
    QTest::newRow("without a home folder") << "/data" << QString() << "/data";
    QTest::newRow("nothing at all") << QString() << QString() << QString();
    QTest::newRow("a relative home folder is none") << QString() << "ada" << QString();
    QTest::newRow("letters of any language") << "/Dáta/日本"
                                             << "/home/ada"
                                             << "/Dáta/日本";
}

void ProcessServicesTest::theDataFolderFollowsTheEnvironment()
{
    QFETCH(QString, dataHome);
    QFETCH(QString, home);
    QFETCH(QString, expected);
    const XdgFolders folders;

    setEnvironment("XDG_DATA_HOME", dataHome);
    setEnvironment("HOME", home);

    const auto found = folders.applicationSupport();
    QCOMPARE(found.has_value(), !expected.isEmpty());
    QCOMPARE(QString::fromStdString(found.value_or("").string()), expected);
}

void ProcessServicesTest::thePicturesLieWithTheProgram()
{
    const XdgFolders folders;

    const auto picture = folders.picture("share-bg");
    const auto missing = folders.picture("no-such-picture");

    QVERIFY(picture.has_value());
    QVERIFY(readFile(QString::fromStdString(picture->string())).startsWith("\x89PNG"));
    QVERIFY(!missing.has_value());
}

void ProcessServicesTest::theProgramsThatItStartsLieWithIt()
{
    const auto beside = ownExecutable().parent_path();

    const auto program = libexecProgram("no-such-program");

    QCOMPARE(QString::fromStdString(ownExecutable()), QCoreApplication::applicationFilePath());
    QCOMPARE(program, beside / "libexec" / "no-such-program");
}

void ProcessServicesTest::aSettingIsFalseUntilItIsSet()
{
    SettingsFile settings;
    QVERIFY(!settings.boolean("showCountsInMenuBar"));

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(settings.boolean("showCountsInMenuBar"));
    QVERIFY(!settings.boolean("hasCompletedOnboarding"));
}

void ProcessServicesTest::aSettingIsInTheFileAtOnce()
{
    SettingsFile settings;

    settings.setBoolean("showCountsInMenuBar", true);
    QCOMPARE(readFile(settingsFile()), QByteArray("[General]\nshowCountsInMenuBar=true\n"));

    settings.setBoolean("showCountsInMenuBar", false);
    QCOMPARE(readFile(settingsFile()), QByteArray("[General]\nshowCountsInMenuBar=false\n"));
}

void ProcessServicesTest::aSettingThatIsNoBooleanIsFalse_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("expected");

    QTest::newRow("true") << QByteArray("[General]\nkey=true\n") << true;
    QTest::newRow("false") << QByteArray("[General]\nkey=false\n") << false;
    QTest::newRow("written by hand") << QByteArray("[General]\nkey = True\n") << true;
    QTest::newRow("one") << QByteArray("[General]\nkey=1\n") << true;
    QTest::newRow("zero") << QByteArray("[General]\nkey=0\n") << false;
    QTest::newRow("another word") << QByteArray("[General]\nkey=perhaps\n") << false;
    QTest::newRow("a list") << QByteArray("[General]\nkey=true, true\n") << false;
    QTest::newRow("no value") << QByteArray("[General]\nkey=\n") << false;
    QTest::newRow("another group") << QByteArray("[Other]\nkey=true\n") << false;
    QTest::newRow("an empty file") << QByteArray() << false;
    QTest::newRow("the last one counts") << QByteArray("[General]\nkey=false\nkey=true\n") << true;
    QTest::newRow("in a section that comes twice")
        << QByteArray("[General]\nkey=false\n[Other]\nkey=false\n[General]\nkey=true\n") << true;
    QTest::newRow("a section of any case") << QByteArray("[general]\nkey=true\n") << true;
    QTest::newRow("a section with blanks") << QByteArray("  [ General ] \n\tkey=true\n") << true;
    QTest::newRow("in front of every section") << QByteArray("key=true\n[Other]\n") << true;
    QTest::newRow("within quotes") << QByteArray("[General]\nkey=\"true\"\n") << true;
    QTest::newRow("with a comment behind it") << QByteArray("[General]\nkey=true ; as I like it\n") << true;
    QTest::newRow("in a comment") << QByteArray("[General]\n; key=true\n;key=true\n#key=true\n") << false;
    QTest::newRow("keys tell upper from lower case") << QByteArray("[General]\nKey=true\n") << false;
    QTest::newRow("with the line ends of other systems") << QByteArray("[General]\r\nkey=true\r\n") << true;
    QTest::newRow("with the line ends of systems of old") << QByteArray("[General]\rkey=true\r") << true;
    QTest::newRow("without a last line end") << QByteArray("[General]\nkey=true") << true;
    QTest::newRow("behind a mark of the encoding") << QByteArray("\xef\xbb\xbf[General]\nkey=true\n") << true;
    QTest::newRow("no text at all") << QByteArray("\0\xff\xfe[[[\n=\0", 10) << false;
}

void ProcessServicesTest::aSettingThatIsNoBooleanIsFalse()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, expected);
    const SettingsFile settings;

    writeFile(settingsFile(), text);

    QCOMPARE(settings.boolean("key"), expected);
}

void ProcessServicesTest::whatElseTheFileHoldsIsKept()
{
    SettingsFile settings;
    writeFile(settingsFile(), "[General]\nhasCompletedOnboarding=true\n\n[Other]\nword=text\n");

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(settings.boolean("hasCompletedOnboarding"));
    QVERIFY(readFile(settingsFile()).contains("[Other]\nword=text\n"));
}

void ProcessServicesTest::onlyTheSettingIsWritten_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const auto row = [](const char* name, const QByteArray& before, const QByteArray& after) {
        QTest::newRow(name) << before << after;
    };
    row("no file yet", {}, "[General]\nkey=true\n");
    row("beside others", "[General]\na=1\nkey=false\nb=2\n", "[General]\na=1\nkey=true\nb=2\n");
    row("a new one", "[General]\na=1\n\n[Other]\nkey=false\n",
        "[General]\na=1\nkey=true\n\n[Other]\nkey=false\n");
    row("no such section", "; Mine.\n\n[Other]\nkey=false\n",
        "; Mine.\n\n[Other]\nkey=false\n[General]\nkey=true\n");
    row("no section at all", "a=1\n", "a=1\nkey=true\n");
    row("comments and what makes no sense", "# Mine.\n[General]\n ; key=1\n???\n[\n= \n",
        "# Mine.\n[General]\nkey=true\n ; key=1\n???\n[\n= \n");
    row("a comment behind it", "[General]\nkey = \"false\"  ; as I like it\n",
        "[General]\nkey=true  ; as I like it\n");
    row("the last of several", "[General]\nkey=true\nkey=false\n", "[General]\nkey=true\nkey=true\n");
    row("without a last line end", "[General]\na=1", "[General]\na=1\nkey=true\n");
    row("with the line ends of other systems", "[General]\r\nkey=false\r\nb=2\r\n",
        "[General]\r\nkey=true\r\nb=2\r\n");
    row("behind a mark of the encoding", "\xef\xbb\xbfkey=false\n", "\xef\xbb\xbfkey=true\n");
}

void ProcessServicesTest::onlyTheSettingIsWritten()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    SettingsFile settings;
    writeFile(settingsFile(), before);

    settings.setBoolean("key", true);

    QCOMPARE(readFile(settingsFile()), after);
    QVERIFY(settings.boolean("key"));
}

void ProcessServicesTest::aFullDiskKeepsTheOldSettings()
{
    const auto disk = folder->filePath("Knucklet").toStdString();
    QVERIFY(QDir().mkpath(folder->filePath("Knucklet")));
    // More than a page, and the disk has one left.
    const auto before = "[General]\nkey=true\n; " + std::string(5000, 'x') + "\n";
    const auto page = sysconf(_SC_PAGESIZE);

    const auto end = inChild([&] {
        // Without root a limit stands for the end of the disk.
        const bool hasSmallDisk = unshare(CLONE_NEWNS) == 0
            && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            && mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") == 0;
        const auto file = settingsFile().toStdString();
        put(file, before);
        if (hasSmallDisk) {
            const auto filling = disk + "/filling";
            put(filling, std::string(128 * 1024, 'x'));
            std::filesystem::resize_file(
                filling, std::filesystem::file_size(filling) - static_cast<std::uintmax_t>(page));
        } else {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit { .rlim_cur = static_cast<rlim_t>(page), .rlim_max = RLIM_INFINITY };
            setrlimit(RLIMIT_FSIZE, &limit);
        }
        SettingsFile settings;
        settings.setBoolean("other", true);
        settings.setBoolean("key", false);
        return contentOf(file) == before ? "kept" : "lost: " + contentOf(file);
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("kept"));
}

void ProcessServicesTest::aFileThatCannotBeReadIsNotReplaced()
{
    giveToOrdinaryUser(folder->path().toStdString());
    const auto end = inChild(
        [&] {
            writeFile(settingsFile(), "[General]\nkey=true\n");
            QFile::setPermissions(settingsFile(), {});
            SettingsFile().setBoolean("other", true);
            QFile::setPermissions(settingsFile(), QFile::ReadOwner);
            return contentOf(settingsFile().toStdString());
        },
        RunAs::OrdinaryUser);

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("[General]\nkey=true\n"));
}

void ProcessServicesTest::aFolderThatCannotBeMadeLosesOnlyTheSetting()
{
    SettingsFile settings;
    writeFile(folder->filePath("Knucklet"), "a file where the folder should be");

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(!settings.boolean("showCountsInMenuBar"));
    QCOMPARE(readFile(folder->filePath("Knucklet")), QByteArray("a file where the folder should be"));
}

void ProcessServicesTest::aLockThatACrashLeftBehindHoldsNothingUp()
{
    SettingsFile settings;
    writeFile(settingsFile() + ".lock", {});
    QElapsedTimer timer;
    timer.start();

    settings.setBoolean("showCountsInMenuBar", true);

    // Waiting for it takes half a minute.
    QVERIFY(timer.elapsed() < 10'000);
    QVERIFY(settings.boolean("showCountsInMenuBar"));
}

void ProcessServicesTest::aFifoInTheFilesPlaceIsNotOpened()
{
    SettingsFile settings;
    QVERIFY(QDir().mkpath(folder->filePath("Knucklet")));
    QCOMPARE(mkfifo(QFile::encodeName(settingsFile()).constData(), 0600), 0);

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(!settings.boolean("showCountsInMenuBar"));
}

void ProcessServicesTest::aTimerTicksUntilItIsInvalidated()
{
    LoopTimers timers { loop };
    int ticks = 0;
    int otherTicks = 0;
    const TimerId timer = timers.scheduleRepeating(milliseconds(10), [&] { ++ticks; });
    QCOMPARE(ticks, 0);
    QTRY_VERIFY(ticks >= 3);

    timers.invalidate(timer);
    const int ticksUntilThen = ticks;
    timers.scheduleRepeating(milliseconds(10), [&] { ++otherTicks; });
    QTRY_VERIFY(otherTicks >= 5);

    QCOMPARE(ticks, ticksUntilThen);
}

void ProcessServicesTest::aTimerMayBeInvalidatedInItsOwnTick()
{
    LoopTimers timers { loop };
    int ticks = 0;
    int otherTicks = 0;
    TimerId timer {};
    timer = timers.scheduleRepeating(milliseconds(5), [&, guard = std::make_shared<int>(7)] {
        timers.invalidate(timer);
        ticks += *guard == 7 ? 1 : 100;
    });

    timers.scheduleRepeating(milliseconds(10), [&] { ++otherTicks; });
    QTRY_VERIFY(otherTicks >= 5);

    QCOMPARE(ticks, 1);
}

void ProcessServicesTest::anUnknownTimerIsIgnored()
{
    LoopTimers timers { loop };
    int ticks = 0;
    const TimerId timer = timers.scheduleRepeating(milliseconds(5), [&] { ++ticks; });

    timers.invalidate(TimerId { 12345 });
    QTRY_VERIFY(ticks >= 1);
    timers.invalidate(timer);
    timers.invalidate(timer);
}

void ProcessServicesTest::aTimerIsNoFasterThanItsInterval()
{
    LoopTimers timers { loop };
    int ticks = 0;
    QElapsedTimer time;
    time.start();

    timers.scheduleRepeating(milliseconds(100), [&] { ++ticks; });
    QTRY_VERIFY(ticks >= 10);

    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
}

void ProcessServicesTest::aLaterCallComesAfterWhatIsRunningNow()
{
    LoopTimers timers { loop };
    QStringList order;

    timers.callLater([&] { order << "first call"; });
    timers.callLater([&] { order << "second call"; });
    order << "running now";
    QTRY_COMPARE(order.size(), 3);

    QCOMPARE(order, QStringList({ "running now", "first call", "second call" }));
}

void ProcessServicesTest::aLaterCallEndsWithTheTimers()
{
    auto timers = std::make_unique<LoopTimers>(loop);
    bool called = false;
    bool otherCalled = false;
    timers->callLater([&] { called = true; });

    timers.reset();
    LoopTimers others { loop };
    others.callLater([&] { otherCalled = true; });
    QTRY_VERIFY(otherCalled);

    QVERIFY(!called);
}

void ProcessServicesTest::theLoginItemFollowsItsDesktopEntry_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("isEnabled");

    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n";
    QTest::newRow("a plain entry") << entry << true;
    QTest::newRow("hidden") << entry + "Hidden=true\n" << false;
    QTest::newRow("expressly not hidden") << entry + "Hidden=false\n" << true;
    QTest::newRow("hidden, with blanks") << entry + "Hidden =  true \n" << false;
    QTest::newRow("hidden, with the line ends of other systems") << entry + "Hidden=true\r\n" << false;
    QTest::newRow("hidden, without a last line end") << entry + "Hidden=true" << false;
    QTest::newRow("hidden, as entries of old say it") << entry + "Hidden=1\n" << false;
    QTest::newRow("a comment about hiding") << entry + "#Hidden=true\n" << true;
    QTest::newRow("another key that ends alike") << entry + "X-Hidden=true\n" << true;
    QTest::newRow("another language's key") << entry + "Hidden[de]=true\n" << true;
    QTest::newRow("keys tell upper from lower case") << entry + "hidden=true\n" << true;
    QTest::newRow("hidden is no such word") << entry + "Hidden=yes\n" << true;
    QTest::newRow("the last one counts") << entry + "Hidden=true\nHidden=false\n" << true;
    QTest::newRow("switched off by the desktop") << entry + "X-GNOME-Autostart-enabled=false\n" << false;
    QTest::newRow("switched on by the desktop") << entry + "X-GNOME-Autostart-enabled=true\n" << true;
    QTest::newRow("hidden in another group")
        << entry + "[Desktop Action open]\nHidden=true\nX-GNOME-Autostart-enabled=false\n"
        << true;
    QTest::newRow("another group first") << "[Other]\nHidden=true\n" + entry << true;
    QTest::newRow("for this desktop") << entry + "OnlyShowIn=MATE;GNOME;\n" << true;
    QTest::newRow("for other desktops") << entry + "OnlyShowIn=MATE;KDE;\n" << false;
    QTest::newRow("for no desktop") << entry + "OnlyShowIn=\n" << false;
    QTest::newRow("not for this desktop") << entry + "NotShowIn=KDE;GNOME\n" << false;
    QTest::newRow("not for other desktops") << entry + "NotShowIn=KDE;MATE;\n" << true;
    QTest::newRow("an empty file") << QByteArray() << false;
    QTest::newRow("no such group") << QByteArray("Hidden=false\n") << false;
    QTest::newRow("far too long") << entry + QByteArray(2'000'000, '#') << false;
}

void ProcessServicesTest::theLoginItemFollowsItsDesktopEntry()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, isEnabled);
    AutostartEntry loginItem;

    writeFile(loginItemFile(), text);

    QCOMPARE(loginItem.status(), isEnabled ? LoginItemStatus::Enabled : LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::withoutADesktopEntryTheLoginItemIsNotRegistered()
{
    AutostartEntry loginItem;
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);

    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("HOME");

    QCOMPARE(loginItem.status(), LoginItemStatus::NotFound);
}

void ProcessServicesTest::theLoginItemMustStartThisProgram_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<bool>("isEnabled");

    const QByteArray self = "Exec=" + QFile::encodeName(QCoreApplication::applicationFilePath());
    QTest::newRow("this program") << self << true;
    QTest::newRow("with an argument") << self + " %u" << true;
    QTest::newRow("a program on the path") << QByteArray("Exec=my-wrapper knucklet") << true;
    QTest::newRow("a program with a path") << QByteArray("Exec=/bin/sh -c 'sleep 5; knucklet'") << true;
    QTest::newRow("within quotes") << QByteArray(R"(Exec="FOLDER/my programs/\\\\\\$1%%" x)") << true;
    QTest::newRow("within single quotes") << QByteArray(R"(Exec='FOLDER/my programs/plain')") << true;
    QTest::newRow("a program that is gone") << QByteArray("Exec=/nowhere/knucklet") << false;
    QTest::newRow("a name that is not on the path") << QByteArray("Exec=knucklet-absent") << false;
    QTest::newRow("a relative path") << QByteArray("Exec=bin/sh") << false;
    QTest::newRow("a file that is no program") << QByteArray("Exec=/etc/passwd") << false;
    QTest::newRow("a folder") << QByteArray("Exec=/usr") << false;
    QTest::newRow("another copy of this program") << QByteArray("Exec=FOLDER/copy/platform-tests") << false;
    QTest::newRow("a link to this program") << QByteArray("Exec=FOLDER/link/platform-tests") << true;
    QTest::newRow("no command") << QByteArray("Comment=none") << false;
    QTest::newRow("only where something else is") << QByteArray("Exec=knucklet\nTryExec=knucklet") << true;
    QTest::newRow("where something else is gone") << QByteArray("Exec=knucklet\nTryExec=/nowhere/x") << false;
}

void ProcessServicesTest::theLoginItemMustStartThisProgram()
{
    QFETCH(QByteArray, command);
    QFETCH(bool, isEnabled);
    AutostartEntry loginItem;
    makeProgram(folder->filePath("my programs/\\$1%"));
    makeProgram(folder->filePath("my programs/plain"));
    makeProgram(folder->filePath("copy/platform-tests"));
    QVERIFY(QDir().mkpath(folder->filePath("link")));
    QVERIFY(QFile::link(QCoreApplication::applicationFilePath(), folder->filePath("link/platform-tests")));

    writeFile(loginItemFile(),
        "[Desktop Entry]\nType=Application\nName=Knucklet\n"
            + command.replace("FOLDER", QFile::encodeName(folder->path())) + '\n');

    QCOMPARE(loginItem.status(), isEnabled ? LoginItemStatus::Enabled : LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::aLoginItemThatIsNoFileIsNotRegistered_data()
{
    QTest::addColumn<std::function<void(const QString&)>>("make");

    using Make = std::function<void(const QString&)>;
    QTest::newRow("a folder") << Make([](const QString& name) { QVERIFY(QDir().mkpath(name)); });
    QTest::newRow("a fifo") << Make(
        [](const QString& name) { QCOMPARE(mkfifo(QFile::encodeName(name).constData(), 0600), 0); });
    QTest::newRow("a link to nothing")
        << Make([](const QString& name) { QVERIFY(QFile::link("/dev/null", name)); });
    QTest::newRow("a link to itself") << Make([](const QString& name) { QVERIFY(QFile::link(name, name)); });
}

void ProcessServicesTest::aLoginItemThatIsNoFileIsNotRegistered()
{
    QFETCH(std::function<void(const QString&)>, make);
    AutostartEntry loginItem;
    QVERIFY(QDir().mkpath(folder->filePath("autostart")));

    make(loginItemFile());

    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::registeringMakesAnEntryForThisExecutable()
{
    AutostartEntry loginItem;

    QVERIFY(loginItem.registerItem());

    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
    const QByteArray exec = "\nExec=\"" + QFile::encodeName(QCoreApplication::applicationFilePath()) + "\"\n";
    QVERIFY2(readFile(loginItemFile()).contains(exec), readFile(loginItemFile()).constData());
    QCOMPARE(QProcess::execute("desktop-file-validate", { loginItemFile() }), 0);
}

void ProcessServicesTest::registeringReplacesAnEntryWhoseProgramIsGone()
{
    AutostartEntry loginItem;
    writeFile(loginItemFile(), "[Desktop Entry]\nType=Application\nName=Mine\nExec=/nowhere/knucklet\n");

    QVERIFY(loginItem.registerItem());

    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
    QVERIFY(readFile(loginItemFile()).contains(QFile::encodeName(QCoreApplication::applicationFilePath())));
}

void ProcessServicesTest::registeringAProgramThatIsGoneIsRefused()
{
    const QString copy = folder->filePath("copy");
    QVERIFY(QFile::copy(ENDING_PROGRAM, copy));
    QProcess program;

    program.start(copy, { "cannot be started at login" });
    QVERIFY(program.waitForFinished(patience));

    const auto said = program.readAllStandardOutput();
    QVERIFY2(said.contains("\nnot registered\n"), said.constData());
}

void ProcessServicesTest::unregisteringRemovesAnEntryWhoseProgramIsGone()
{
    AutostartEntry loginItem;
    writeFile(loginItemFile(), "[Desktop Entry]\nType=Application\nName=Mine\nExec=/nowhere/knucklet\n");

    QVERIFY(loginItem.unregisterItem());

    QVERIFY(!QFile::exists(loginItemFile()));
}

void ProcessServicesTest::aLinkOfTheUsersThatLeadsNowhereHidesTheSystemsEntry()
{
    AutostartEntry loginItem;
    writeFile(systemsLoginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n");
    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);

    QVERIFY(QDir().mkpath(folder->filePath("autostart")));
    QVERIFY(QFile::link(folder->filePath("nowhere"), loginItemFile()));

    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::registeringTwiceLeavesTheEntryAlone()
{
    AutostartEntry loginItem;
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Mine\nExec=my-wrapper knucklet\n";
    writeFile(loginItemFile(), entry);

    QVERIFY(loginItem.registerItem());

    QCOMPARE(readFile(loginItemFile()), entry);
}

void ProcessServicesTest::registeringBringsBackWhatWasSwitchedOff()
{
    AutostartEntry loginItem;
    writeFile(loginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nHidden=true\n");

    QVERIFY(loginItem.registerItem());

    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
}

void ProcessServicesTest::unregisteringRemovesTheEntry()
{
    AutostartEntry loginItem;
    QVERIFY(loginItem.registerItem());

    QVERIFY(loginItem.unregisterItem());
    QVERIFY(!QFile::exists(loginItemFile()));

    QVERIFY(loginItem.unregisterItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::unregisteringWhatIsSwitchedOffLeavesTheEntryAlone()
{
    AutostartEntry loginItem;
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Mine\nHidden=true\n";
    writeFile(loginItemFile(), entry);

    QVERIFY(loginItem.unregisterItem());

    QCOMPARE(readFile(loginItemFile()), entry);
}

void ProcessServicesTest::anEntryOfTheSystemCountsUnlessTheUserHasOne()
{
    AutostartEntry loginItem;
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n";

    writeFile(systemsLoginItemFile(), entry);
    const auto systems = loginItem.status();
    writeFile(loginItemFile(), entry + "X-GNOME-Autostart-enabled=false\n");
    const auto users = loginItem.status();

    QCOMPARE(systems, LoginItemStatus::Enabled);
    QCOMPARE(users, LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::anEntryOfTheSystemIsHiddenAndShownAgain()
{
    AutostartEntry loginItem;
    writeFile(systemsLoginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n");

    QVERIFY(loginItem.unregisterItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
    QVERIFY(QFile::exists(systemsLoginItemFile()));

    QVERIFY(loginItem.registerItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
}

void ProcessServicesTest::aRefusedLoginItemStaysAsItIs()
{
    AutostartEntry loginItem;
    writeFile(systemsLoginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n");
    writeFile(folder->filePath("autostart"), "a file where the folder should be");

    QVERIFY(!loginItem.unregisterItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
    QVERIFY(QFile::remove(systemsLoginItemFile()));

    QVERIFY(!loginItem.registerItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void ProcessServicesTest::theEntryStartsAnExecutableOfAnyName_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << "knucklet";
    QTest::newRow("blanks") << "a program of mine";
    QTest::newRow("quotes") << "it's a \"program\"";
    QTest::newRow("what a shell would replace") << "$HOME `id` ~ * ; & | < > ( ) #";
    QTest::newRow("backslashes") << "a\\b\\\\c\\n\\";
    QTest::newRow("ends of lines") << "two\nlines\tand\ra tab";
    QTest::newRow("letters of any language") << "Knöchelchen 指";
}

// The desktop's own launcher reads the entry and starts what it names.
void ProcessServicesTest::theEntryStartsAnExecutableOfAnyName()
{
    QFETCH(QString, name);
    const QString executable = folder->filePath(name);
    writeFile(
        executable, "#!/bin/sh\nprintf %s \"$0\" > '" + QFile::encodeName(folder->path()) + "/started'\n");
    QVERIFY(QFile::setPermissions(executable, QFile::ReadOwner | QFile::ExeOwner));
    const QByteArray path = QFile::encodeName(executable);
    const QString entry = folder->filePath("entry.desktop");

    writeFile(entry, QByteArray::fromStdString(autostartEntry(path.toStdString())));
    QCOMPARE(QProcess::execute("gio", { "launch", entry }), 0);

    QTRY_COMPARE(readFile(folder->filePath("started")), path);
}

// Not every launcher finds such an executable, but none takes it for something else.
void ProcessServicesTest::theEntryQuotesWhatDesktopsReplace()
{
    const QByteArray entry = QByteArray::fromStdString(autostartEntry("/opt/100% %f/knucklet"));

    QVERIFY2(entry.contains("\nExec=\"/opt/100%% %%f/knucklet\"\n"), entry.constData());
}

static const TestArea area("ProcessServices", runTest<ProcessServicesTest>);
#include "ProcessServicesTest.moc"
