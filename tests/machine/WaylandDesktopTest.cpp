#include "support/AssistantOnScreen.h"
#include "support/Patience.h"
#include "support/TestArea.h"
#include "support/VirtualMachine.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <functional>
#include <memory>

namespace {

constexpr QRect assistantPlace()
{
    constexpr QSize size(540, 560);
    return { QPoint((VirtualMachine::screenSize.width() - size.width()) / 2,
                 (VirtualMachine::screenSize.height() - size.height()) / 2),
        size };
}

/// In the assistant's lower right corner.
constexpr QPoint continueButton(470, 526);

/// The program's numbers as its tooltip shows them.
struct Counts {
    int keys = -1;
    int clicks = -1;

    bool operator==(const Counts&) const = default;
};

}

/// The installed program on a real Wayland desktop, in sessions of a real login manager, with real input
/// devices and real passwords. A session lasts until a test needs another one.
class WaylandDesktopTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void onePressAndThePasswordGrantCountingForGood();
    void nothingCountsWhileTheSessionIsLocked();
    void anotherUsersSessionIsNotCounted();
    void aHelperThatIsKilledComesBackAndNothingCountsTwice();
    void withoutAnXServerTheProgramRunsNatively();

private:
    QByteArray sh(const QString& command) { return machine->run(command); }
    [[nodiscard]] static bool await(const std::function<bool()>& condition)
    {
        return QTest::qWaitFor(condition, patience);
    }

    /// Logs in at a desktop of this configuration, with a program that may count, unless that is so already.
    void useDesktop(const QString& configuration);
    void logOut();
    [[nodiscard]] bool awaitHelper();
    /// The devices that the helper has open.
    int openDevices() { return sh("open_devices").toInt(); }
    /// Whether the toolkit has loaded this library.
    bool hasLoaded(const QString& library);

    Counts counts();
    [[nodiscard]] bool awaitCounts(const Counts& expected);
    void typeKeys(int times);

    [[nodiscard]] bool awaitPage(int page);
    QImage assistant() { return machine->picture().copy(assistantPlace()); }
    void clickInAssistant(QPoint place);
    /// The middle of the button that stands out on the page, but for the one that goes on.
    QPoint prominentButton();

    std::unique_ptr<VirtualMachine> machine;
    QString runningDesktop;
};

void WaylandDesktopTest::initTestCase()
{
    machine = std::make_unique<VirtualMachine>(VirtualMachine::Kind::Desktop);
    QVERIFY(machine->start());
    sh("echo root:secret | chpasswd");
}

void WaylandDesktopTest::cleanup() { sh("{ set_locked false; busybox chvt 1; log_out bob; } 2>/dev/null"); }

void WaylandDesktopTest::useDesktop(const QString& configuration)
{
    if (runningDesktop == configuration)
        return;
    logOut();
    sh(KNUCKLET_GRANT "; start_desktop " + configuration);
    runningDesktop = configuration;
    QVERIFY(awaitHelper());
}

void WaylandDesktopTest::logOut()
{
    sh("log_out ada");
    runningDesktop.clear();
}

bool WaylandDesktopTest::awaitHelper()
{
    // It has its first devices before the program has its icon.
    return await([this] { return openDevices() > 0 && counts().keys >= 0; });
}

bool WaylandDesktopTest::hasLoaded(const QString& library)
{
    return sh("grep -c " + library + " /proc/$(pgrep -x knucklet)/maps").toInt() > 0;
}

Counts WaylandDesktopTest::counts()
{
    static const QRegularExpression text("\"(\\d+) keys · (\\d+) clicks\"");
    const auto match = text.match(QString::fromUtf8(sh("tooltip 2>/dev/null")));
    return match.hasMatch() ? Counts { match.captured(1).toInt(), match.captured(2).toInt() } : Counts {};
}

bool WaylandDesktopTest::awaitCounts(const Counts& expected)
{
    return await([&] { return counts() == expected; });
}

void WaylandDesktopTest::typeKeys(int times)
{
    for (int i = 0; i < times; ++i)
        machine->typeKey("a");
}

bool WaylandDesktopTest::awaitPage(int page)
{
    return await([&] { return assistantPage(assistant()) == page; });
}

void WaylandDesktopTest::clickInAssistant(QPoint place)
{
    machine->moveTo(assistantPlace().topLeft() + place);
    machine->click("left");
}

