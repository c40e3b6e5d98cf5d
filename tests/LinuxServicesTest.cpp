#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxFolders.h"
#include "platform/linux/LinuxLoginItem.h"
#include "platform/linux/LinuxSettings.h"
#include "platform/linux/LinuxTimers.h"
#include "support/Patience.h"
#include "support/TestArea.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

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

class LinuxServicesTest final : public QObject {
    Q_OBJECT

private slots:
    void init();

    void theClockIsTheWallClockInWholeMilliseconds();

    void theDataFolderFollowsTheEnvironment_data();
    void theDataFolderFollowsTheEnvironment();
    void thePicturesLieWithTheProgram();

    void aSettingIsFalseUntilItIsSet();
    void aSettingIsInTheFileAtOnce();
    void aSettingThatIsNoBooleanIsFalse_data();
    void aSettingThatIsNoBooleanIsFalse();
    void whatElseTheFileHoldsIsKept();
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
    void aLoginItemThatIsNoFileIsNotRegistered_data();
    void aLoginItemThatIsNoFileIsNotRegistered();

    void registeringMakesAnEntryForThisExecutable();
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

    std::unique_ptr<QTemporaryDir> folder;
};

void LinuxServicesTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    setEnvironment("XDG_CONFIG_HOME", folder->path());
    setEnvironment("XDG_CONFIG_DIRS", folder->filePath("system"));
    setEnvironment("HOME", folder->filePath("home"));
}

void LinuxServicesTest::theClockIsTheWallClockInWholeMilliseconds()
{
    const LinuxClock clock;

    const auto before = std::chrono::system_clock::now();
    const Moment now = clock.now();
    const auto after = std::chrono::system_clock::now();

    QVERIFY(std::chrono::floor<std::chrono::milliseconds>(before) <= now);
    QVERIFY(now <= after);
}

void LinuxServicesTest::theDataFolderFollowsTheEnvironment_data()
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

void LinuxServicesTest::theDataFolderFollowsTheEnvironment()
{
    QFETCH(QString, dataHome);
    QFETCH(QString, home);
    QFETCH(QString, expected);
    const LinuxFolders folders;

    setEnvironment("XDG_DATA_HOME", dataHome);
    setEnvironment("HOME", home);

    const auto found = folders.applicationSupport();
    QCOMPARE(found.has_value(), !expected.isEmpty());
    QCOMPARE(QString::fromStdString(found.value_or("").string()), expected);
}

void LinuxServicesTest::thePicturesLieWithTheProgram()
{
    const LinuxFolders folders;

    const auto picture = folders.picture("share-bg");
    const auto missing = folders.picture("no-such-picture");

    QVERIFY(picture.has_value());
    QVERIFY(readFile(QString::fromStdString(picture->string())).startsWith("\x89PNG"));
    QVERIFY(!missing.has_value());
}

void LinuxServicesTest::aSettingIsFalseUntilItIsSet()
{
    LinuxSettings settings;
    QVERIFY(!settings.boolean("showCountsInMenuBar"));

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(settings.boolean("showCountsInMenuBar"));
    QVERIFY(!settings.boolean("hasCompletedOnboarding"));
}

void LinuxServicesTest::aSettingIsInTheFileAtOnce()
{
    LinuxSettings settings;

    settings.setBoolean("showCountsInMenuBar", true);
    QCOMPARE(readFile(settingsFile()), QByteArray("[General]\nshowCountsInMenuBar=true\n"));

    settings.setBoolean("showCountsInMenuBar", false);
    QCOMPARE(readFile(settingsFile()), QByteArray("[General]\nshowCountsInMenuBar=false\n"));
}

void LinuxServicesTest::aSettingThatIsNoBooleanIsFalse_data()
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
    QTest::newRow("no text at all") << QByteArray("\0\xff\xfe[[[\n=\0", 10) << false;
}

void LinuxServicesTest::aSettingThatIsNoBooleanIsFalse()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, expected);
    const LinuxSettings settings;

    writeFile(settingsFile(), text);

    QCOMPARE(settings.boolean("key"), expected);
}

