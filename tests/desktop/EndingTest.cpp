#include "support/AssistantOnScreen.h"
#include "support/DesktopWindows.h"
#include "support/FileWatch.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/SessionManager.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QDate>
#include <QTest>

#include <sys/inotify.h>

#include <csignal>
#include <functional>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// A keysym of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymA = 0x61;

using End = std::function<void(RunningKnucklet&)>;

End bySignal(int signal)
{
    return [signal](RunningKnucklet& knucklet) { QVERIFY(knucklet.send(signal)); };
}

void type(Injector& injector, int keys)
{
    const auto letter = injector.keyCode(keysymA);
    for (int i = 0; i < keys; ++i)
        injector.typeKey(letter);
    // Twice: the server has written to everybody what follows from the first before it looks at the second.
    injector.sync();
    injector.sync();
}

std::unique_ptr<VirtualDesktop> startedDesktop()
{
    auto desktop = std::make_unique<VirtualDesktop>();
    if (!desktop->start())
        return {};
    // The assistant would otherwise open.
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
    return desktop;
}

QProcessEnvironment managedBy(const SessionManager& manager)
{
    QProcessEnvironment environment;
    environment.insert("SESSION_MANAGER", manager.address());
    return environment;
}

/// A desktop portal that hears every question and answers none.
class SilentPortal final : public QDBusVirtualObject {
public:
    explicit SilentPortal(const VirtualDesktop& desktop)
        : bus(QDBusConnection::connectToBus(desktop.busAddress(), "portal"))
    {
        bus.registerVirtualObject("/org/freedesktop/portal/desktop", this);
        bus.registerService("org.freedesktop.portal.Desktop");
    }
    ~SilentPortal() override { QDBusConnection::disconnectFromBus(bus.name()); }

    bool handleMessage(const QDBusMessage&, const QDBusConnection&) override { return true; }
    QString introspect(const QString&) const override { return {}; }

private:
    QDBusConnection bus;
};

/// A table of so many days before today.
QByteArray manyDays(int count)
{
    QByteArray text = "{";
    for (int i = 1; i <= count; ++i) {
        const auto day = QDate::currentDate().addDays(-i).toString(Qt::ISODate).toUtf8();
        text += '"' + day + "\":{\"keys\":" + QByteArray::number(i) + ",\"clicks\":1},";
    }
    text.back() = '}';
    return text;
}

}

/// The ends of the real program, with real input.
class EndingTest final : public QObject {
    Q_OBJECT

private slots:
    void anOrderlyEndWhileTypingLosesNothing_data();
    void anOrderlyEndWhileTypingLosesNothing();
    void losingTheDisplayWhileTypingLosesNothing();
    void losingTheDisplayWhileTypingIntoAWindowLosesNothing();
    void theEndOfTheSessionLosesNothingAndAsksNobody();
    void theEndOfTheSessionWhileTheFirstWindowComesLosesNothing();
    void losingTheBusEndsNothing();
    void aKillWhileItSavesLeavesAWholeFile_data();
    void aKillWhileItSavesLeavesAWholeFile();
};

void EndingTest::anOrderlyEndWhileTypingLosesNothing_data()
{
    QTest::addColumn<End>("end");

    QTest::newRow("SIGTERM") << bySignal(SIGTERM);
    QTest::newRow("SIGINT") << bySignal(SIGINT);
    QTest::newRow("SIGHUP") << bySignal(SIGHUP);
    QTest::newRow("Quit in the menu")
        << End([](RunningKnucklet& knucklet) { QVERIFY(knucklet.choose("Quit Knucklet")); });
}

void EndingTest::anOrderlyEndWhileTypingLosesNothing()
{
    QFETCH(const End, end);
    const auto desktop = startedDesktop();
    QVERIFY(desktop);
    Injector injector(desktop->display());

    for (int round = 0; round < 50; ++round) {
        RunningKnucklet knucklet(*desktop, program);
        QVERIFY(knucklet.awaitCounting());
        const auto before = savedCounts(*desktop).keys;
        type(injector, 20 + round);

        end(knucklet);
        type(injector, 20);

        QVERIFY(knucklet.awaitEnd());
        const auto saved = savedCounts(*desktop).keys - before;
        // What was typed before the end began, and no more than was typed at all.
        QCOMPARE_GE(saved, 20 + round);
        QCOMPARE_LE(saved, 40 + round);
        QCOMPARE(knucklet.output(), QByteArray());
    }
}

void EndingTest::losingTheDisplayWhileTypingLosesNothing()
{
    for (int round = 0; round < 50; ++round) {
        const auto desktop = startedDesktop();
        QVERIFY(desktop);
        Injector injector(desktop->display());
        RunningKnucklet knucklet(*desktop, program);
        QVERIFY(knucklet.awaitCounting());
        type(injector, 20 + round);

        desktop->killServer();
        // Its code says that it did not end of its own accord.
        QTRY_VERIFY(!knucklet.isRunning());

        QCOMPARE(savedCounts(*desktop).keys, 20 + round);
        QCOMPARE(knucklet.output(), QByteArray());
    }
}

