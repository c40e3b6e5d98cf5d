#include "support/Patience.h"
#include "support/TestArea.h"
#include "support/VirtualMachine.h"

#include <QTest>

#include <memory>

namespace {

/// The press, the release, and a record that has to wait for its turn.
constexpr int mostForOnePress = 3;

}

/// The input helper on a machine with a real kernel and real devices.
class TapTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void keysAndClicksCount();
    void aHeldKeyCountsOnce();
    void modifiersLocksAndMediaKeysNeitherCountNorWakeAnybody();
    void motionAndTheWheelNeitherCountNorWakeAnybody();
    void aRecordTellsTheTenthOfASecondAndNoMore_data();
    void aRecordTellsTheTenthOfASecondAndNoMore();
    void aHelperThatIsStoppedWhileAKeyIsHeldGoesOn();
    void aKeyboardThatIsPluggedInIsCounted();
    void keyboardsThatTakeTheNumbersOfOthersAreCounted();
    void fifteenKeysAreKeptWhileTheHelperIsStopped();
    void moreKeysThanTheKernelKeepsAreLostAndTheNextOnesCount();
    void nothingIsLostWhileTheReaderIsStopped();
    void aKeyboardThatAnotherProgramTakesCountsOnce();
    void theRightIsGrantedWithoutLoggingInAgain();
    void takingTheRightBackEndsWhoeverHasIt();
    void onlyTheUserAtTheMachineIsCounted();
    void whoSitsDownWhileTheHelperIsStoppedIsNotCounted_data();
    void whoSitsDownWhileTheHelperIsStoppedIsNotCounted();
    void whoHasLeftAgainIsNotCounted();
    void usersAtSeveralSeatsAreNotCounted();
    void aUserWhoseNumberCannotBeReadIsSomebodyElse_data();
    void aUserWhoseNumberCannotBeReadIsSomebodyElse();
    void whileSomebodyElseSitsThereNoDeviceIsOpened();
    void toAskForTheRightOpensNoDevice();
    void withFewDescriptorsWhatFitsIsCounted();
    void theHelperEndsWithItsReader();
    void theHelperSendsTheRestAtTheGoodbye();
    void theHelperRefusesToWriteToAnythingButAPipe();
    void theHelperIsConfined();
    void theCallersEnvironmentChangesNothing();
    void aNamespaceOfOnesOwnGivesNoRight();
    void nothingButCountingIsPossible_data();
    void nothingButCountingIsPossible();
    void whichKeysWerePressedLeavesNoTrace();

private:
    QByteArray sh(const QString& command) { return machine->run(command); }
    /// Keys and clicks so far, such as "3 1".
    QByteArray counted() { return sh("counted"); }
    /// The emulator types faster than a busy machine reads, and drops what is too much: of a typed key four
    /// events, of which sixteen keys may wait. When the machine has answered nothing waits.
    void awaitMachine() { sh("wakeups"); }
    int wakeUps() { return sh("wakeups").toInt(); }
    int openDevices() { return sh("open_devices").toInt(); }

    std::unique_ptr<VirtualMachine> machine;
    QByteArray attempts;
};

void TapTest::initTestCase()
{
    machine = std::make_unique<VirtualMachine>(VirtualMachine::Kind::Bare);
    QVERIFY(machine->start());
    sh("udev; keyboard=$(grep -l 'Virtio Keyboard' /sys/class/input/event*/device/name | cut -d/ -f5)");
}

void TapTest::init()
{
    QCOMPARE(sh(KNUCKLET_GRANT), QByteArray());
    sh("sit 1000; start_tap " KNUCKLET_TAP);
    QCOMPARE(counted(), "0 0");
}

void TapTest::cleanup()
{
    sh("{ exec 7>&- 8>&- 9>&-; kill -KILL $(jobs -p); wait; rm -f /run/systemd/seats/seat1; } 2>/dev/null");
}

void TapTest::keysAndClicksCount()
{
    for (const char* key : { "a", "7", "spc", "ret", "f5", "left", "kp_3", "esc" })
        machine->typeKey(key);
    for (const char* button : { "left", "middle", "right", "side", "extra" })
        machine->click(button);

    QTRY_COMPARE(counted(), "8 5");
}