void LinuxServicesTest::whatElseTheFileHoldsIsKept()
{
    LinuxSettings settings;
    writeFile(settingsFile(), "[General]\nhasCompletedOnboarding=true\n\n[Other]\nword=text\n");

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(settings.boolean("hasCompletedOnboarding"));
    QVERIFY(readFile(settingsFile()).contains("[Other]\nword=text\n"));
}

void LinuxServicesTest::aFolderThatCannotBeMadeLosesOnlyTheSetting()
{
    LinuxSettings settings;
    writeFile(folder->filePath("Knucklet"), "a file where the folder should be");

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(!settings.boolean("showCountsInMenuBar"));
    QCOMPARE(readFile(folder->filePath("Knucklet")), QByteArray("a file where the folder should be"));
}

void LinuxServicesTest::aLockThatACrashLeftBehindHoldsNothingUp()
{
    LinuxSettings settings;
    writeFile(settingsFile() + ".lock", {});
    QElapsedTimer timer;
    timer.start();

    settings.setBoolean("showCountsInMenuBar", true);

    // Waiting for it takes half a minute.
    QVERIFY(timer.elapsed() < 10'000);
    QVERIFY(settings.boolean("showCountsInMenuBar"));
}

void LinuxServicesTest::aFifoInTheFilesPlaceIsNotOpened()
{
    LinuxSettings settings;
    QVERIFY(QDir().mkpath(folder->filePath("Knucklet")));
    QCOMPARE(mkfifo(QFile::encodeName(settingsFile()).constData(), 0600), 0);

    settings.setBoolean("showCountsInMenuBar", true);

    QVERIFY(!settings.boolean("showCountsInMenuBar"));
}

void LinuxServicesTest::aTimerTicksUntilItIsInvalidated()
{
    LinuxTimers timers;
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

void LinuxServicesTest::aTimerMayBeInvalidatedInItsOwnTick()
{
    LinuxTimers timers;
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

void LinuxServicesTest::anUnknownTimerIsIgnored()
{
    LinuxTimers timers;
    int ticks = 0;
    const TimerId timer = timers.scheduleRepeating(milliseconds(5), [&] { ++ticks; });

    timers.invalidate(TimerId { 12345 });
    QTRY_VERIFY(ticks >= 1);
    timers.invalidate(timer);
    timers.invalidate(timer);
}

void LinuxServicesTest::aTimerIsNoFasterThanItsInterval()
{
    LinuxTimers timers;
    int ticks = 0;
    QElapsedTimer time;
    time.start();

    timers.scheduleRepeating(milliseconds(100), [&] { ++ticks; });
    QTRY_VERIFY(ticks >= 10);

    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
}

void LinuxServicesTest::aLaterCallComesAfterWhatIsRunningNow()
{
    LinuxTimers timers;
    QStringList order;

    timers.callLater([&] { order << "first call"; });
    timers.callLater([&] { order << "second call"; });
    order << "running now";
    QTRY_COMPARE(order.size(), 3);

    QCOMPARE(order, QStringList({ "running now", "first call", "second call" }));
}

void LinuxServicesTest::aLaterCallEndsWithTheTimers()
{
    auto timers = std::make_unique<LinuxTimers>();
    bool called = false;
    bool otherCalled = false;
    timers->callLater([&] { called = true; });

    timers.reset();
    LinuxTimers others;
    others.callLater([&] { otherCalled = true; });
    QTRY_VERIFY(otherCalled);

    QVERIFY(!called);
}

void LinuxServicesTest::theLoginItemFollowsItsDesktopEntry_data()
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
    QTest::newRow("an empty file") << QByteArray() << false;
    QTest::newRow("no such group") << QByteArray("Hidden=false\n") << false;
    QTest::newRow("far too long") << entry + QByteArray(2'000'000, '#') << false;
}

void LinuxServicesTest::theLoginItemFollowsItsDesktopEntry()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, isEnabled);
    LinuxLoginItem loginItem;

    writeFile(loginItemFile(), text);

    QCOMPARE(loginItem.status(), isEnabled ? LoginItemStatus::Enabled : LoginItemStatus::NotRegistered);
}

void LinuxServicesTest::withoutADesktopEntryTheLoginItemIsNotRegistered()
{
    LinuxLoginItem loginItem;
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);

    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("HOME");

    QCOMPARE(loginItem.status(), LoginItemStatus::NotFound);
}

void LinuxServicesTest::aLoginItemThatIsNoFileIsNotRegistered_data()
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