// The toolkit still hands on what the server had said to a window when the server is gone.
void EndingTest::losingTheDisplayWhileTypingIntoAWindowLosesNothing()
{
    for (int round = 0; round < 5; ++round) {
        VirtualDesktop desktop({ .windowManager = true });
        QVERIFY(desktop.start());
        Injector injector(desktop.display());
        const DesktopWindows windows(desktop.display());
        RunningKnucklet knucklet(desktop, program);
        QVERIFY(knucklet.awaitCounting());
        QTRY_VERIFY(windows.find(assistantTitle));
        QTRY_COMPARE(windows.active(), windows.find(assistantTitle));
        type(injector, 60);

        desktop.killServer();
        QTRY_VERIFY(!knucklet.isRunning());

        QCOMPARE(savedCounts(desktop).keys, 60);
        QCOMPARE(knucklet.output(), QByteArray());
    }
}

void EndingTest::theEndOfTheSessionLosesNothingAndAsksNobody()
{
    const auto desktop = startedDesktop();
    QVERIFY(desktop);
    Injector injector(desktop->display());

    for (int round = 0; round < 50; ++round) {
        SessionManager manager;
        QVERIFY(!manager.address().isEmpty());
        RunningKnucklet knucklet(*desktop, program, managedBy(manager));
        QVERIFY(knucklet.awaitCounting());
        // It is a client of the manager from its first window on; before, the end of the session is that of
        // the display.
        const auto again = desktop->launch(program, {}, { .additions = managedBy(manager) });
        QTRY_VERIFY(manager.hasClient());
        QTRY_COMPARE(again->state(), QProcess::NotRunning);
        const auto before = savedCounts(*desktop).keys;
        type(injector, 20 + round);

        manager.endSession();
        QTRY_VERIFY(!knucklet.isRunning());

        QVERIFY(knucklet.awaitEnd());
        QCOMPARE(savedCounts(*desktop).keys - before, 20 + round);
        QVERIFY(!manager.wasAskedToInteract());
        // The login item alone starts it at the next login.
        constexpr int restartNever = 3;
        QCOMPARE(manager.restartStyle(), restartNever);
    }
}

void EndingTest::theEndOfTheSessionWhileTheFirstWindowComesLosesNothing()
{
    const auto desktop = startedDesktop();
    QVERIFY(desktop);
    Injector injector(desktop->display());
    // The program waits for it a moment with its first window.
    const SilentPortal portal(*desktop);
    SessionManager manager;
    QVERIFY(!manager.address().isEmpty());
    manager.endSessionAtOnce();
    RunningKnucklet knucklet(*desktop, program, managedBy(manager));
    QVERIFY(knucklet.awaitCounting());
    type(injector, 20);

    const auto again = desktop->launch(program, {}, { .additions = managedBy(manager) });

    QTRY_VERIFY(!knucklet.isRunning());
    QVERIFY(knucklet.awaitEnd());
    QCOMPARE(savedCounts(*desktop).keys, 20);
    QTRY_COMPARE(again->state(), QProcess::NotRunning);
}

void EndingTest::losingTheBusEndsNothing()
{
    const auto desktop = startedDesktop();
    QVERIFY(desktop);
    Injector injector(desktop->display());
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitCounting());
    type(injector, 20);

    desktop->killBus();
    type(injector, 20);

    QVERIFY(knucklet.isRunning());
    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { 40, 0 }));
    QCOMPARE(knucklet.output(), QByteArray());
}

void EndingTest::aKillWhileItSavesLeavesAWholeFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<std::uint32_t>("event");
    QTest::addColumn<bool>("isSaved");

    const QString temporary = "stats.json.new";
    QTest::newRow("when it makes the new file") << temporary << std::uint32_t { IN_CREATE } << false;
    QTest::newRow("while it writes") << temporary << std::uint32_t { IN_MODIFY } << false;
    QTest::newRow("when it has written") << temporary << std::uint32_t { IN_CLOSE_WRITE } << false;
    QTest::newRow("when it has replaced the old file")
        << QString("stats.json") << std::uint32_t { IN_MOVED_TO } << true;
}

void EndingTest::aKillWhileItSavesLeavesAWholeFile()
{
    QFETCH(const QString, name);
    QFETCH(const std::uint32_t, event);
    QFETCH(const bool, isSaved);
    const auto desktop = startedDesktop();
    QVERIFY(desktop);
    Injector injector(desktop->display());
    // Long enough that writing takes a while.
    const auto days = manyDays(100 * 365);
    writeStatsFile(*desktop, days);
    const auto otherDays = parsedDays(days);
    const auto today = QDate::currentDate().toString(Qt::ISODate);

    for (int round = 0; round < 5; ++round) {
        RunningKnucklet knucklet(*desktop, program);
        QVERIFY(knucklet.awaitCounting());
        const auto before = savedDays(*desktop).value(today).keys;
        FileWatch watch(desktop->folder() + "/home/.local/share/Knucklet", event);
        type(injector, 10);

        bySignal(SIGTERM)(knucklet);
        QVERIFY(watch.await(name));
        bySignal(SIGKILL)(knucklet);
        QTRY_VERIFY(!knucklet.isRunning());

        auto saved = savedDays(*desktop);
        const auto keys = saved.take(today).keys;
        QVERIFY2(keys == before + 10 || (!isSaved && keys == before), qPrintable(QString::number(keys)));
        QCOMPARE(saved, otherDays);
    }
}

static const TestArea area("Ending", runTest<EndingTest>);
#include "EndingTest.moc"
