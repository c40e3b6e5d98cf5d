#include "platform/linux/input/HelperAccess.h"

#include "platform/linux/windows/ServedLoop.h"
#include "support/Patience.h"
#include "support/Script.h"
#include "support/TestArea.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <optional>
#include <string>

namespace {

/// A program that belongs to root, as the grant tool does where it is installed.
constexpr const char* grantTool = "/usr/bin/true";

}

class HelperAccessTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void onlyAWaylandSessionHidesItsInput_data();
    void onlyAWaylandSessionHidesItsInput();
    void theHelperSaysWhetherItMayCount_data();
    void theHelperSaysWhetherItMayCount();
    void withoutAHelperNothingIsGranted();
    void theHelperIsAskedAgainOnlyAfterItsFileHasChanged();
    void aHelperThatDoesNotAnswerIsAskedAgain();
    void aRequestAsksForTheRight();
    void aRequestThatIsBeingAnsweredIsNotRepeated();
    void aGrantToolThatOthersCanChangeIsNotStarted();
    void aRequestWithoutPolkitIsSilent();
    void withoutPolkitTheUserIsToldWhatToType();
    void whereSomebodyAsksNothingIsToBeTyped();
    void nothingIsToBeTypedForWhatCannotBeGranted();
    void nothingIsRequestedInAnXSession();

private:
    std::string helper(const QByteArray& body) const { return script(*folder, "helper", body).toStdString(); }
    QByteArray path(const QString& name) const { return folder->filePath(name).toUtf8(); }

    EventLoop loop;
    ServedLoop served { loop };
    std::optional<QTemporaryDir> folder;
    QByteArray searchPath;
};

void HelperAccessTest::init()
{
    folder.emplace();
    searchPath = qgetenv("PATH");
    qputenv("XDG_SESSION_TYPE", "wayland");
    qunsetenv("WAYLAND_DISPLAY");
}

void HelperAccessTest::cleanup() { qputenv("PATH", searchPath); }

void HelperAccessTest::onlyAWaylandSessionHidesItsInput_data()
{
    QTest::addColumn<QByteArray>("sessionType");
    QTest::addColumn<QByteArray>("waylandDisplay");
    QTest::addColumn<bool>("isGranted");

    QTest::newRow("an X session") << QByteArray("x11") << QByteArray() << true;
    QTest::newRow("an X server started by hand") << QByteArray() << QByteArray() << true;
    QTest::newRow("a session that names its type") << QByteArray("wayland") << QByteArray() << false;
    QTest::newRow("a session that names its display") << QByteArray() << QByteArray("wayland-0") << false;
    QTest::newRow("a display of no name is none") << QByteArray("tty") << QByteArray("") << true;
}

void HelperAccessTest::onlyAWaylandSessionHidesItsInput()
{
    QFETCH(QByteArray, sessionType);
    QFETCH(QByteArray, waylandDisplay);
    HelperAccess access(loop, helper("exit 77\n"), grantTool);

    const auto set = [](const char* variable, const QByteArray& value) {
        value.isNull() ? qunsetenv(variable) : qputenv(variable, value);
    };
    set("XDG_SESSION_TYPE", sessionType);
    set("WAYLAND_DISPLAY", waylandDisplay);

    QTEST(access.preflight(), "isGranted");
}

void HelperAccessTest::theHelperSaysWhetherItMayCount_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("isGranted");

    QTest::newRow("it may") << QByteArray("exit 0\n") << true;
    QTest::newRow("no device is there yet") << QByteArray("exit 69\n") << true;
    QTest::newRow("it may not") << QByteArray("exit 77\n") << false;
    QTest::newRow("the machine lacks something") << QByteArray("exit 71\n") << false;
    QTest::newRow("it does not know the question") << QByteArray("exit 64\n") << false;
    QTest::newRow("it crashes") << QByteArray("kill -SEGV $$\n") << false;
    QTest::newRow("it is asked, and not made to count") << QByteArray("[ \"$*\" = --probe ]\n") << true;
}

void HelperAccessTest::theHelperSaysWhetherItMayCount()
{
    QFETCH(QByteArray, body);
    HelperAccess access(loop, helper(body), grantTool, std::chrono::milliseconds(patience));

    const bool isGranted = access.preflight();

    QTEST(isGranted, "isGranted");
}

void HelperAccessTest::withoutAHelperNothingIsGranted()
{
    HelperAccess access(loop, path("absent").toStdString(), grantTool);

    const bool isGranted = access.preflight();

    QVERIFY(!isGranted);
}

void HelperAccessTest::theHelperIsAskedAgainOnlyAfterItsFileHasChanged()
{
    const auto program = helper("echo >>" + path("questions") + "\n[ -g \"$0\" ] || exit 77\n");
    HelperAccess access(loop, program, grantTool, std::chrono::milliseconds(patience));

    const QList<bool> before { access.preflight(), access.preflight(), access.preflight() };
    const auto questionsBefore = readLines(*folder, "questions").size();
    QCOMPARE(chmod(program.c_str(), 02700), 0);
    const QList<bool> after { access.preflight(), access.preflight(), access.preflight() };

    QCOMPARE(before, QList<bool>({ false, false, false }));
    QCOMPARE(questionsBefore, 1);
    QCOMPARE(after, QList<bool>({ true, true, true }));
    QCOMPARE(readLines(*folder, "questions").size(), 2);
}