void LinuxServicesTest::aLoginItemThatIsNoFileIsNotRegistered()
{
    QFETCH(std::function<void(const QString&)>, make);
    LinuxLoginItem loginItem;
    QVERIFY(QDir().mkpath(folder->filePath("autostart")));

    make(loginItemFile());

    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void LinuxServicesTest::registeringMakesAnEntryForThisExecutable()
{
    LinuxLoginItem loginItem;

    QVERIFY(loginItem.registerItem());

    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
    const QByteArray exec = "\nExec=\"" + QFile::encodeName(QCoreApplication::applicationFilePath()) + "\"\n";
    QVERIFY2(readFile(loginItemFile()).contains(exec), readFile(loginItemFile()).constData());
    QCOMPARE(QProcess::execute("desktop-file-validate", { loginItemFile() }), 0);
}

void LinuxServicesTest::registeringTwiceLeavesTheEntryAlone()
{
    LinuxLoginItem loginItem;
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Mine\nExec=my-wrapper knucklet\n";
    writeFile(loginItemFile(), entry);

    QVERIFY(loginItem.registerItem());

    QCOMPARE(readFile(loginItemFile()), entry);
}

void LinuxServicesTest::registeringBringsBackWhatWasSwitchedOff()
{
    LinuxLoginItem loginItem;
    writeFile(loginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nHidden=true\n");

    QVERIFY(loginItem.registerItem());

    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
}

void LinuxServicesTest::unregisteringRemovesTheEntry()
{
    LinuxLoginItem loginItem;
    QVERIFY(loginItem.registerItem());

    QVERIFY(loginItem.unregisterItem());
    QVERIFY(!QFile::exists(loginItemFile()));

    QVERIFY(loginItem.unregisterItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void LinuxServicesTest::unregisteringWhatIsSwitchedOffLeavesTheEntryAlone()
{
    LinuxLoginItem loginItem;
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Mine\nHidden=true\n";
    writeFile(loginItemFile(), entry);

    QVERIFY(loginItem.unregisterItem());

    QCOMPARE(readFile(loginItemFile()), entry);
}

void LinuxServicesTest::anEntryOfTheSystemCountsUnlessTheUserHasOne()
{
    LinuxLoginItem loginItem;
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n";

    writeFile(systemsLoginItemFile(), entry);
    const auto systems = loginItem.status();
    writeFile(loginItemFile(), entry + "X-GNOME-Autostart-enabled=false\n");
    const auto users = loginItem.status();

    QCOMPARE(systems, LoginItemStatus::Enabled);
    QCOMPARE(users, LoginItemStatus::NotRegistered);
}

void LinuxServicesTest::anEntryOfTheSystemIsHiddenAndShownAgain()
{
    LinuxLoginItem loginItem;
    writeFile(systemsLoginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n");

    QVERIFY(loginItem.unregisterItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
    QVERIFY(QFile::exists(systemsLoginItemFile()));

    QVERIFY(loginItem.registerItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
}

void LinuxServicesTest::aRefusedLoginItemStaysAsItIs()
{
    LinuxLoginItem loginItem;
    writeFile(systemsLoginItemFile(), "[Desktop Entry]\nType=Application\nName=Knucklet\nExec=knucklet\n");
    writeFile(folder->filePath("autostart"), "a file where the folder should be");

    QVERIFY(!loginItem.unregisterItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::Enabled);
    QVERIFY(QFile::remove(systemsLoginItemFile()));

    QVERIFY(!loginItem.registerItem());
    QCOMPARE(loginItem.status(), LoginItemStatus::NotRegistered);
}

void LinuxServicesTest::theEntryStartsAnExecutableOfAnyName_data()
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
void LinuxServicesTest::theEntryStartsAnExecutableOfAnyName()
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
void LinuxServicesTest::theEntryQuotesWhatDesktopsReplace()
{
    const QByteArray entry = QByteArray::fromStdString(autostartEntry("/opt/100% %f/knucklet"));

    QVERIFY2(entry.contains("\nExec=\"/opt/100%% %%f/knucklet\"\n"), entry.constData());
}

static const TestArea area("LinuxServices", runTest<LinuxServicesTest>);
#include "LinuxServicesTest.moc"