void TapTest::aHeldKeyCountsOnce()
{
    sh("cat /dev/input/$keyboard >/run/raw 7>&- & raw=$!");
    machine->pressKey("a");
    QTRY_COMPARE(counted(), "1 0");
    const int wakeUpsBefore = wakeUps();

    // Each repeat is two events of 24 bytes.
    const auto repeats = [this] { return sh("wc -c </run/raw").toInt() / 48; };
    QTRY_VERIFY(repeats() > 60);
    const int wakeUpsWhileHeld = wakeUps() - wakeUpsBefore;
    const int repeatsWhileHeld = repeats();
    machine->releaseKey("a");
    machine->typeKey("b");

    QTRY_COMPARE(counted(), "2 0");
    QVERIFY2(2 * wakeUpsWhileHeld < repeatsWhileHeld, QByteArray::number(wakeUpsWhileHeld));
}

void TapTest::modifiersLocksAndMediaKeysNeitherCountNorWakeAnybody()
{
    const int before = wakeUps();

    for (int i = 0; i < 5; ++i) {
        for (const char* key : { "shift", "shift_r", "ctrl", "ctrl_r", "alt", "alt_r", "meta_l", "meta_r",
                 "caps_lock", "num_lock", "scroll_lock", "volumeup", "volumedown", "audiomute", "audioplay" })
            machine->typeKey(key);
        awaitMachine();
    }
    machine->typeKey("a");

    QTRY_COMPARE(counted(), "1 0");
    const int wakeUpsInAll = wakeUps() - before;
    QVERIFY2(wakeUpsInAll <= mostForOnePress, QByteArray::number(wakeUpsInAll));
}

void TapTest::motionAndTheWheelNeitherCountNorWakeAnybody()
{
    const int before = wakeUps();

    for (int i = 0; i < 500; ++i) {
        machine->move();
        if (i % 10 == 0) {
            machine->scroll();
            awaitMachine();
        }
    }
    awaitMachine();
    machine->click("left");

    QTRY_COMPARE(counted(), "0 1");
    const int wakeUpsInAll = wakeUps() - before;
    QVERIFY2(wakeUpsInAll <= mostForOnePress, QByteArray::number(wakeUpsInAll));
}

void TapTest::aRecordTellsTheTenthOfASecondAndNoMore_data()
{
    QTest::addColumn<bool>("isKeyHeld");

    QTest::newRow("while nothing happens") << false;
    // The helper rests then, and what is pressed waits for it.
    QTest::newRow("while a key is held") << true;
}

void TapTest::aRecordTellsTheTenthOfASecondAndNoMore()
{
    QFETCH(bool, isKeyHeld);
    cleanup();
    sh("start_tap " KNUCKLET_TAP " read_with_times; start_hands");
    if (isKeyHeld) {
        machine->pressKey("a");
        QTRY_COMPARE(counted(), "1 0");
    }

    // On a busy machine a record is noticed late, at any time: then another twenty say more. One that goes
    // out when it pleases does so in none.
    const QDeadlineTimer deadline(patience);
    QByteArray hundredths;
    int clicks = 0;
    do {
        // Always in the middle of a tenth of a second, after one in which nobody has clicked.
        sh(": >/run/times");
        for (int i = 0; i < 20; ++i)
            sh("act start wait 250 down 272 up 272");
        clicks += 20;
        QTRY_COMPARE(counted(), (isKeyHeld ? "1 " : "0 ") + QByteArray::number(clicks));
        hundredths = sh("echo $(sort /run/times | cut -c2)").replace(' ', "");
    } while (hundredths.count('0') + hundredths.count('1') <= 13 && !deadline.hasExpired());
    machine->releaseKey("a");

    QVERIFY2(hundredths.count('0') + hundredths.count('1') > 13, hundredths.constData());
}

void TapTest::aHelperThatIsStoppedWhileAKeyIsHeldGoesOn()
{
    sh("start_hands; act down 30 start wait 500");
    QTRY_COMPARE(counted(), "1 0");

    // Nearly all the time it rests.
    for (int i = 0; i < 10; ++i)
        sh("act start wait 30 stop $tap; await_stop; kill -CONT $tap");
    sh("act up 30 down 31 up 31");

    QTRY_COMPARE(counted(), "2 0");
}