void HelperAccessTest::aHelperThatDoesNotAnswerIsAskedAgain()
{
    HelperAccess access(loop,
        helper("echo >>" + path("questions") + "\n[ -e " + path("answers") + " ] || exec sleep 60\nexit 0\n"),
        grantTool);

    const bool isGrantedBefore = access.preflight();
    QFile answers(folder->filePath("answers"));
    QVERIFY(answers.open(QIODevice::WriteOnly));
    QTRY_VERIFY(access.preflight());

    QVERIFY(!isGrantedBefore);
    QVERIFY(readLines(*folder, "questions").size() >= 2);
}

void HelperAccessTest::aRequestAsksForTheRight()
{
    script(*folder, "pkexec", "echo \"$* $PPID\" >>" + path("requests") + "\n");
    qputenv("PATH", path("") + ":" + searchPath);
    HelperAccess access(loop, helper("exit 77\n"), grantTool);

    access.request();

    // pkexec asks on behalf of the process that started it.
    const QByteArray expected = QByteArray(grantTool) + " " + QByteArray::number(getpid());
    QTRY_COMPARE(readLines(*folder, "requests"), QList<QByteArray>({ expected }));
}

void HelperAccessTest::aRequestThatIsBeingAnsweredIsNotRepeated()
{
    const QByteArray gate = path("gate");
    QCOMPARE(mkfifo(gate.constData(), 0600), 0);
    script(*folder, "pkexec", "echo >>" + path("requests") + "\nread -r line <" + gate + "\n");
    qputenv("PATH", path("") + ":" + searchPath);
    HelperAccess access(loop, helper("exit 77\n"), grantTool);
    access.request();
    QTRY_COMPARE(readLines(*folder, "requests").size(), 1);

    access.request();
    const auto requestsMeanwhile = readLines(*folder, "requests").size();
    QFile answer(gate);
    QVERIFY(answer.open(QIODevice::WriteOnly));
    answer.close();
    const auto requestsAfterAnother = [&] {
        access.request();
        return readLines(*folder, "requests").size();
    };

    QTRY_COMPARE(requestsAfterAnother(), 2);
    QCOMPARE(requestsMeanwhile, 1);
}

void HelperAccessTest::aGrantToolThatOthersCanChangeIsNotStarted()
{
    script(*folder, "pkexec", "echo \"$*\" >>" + path("requests") + "\n");
    qputenv("PATH", path("") + ":" + searchPath);
    HelperAccess inAnOpenFolder(
        loop, helper("exit 77\n"), script(*folder, "grant", "exit 0\n").toStdString());
    HelperAccess throughALink(loop, helper("exit 77\n"), "/proc/self/exe");
    HelperAccess absent(loop, helper("exit 77\n"), "/usr/bin/knucklet-absent");
    HelperAccess installed(loop, helper("exit 77\n"), grantTool);

    inAnOpenFolder.request();
    throughALink.request();
    absent.request();
    installed.request();

    QTRY_COMPARE(readLines(*folder, "requests"), QList<QByteArray>({ grantTool }));
}

void HelperAccessTest::aRequestWithoutPolkitIsSilent()
{
    qputenv("PATH", path(""));
    HelperAccess access(loop, helper("exit 77\n"), grantTool);

    access.request();

    QVERIFY(!access.preflight());
}

void HelperAccessTest::withoutPolkitTheUserIsToldWhatToType()
{
    qputenv("PATH", path(""));
    HelperAccess access(loop, helper("exit 77\n"), grantTool);

    const auto command = access.commandToGrant();

    QCOMPARE(command, std::string("sudo ") + grantTool);
}

void HelperAccessTest::whereSomebodyAsksNothingIsToBeTyped()
{
    script(*folder, "pkexec", "exit 0\n");
    qputenv("PATH", path("") + ":" + searchPath);
    HelperAccess access(loop, helper("exit 77\n"), grantTool);

    const auto command = access.commandToGrant();

    QCOMPARE(command, "");
}

void HelperAccessTest::nothingIsToBeTypedForWhatCannotBeGranted()
{
    qputenv("PATH", path(""));
    HelperAccess inAnOpenFolder(
        loop, helper("exit 77\n"), script(*folder, "grant", "exit 0\n").toStdString());
    HelperAccess absent(loop, helper("exit 77\n"), "/usr/bin/knucklet-absent");
    HelperAccess inAnXSession(loop, helper("exit 77\n"), grantTool);

    QCOMPARE(inAnOpenFolder.commandToGrant(), "");
    QCOMPARE(absent.commandToGrant(), "");
    qputenv("XDG_SESSION_TYPE", "x11");
    QCOMPARE(inAnXSession.commandToGrant(), "");
}

void HelperAccessTest::nothingIsRequestedInAnXSession()
{
    script(*folder, "pkexec", "echo $XDG_SESSION_TYPE >>" + path("requests") + "\n");
    qputenv("PATH", path("") + ":" + searchPath);
    HelperAccess access(loop, helper("exit 77\n"), grantTool);

    qputenv("XDG_SESSION_TYPE", "x11");
    access.request();
    qputenv("XDG_SESSION_TYPE", "wayland");
    access.request();

    QTRY_COMPARE(readLines(*folder, "requests"), QList<QByteArray>({ "wayland" }));
}

static const TestArea area("HelperAccess", runTest<HelperAccessTest>);

#include "HelperAccessTest.moc"