QPoint WaylandDesktopTest::prominentButton()
{
    // The button that goes on has another color below the pointer.
    machine->moveTo(assistantPlace().topLeft() + QPoint(270, 450));
    // Both left of their texts, which are in their middles.
    constexpr int x = 168;
    int first = -1;
    int last = -1;
    const auto find = [&] {
        const QImage picture = assistant();
        const QRgb color = picture.pixel(continueButton - QPoint(22, 0));
        for (int y = 0; y < continueButton.y() - 50; ++y) {
            if (picture.pixel(x, y) != color)
                continue;
            first = first < 0 ? y : first;
            last = y;
        }
        return first >= 0;
    };
    return await(find) ? QPoint(assistantPlace().width() / 2, (first + last) / 2) : QPoint();
}

void WaylandDesktopTest::onePressAndThePasswordGrantCountingForGood()
{
    QCOMPARE(sh(KNUCKLET_GRANT " --revoke"), QByteArray());
    sh("start_desktop sway-with-x");
    QVERIFY(awaitPage(0));
    QVERIFY(hasLoaded("libqxcb.so"));
    sh("start_agent");

    clickInAssistant(continueButton);
    QVERIFY(awaitPage(1));
    clickInAssistant(continueButton);
    QVERIFY(awaitPage(2));
    typeKeys(4);
    QVERIFY(awaitCounts({ .keys = 0, .clicks = 2 }));
    clickInAssistant(prominentButton());
    QVERIFY(await([this] { return sh("cat /run/asked").contains("Password: "); }));
    QCOMPARE(openDevices(), 0);
    sh("echo secret >&9");
    QVERIFY(awaitHelper());
    typeKeys(7);
    QVERIFY(awaitCounts({ .keys = 7, .clicks = 3 }));
    QCOMPARE(sh("cat /run/asked").count("Password: "), 1);
    sh("kill $agent");
    logOut();

    const auto days = QJsonDocument::fromJson(sh("cat /home/ada/.local/share/Knucklet/stats.json")).object();
    QCOMPARE(days.size(), 1);
    QCOMPARE(days.begin().value().toObject(), QJsonObject({ { "keys", 7 }, { "clicks", 3 } }));
    // At the next login nobody is asked anything.
    sh("start_desktop sway-with-x");
    runningDesktop = "sway-with-x";
    QVERIFY(awaitHelper());
    typeKeys(2);
    QVERIFY(awaitCounts({ .keys = 9, .clicks = 3 }));
}

void WaylandDesktopTest::nothingCountsWhileTheSessionIsLocked()
{
    useDesktop("sway-with-x");
    const Counts before = counts();

    QCOMPARE(sh("set_locked true"), QByteArray());
    typeKeys(5);
    machine->click("left");
    // Longer than the helper keeps what it has counted.
    QCOMPARE(sh("sleep 1; set_locked false"), QByteArray());
    typeKeys(2);

    QVERIFY(awaitCounts({ .keys = before.keys + 2, .clicks = before.clicks }));
}

void WaylandDesktopTest::anotherUsersSessionIsNotCounted()
{
    useDesktop("sway-with-x");
    const Counts before = counts();
    const int devices = openDevices();

    sh("log_in bob tty2 sleep infinity; busybox chvt 2");
    QVERIFY(await([this] { return openDevices() == 0; }));
    typeKeys(5);
    sh("busybox chvt 1");
    QVERIFY(await([&] { return openDevices() == devices; }));
    typeKeys(2);

    QVERIFY(awaitCounts({ .keys = before.keys + 2, .clicks = before.clicks }));
}

void WaylandDesktopTest::aHelperThatIsKilledComesBackAndNothingCountsTwice()
{
    useDesktop("sway-with-x");
    const Counts before = counts();
    typeKeys(3);
    QVERIFY(awaitCounts({ .keys = before.keys + 3, .clicks = before.clicks }));
    const QByteArray first = sh("pgrep -x knucklet-tap");
    const int devices = openDevices();

    sh("kill -KILL $(pgrep -x knucklet-tap)");
    QVERIFY(await([&] { return sh("pgrep -x knucklet-tap") != first && openDevices() == devices; }));
    typeKeys(2);

    QVERIFY(awaitCounts({ .keys = before.keys + 5, .clicks = before.clicks }));
}

void WaylandDesktopTest::withoutAnXServerTheProgramRunsNatively()
{
    useDesktop("sway-without-x");
    const Counts before = counts();

    typeKeys(5);
    machine->click("left");

    QVERIFY(awaitCounts({ .keys = before.keys + 5, .clicks = before.clicks + 1 }));
    QVERIFY(hasLoaded("libqwayland-"));
    QVERIFY(!hasLoaded("libqxcb.so"));
}

static const TestArea area("WaylandDesktop", runTest<WaylandDesktopTest>);

#include "WaylandDesktopTest.moc"