void TapTest::aKeyboardThatIsPluggedInIsCounted()
{
    const int before = openDevices();
    const int devices = sh("ls /dev/input | grep -c event").toInt();

    machine->plugInKeyboard("second");
    QTRY_COMPARE(sh("ls /dev/input | grep -c event").toInt(), devices + 1);
    sh("udev");
    QTRY_COMPARE(openDevices(), before + 1);
    machine->typeKey("a");
    QTRY_COMPARE(counted(), "1 0");
    machine->unplug("second");
    QTRY_COMPARE(sh("ls /dev/input | grep -c event").toInt(), devices);
    machine->typeKey("a");

    QTRY_COMPARE(counted(), "2 0");
}

void TapTest::keyboardsThatTakeTheNumbersOfOthersAreCounted()
{
    sh("start_hands 20");
    const int before = openDevices();
    sh("kill -STOP $tap; await_stop");

    sh("unplug_hands; plug_in_hands 20; kill -CONT $tap");
    QTRY_COMPARE(openDevices(), before);
    sh("act down 30 up 30");

    QTRY_COMPARE(counted(), "20 0");
}

void TapTest::fifteenKeysAreKeptWhileTheHelperIsStopped()
{
    sh("kill -STOP $tap");

    for (int i = 0; i < 15; ++i)
        machine->typeKey("a");
    sh("kill -CONT $tap");

    QTRY_COMPARE(counted(), "15 0");
}

void TapTest::moreKeysThanTheKernelKeepsAreLostAndTheNextOnesCount()
{
    sh("kill -STOP $tap");

    for (int i = 0; i < 16; ++i)
        machine->typeKey("a");
    sh("kill -CONT $tap");
    machine->click("left");
    QTRY_COMPARE(counted(), "0 1");
    machine->typeKey("a");

    QTRY_COMPARE(counted(), "1 1");
}

void TapTest::nothingIsLostWhileTheReaderIsStopped()
{
    sh("kill -STOP $reader");

    for (int i = 0; i < 100; ++i) {
        machine->typeKey("a");
        if (i % 10 == 9)
            awaitMachine();
    }
    const QByteArray whileStopped = counted();
    sh("kill -CONT $reader");

    QTRY_COMPARE(counted(), "100 0");
    QCOMPARE(whileStopped, "0 0");
}

void TapTest::aKeyboardThatAnotherProgramTakesCountsOnce()
{
    const int before = openDevices();
    sh("guest-remapper /dev/input/$keyboard >/run/remapper 7>&- & remapper=$!");
    QTRY_COMPARE(sh("cat /run/remapper"), "ready");
    sh("udev");
    QTRY_COMPARE(openDevices(), before + 2);

    for (int i = 0; i < 10; ++i)
        machine->typeKey("a");
    QTRY_COMPARE(counted(), "10 0");
    sh("kill $remapper; wait $remapper");
    machine->typeKey("a");

    QTRY_COMPARE(counted(), "11 0");
}

void TapTest::theRightIsGrantedWithoutLoggingInAgain()
{
    QCOMPARE(sh(KNUCKLET_GRANT " --revoke"), QByteArray());
    // A program that ada has started before the grant, which asks for the right whenever it is told to.
    sh("mkfifo /run/questions 2>/dev/null; chmod 666 /run/questions;"
       " su ada -c 'while read -r line; do " KNUCKLET_TAP " --probe; echo $?; done"
       " </run/questions' >/run/answers 7>&- & program=$!; exec 9>/run/questions");

    sh("echo >&9");
    QTRY_COMPARE(sh("cat /run/answers"), "77");
    const QString greeting = "su ada -c ': | " KNUCKLET_TAP " | wc -c'";
    QCOMPARE(sh(greeting), "0");
    QCOMPARE(sh(KNUCKLET_GRANT), QByteArray());
    sh("echo >&9");
    QTRY_COMPARE(sh("cat /run/answers"), "77\n0");
    QCOMPARE(sh(greeting), "8");
    QCOMPARE(sh(KNUCKLET_GRANT " --revoke"), QByteArray());
    sh("echo >&9");

    QTRY_COMPARE(sh("cat /run/answers"), "77\n0\n77");
    QCOMPARE(sh("stat -c '%a %u %g' " KNUCKLET_TAP), "755 0 0");
}

