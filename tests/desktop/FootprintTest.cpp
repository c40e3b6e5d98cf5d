#include "support/PanelOnDesktop.h"
#include "support/Patience.h"
#include "support/TestArea.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <X11/keysym.h>
#include <unistd.h>

#include <functional>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Opens a window and closes it again.
using Showing = std::function<void(PanelOnDesktop&)>;

void showPanel(PanelOnDesktop& user)
{
    QVERIFY(user.open());
    user.type(XK_Escape);
    QTRY_VERIFY(!user.isOpen());
}

void closeWindow(const PanelOnDesktop& user, const QString& title)
{
    const auto isShown = [&] { return user.windows->isShown(user.windows->find(title)); };
    QTRY_VERIFY(isShown());
    // By then it has been painted with all its pictures.
    QTRY_COMPARE(user.windows->active(), user.windows->find(title));
    user.knucklet->settle();
    user.windows->close(user.windows->find(title));
    QTRY_VERIFY(!isShown());
}

void showDayCard(PanelOnDesktop& user)
{
    QVERIFY(user.open());
    // The share button comes first.
    user.type(XK_Tab);
    user.type(XK_space);
    closeWindow(user, "Day Card");
    QTRY_VERIFY(!user.isOpen());
}

void showAssistant(PanelOnDesktop& user)
{
    QVERIFY(user.knucklet->choose("Setup Assistant…"));
    closeWindow(user, "Knucklet Setup");
}

/// What the program holds of the machine.
struct Footprint {
    qsizetype descriptors = 0;
    qsizetype threads = 0;
    /// Those that it alone has, and has written to.
    qint64 pages = 0;
};

Footprint footprint(const RunningKnucklet& knucklet)
{
    knucklet.settle();
    const QDir folder(QString("/proc/%1").arg(knucklet.processId()));
    const auto count = [&folder](const char* name) {
        return QDir(folder.filePath(name)).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    };
    Footprint result { .descriptors = count("fd").size(), .threads = count("task").size() };
    QFile memory(folder.filePath("smaps_rollup"));
    if (memory.open(QFile::ReadOnly)) {
        for (const auto& line : memory.readAll().split('\n')) {
            if (line.startsWith("Private_Dirty:"))
                result.pages = line.simplified().split(' ').value(1).toLongLong() * 1024 / getpagesize();
        }
    }
    return result;
}

}

/// What the real program holds when its windows have been opened and closed again and again.
class FootprintTest final : public QObject {
    Q_OBJECT

private slots:
    void aHundredOpeningsLeaveNoPageAndNoDescriptorMore_data();
    void aHundredOpeningsLeaveNoPageAndNoDescriptorMore();
};

void FootprintTest::aHundredOpeningsLeaveNoPageAndNoDescriptorMore_data()
{
    QTest::addColumn<Showing>("show");

    QTest::newRow("the panel") << Showing(showPanel);
    QTest::newRow("the day card") << Showing(showDayCard);
    QTest::newRow("the assistant") << Showing(showAssistant);
}

void FootprintTest::aHundredOpeningsLeaveNoPageAndNoDescriptorMore()
{
    QFETCH(const Showing, show);
    PanelOnDesktop user;
    QVERIFY2(user.start(), qPrintable(user.desktop.failure()));
    QVERIFY(user.run(program));
    const auto showTimes = [&](int times) {
        for (int i = 0; i < times && !QTest::currentTestFailed(); ++i)
            show(user);
    };
    showTimes(1);
    const auto first = footprint(*user.knucklet);
    // Caches fill, and the allocator finds out what it needs.
    showTimes(49);
    const auto before = footprint(*user.knucklet);

    showTimes(100);

    const auto after = footprint(*user.knucklet);
    QVERIFY(before.pages > 0 && before.descriptors > 0);
    QCOMPARE(after.descriptors, before.descriptors);
    QCOMPARE(after.threads, before.threads);
    // What the toolkit and Xlib forget to free at each opening, some 400 bytes, and no more.
    QCOMPARE_LE(after.pages, before.pages + 32);
    // A picture that stays behind a closed window has thousands of them.
    QCOMPARE_LE(after.pages, first.pages + 512);
}

static const TestArea area("Footprint", runTest<FootprintTest>);
#include "FootprintTest.moc"