void TapTest::takingTheRightBackEndsWhoeverHasIt()
{
    // One whose file an upgrade has replaced, one that runs the file itself, one that its owner has stopped.
    sh("old=$tap; oldreader=$reader; exec 6<>/run/in; cp " KNUCKLET_TAP
       " /run/new; mv /run/new " KNUCKLET_TAP);
    QCOMPARE(sh(KNUCKLET_GRANT), QByteArray());
    sh("start_tap " KNUCKLET_TAP "; kill -STOP $tap; await_stop");
    QVERIFY(sh("ls -l /proc/$old/exe").endsWith("(deleted)"));

    QCOMPARE(sh(KNUCKLET_GRANT " --revoke"), QByteArray());

    // What has ended has no program.
    QTRY_COMPARE(sh("for each in $old $tap; do readlink /proc/$each/exe; done"), "");
    sh("exec 6>&-");
}

void TapTest::onlyTheUserAtTheMachineIsCounted()
{
    const int before = openDevices();
    machine->typeKey("a");
    QTRY_COMPARE(counted(), "1 0");

    sh("sit 1001");
    QTRY_COMPARE(openDevices(), 0);
    machine->typeKey("a");
    machine->click("left");
    sh("sit 1000");
    QTRY_COMPARE(openDevices(), before);
    machine->typeKey("a");

    QTRY_COMPARE(counted(), "2 0");
}

void TapTest::whoSitsDownWhileTheHelperIsStoppedIsNotCounted_data()
{
    QTest::addColumn<int>("devices");

    QTest::newRow("with one device") << 1;
    // More than it is told of at once.
    QTest::newRow("with twenty devices") << 20;
}

void TapTest::whoSitsDownWhileTheHelperIsStoppedIsNotCounted()
{
    QFETCH(int, devices);
    sh(QString("start_hands %1").arg(devices));

    for (int i = 0; i < 3; ++i) {
        // Stopped between hearing of a press and reading it: it has the processor only when the hands are
        // done.
        const int before = openDevices();
        sh("act down 30 down 272 stop $tap; await_stop; sit 1001; act up 30 up 272 down 31 up 31 down 273 up "
           "273");
        sh("kill -CONT $tap");
        QTRY_COMPARE(openDevices(), 0);
        sh("sit 1000");
        QTRY_COMPARE(openDevices(), before);
    }
    sh("say_goodbye; wait $reader");

    QCOMPARE(counted(), "0 0");
}

void TapTest::whoHasLeftAgainIsNotCounted()
{
    sh("start_hands 20; kill -STOP $tap; await_stop");

    sh("sit 1001; act down 30 up 30 down 272 up 272; sit 1000; kill -CONT $tap; await_sleep");
    sh("act down 30 up 30; say_goodbye; wait $reader");

    QCOMPARE(counted(), "20 0");
}

void TapTest::usersAtSeveralSeatsAreNotCounted()
{
    const int before = openDevices();
    sh("sit 1001 seat1");
    QTRY_COMPARE(openDevices(), 0);
    sh("rm /run/systemd/seats/seat1");
    QTRY_COMPARE(openDevices(), before);
    machine->typeKey("a");

    QTRY_COMPARE(counted(), "1 0");
}

void TapTest::aUserWhoseNumberCannotBeReadIsSomebodyElse_data()
{
    QTest::addColumn<QString>("number");

    QTest::newRow("root's, were it cut to its lower half") << "4294967296";
    QTest::newRow("none") << "";
    QTest::newRow("one with something behind it") << "0x";
    QTest::newRow("a negative one") << "-1";
}

void TapTest::aUserWhoseNumberCannotBeReadIsSomebodyElse()
{
    QFETCH(QString, number);
    cleanup();
    sh("sit 0; user=root start_tap " KNUCKLET_TAP);
    QTRY_VERIFY(openDevices() > 0);

    sh("sit '" + number + "'");
    QTRY_COMPARE(openDevices(), 0);
    sh("sit 0");
    QTRY_VERIFY(openDevices() > 0);
    sh("sit '" + number + "' seat1");

    QTRY_COMPARE(openDevices(), 0);
}

void TapTest::whileSomebodyElseSitsThereNoDeviceIsOpened()
{
    // Its input is closed, so that it ends as soon as it has opened what it counts.
    const auto opened = [this] {
        return sh("strace -f -e trace=openat -o /run/trace su ada -c ': | " KNUCKLET_TAP " | wc -c';"
                  " grep -c event /run/trace");
    };

    const QByteArray whileUserSitsThere = opened();
    sh("sit 1001");
    const QByteArray whileAnotherDoes = opened();

    QVERIFY2(
        whileUserSitsThere.startsWith("8\n") && whileUserSitsThere != "8\n0", whileUserSitsThere.constData());
    QCOMPARE(whileAnotherDoes, "8\n0");
}

void TapTest::toAskForTheRightOpensNoDevice()
{
    const QByteArray answer = sh("strace -f -e trace=openat -o /run/trace su ada -c '" KNUCKLET_TAP
                                 " --probe'; echo $?; grep -c event /run/trace");

    QCOMPARE(answer, "0\n0");
}

void TapTest::withFewDescriptorsWhatFitsIsCounted()
{
    cleanup();
    QCOMPARE(sh("su ada -c 'ulimit -n 20; " KNUCKLET_TAP " --probe; echo $?'"), "0");
    sh("limits='ulimit -n 20' start_tap " KNUCKLET_TAP);
    const int before = openDevices();

    // What it has no room for must not keep it from asking who sits there.
    sh("plug_in_hands 20; await_sleep");
    machine->typeKey("a");
    QTRY_COMPARE(counted(), "1 0");
    sh("sit 1001");
    QTRY_COMPARE(openDevices(), 0);
    sh("sit 1000");

    QTRY_VERIFY(openDevices() > 0);
    QVERIFY(before > 0);
}

void TapTest::theHelperEndsWithItsReader()
{
    sh("kill -KILL $reader; wait $tap; status=$?");

    QCOMPARE(sh("echo $status"), "0");
}

void TapTest::theHelperSendsTheRestAtTheGoodbye()
{
    // Stopped, so that the goodbye and the keys reach it together.
    sh("kill -STOP $tap");
    for (int i = 0; i < 5; ++i)
        machine->typeKey("a");
    sh("kill -TERM $tap; exec 7>&-; kill -CONT $tap; wait $tap; status=$?; wait $reader");

    QCOMPARE(counted(), "5 0");
    QCOMPARE(sh("echo $status"), "0");
}

void TapTest::theHelperRefusesToWriteToAnythingButAPipe()
{
    QCOMPARE(sh(": | " KNUCKLET_TAP " >/run/file; echo $?"), "64");
    QCOMPARE(sh(": | " KNUCKLET_TAP " >/dev/null; echo $?"), "64");
    QCOMPARE(sh(KNUCKLET_TAP " --other; echo $?"), "64");
    QCOMPARE(sh("wc -c </run/file"), "0");
}

void TapTest::theHelperIsConfined()
{
    const QByteArray status = sh("cat /proc/$tap/status");

    QVERIFY(status.contains("\nSeccomp:\t2\n"));
    QVERIFY(status.contains("\nNoNewPrivs:\t1\n"));
    QVERIFY(status.contains("\nUid:\t1000\t1000\t1000\t1000\n"));
    QVERIFY(status.contains("\nGid:\t1000\t104\t104\t104\n"));
    // Its own user can look into it neither as a debugger nor through the files of the kernel.
    QVERIFY(sh("su ada -c \"cat /proc/$tap/maps\"").contains("denied"));
    QVERIFY(sh("grep 'core file' /proc/$tap/limits").contains(" 0 "));
}

void TapTest::theCallersEnvironmentChangesNothing()
{
    // For a program with a right of its own the loader neither loads what the caller names nor tells him what
    // it does. For another one it does both.
    const auto say = [this](const QString& program) {
        return sh(
            "su ada -c 'LD_DEBUG=libs LD_PRELOAD=/no/such/library " + program + " --probe; echo $?' 2>&1");
    };

    const QByteArray granted = say(KNUCKLET_TAP);
    sh("cp " KNUCKLET_TAP " /run/copy; chmod 755 /run/copy");
    const QByteArray copied = say("/run/copy");

    QCOMPARE(granted, "0");
    QVERIFY2(copied.contains("/no/such/library"), copied.constData());
}

void TapTest::aNamespaceOfOnesOwnGivesNoRight()
{
    // There the caller could say who sits at the machine, but the group that may read its devices is not
    // known.
    const QByteArray outside = sh("su ada -c '" KNUCKLET_TAP " --probe; echo $?'");
    const QByteArray inside
        = sh("su ada -c 'unshare -r -m sh -c \"mount -t tmpfs none /run/systemd/seats && echo mounted;"
             " " KNUCKLET_TAP " --probe; echo \\$?\"' 2>&1");

    QCOMPARE(outside, "0");
    QCOMPARE(inside, "mounted\n77");
}

void TapTest::nothingButCountingIsPossible_data()
{
    QTest::addColumn<QByteArray>("outcome");
    const auto row
        = [](const char* attempt, const char* outcome) { QTest::newRow(attempt) << QByteArray(outcome); };

    row("open a device", "error 0");
    row("open a seat", "error 0");
    row("list the devices", "error 0");
    row("open another file", "error 13");
    row("open another device", "error 13");
    row("list another folder", "error 13");
    row("open by a way around", "error 13");
    row("open a device for writing", "killed by 31");
    row("make a file", "killed by 31");
    row("ask which keys are down", "killed by 31");
    row("take a device for itself", "killed by 31");
    row("make a socket", "killed by 31");
    row("connect to the network", "killed by 31");
    row("start a process", "killed by 31");
    row("start a program", "killed by 31");
    row("trace a process", "killed by 31");
    row("send a signal", "killed by 31");
    row("become another user", "killed by 31");
}

void TapTest::nothingButCountingIsPossible()
{
    if (attempts.isEmpty())
        attempts = '\n' + sh("guest-confined") + '\n';
    const QByteArray begin = QByteArray("\n") + QTest::currentDataTag() + ": ";
    const auto found = attempts.indexOf(begin);
    QVERIFY(found >= 0);

    const QByteArray outcome
        = attempts.mid(found + begin.size(), attempts.indexOf('\n', found + 1) - found - begin.size());

    QTEST(outcome, "outcome");
}

void TapTest::whichKeysWerePressedLeavesNoTrace()
{
    struct Run {
        QByteArray output;
        QByteArray systemCalls;
    };
    const auto run = [this](const QByteArrayList& keys) {
        init();
        sh("start_hands");
        sh("strace -s 0 -o /run/trace -p $tap 2>/dev/null 7>&- 8>&- & tracer=$!;"
           " until [ $(awk '/^TracerPid/ { print $2 }' /proc/$tap/status) != 0 ]; do usleep 10000; done");
        // Each waits until the helper is done with the one before, so that a busy machine does not make two
        // into one.
        const auto await = [this](const QString& calls, int number) {
            sh(QString("until [ $(grep -c '%1' /run/trace) = %2 ]; do usleep 10000; done")
                    .arg(calls)
                    .arg(number));
        };
        int presses = 0;
        for (const QByteArray& key : keys) {
            // Both at once: a key that is held is repeated. Far from the end of a tenth of a second, where
            // the helper may write without having waited for it.
            sh("act start wait 50 down " + key + " up " + key);
            await("^write", ++presses);
            await("^read.*EAGAIN", presses);
        }
        sh("kill -INT $tracer; wait $tracer; unplug_hands; say_goodbye; wait $reader");
        return Run { sh("od -An -v -tx1 /run/records"),
            sh("sed -e /detached/d -e 's/tv_[n]*sec=[0-9]*//g' -e 's/0x[0-9a-f]*//' /run/trace") };
    };

    cleanup();
    const Run first = run({ "30", "31", "32", "33", "57", "28" });
    const Run second = run({ "2", "59", "105", "111", "14", "87" });

    QVERIFY(!first.output.isEmpty());
    QVERIFY(first.systemCalls.contains("write(1, "));
    QCOMPARE(second.output, first.output);
    QVERIFY2(second.systemCalls == first.systemCalls,
        (first.systemCalls + "\n\n" + second.systemCalls).constData());
}

static const TestArea area("Tap", runTest<TapTest>);

#include "TapTest.moc"
