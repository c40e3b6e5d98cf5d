#include "support/PanelOnDesktop.h"
#include "support/Patience.h"
#include "support/ScreenReader.h"
#include "support/TestArea.h"

#include <QDate>
#include <QLocale>
#include <QTest>

#include <X11/keysym.h>

#include <algorithm>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

bool isControl(const Accessible& element)
{
    return element.role == "push button" || element.role == "check box";
}

}

/// The real panel, as a screen reader finds it.
class PanelAccessibilityTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void thePanelIsADialog();
    void everythingIsReadInItsOrder();
    void whatIsReadFollowsEveryKey();
    void controlsSayWhatTheyAre();
    void aScreenReaderCanPressWhatItReads();

private:
    QList<Accessible> elements() const;

    std::unique_ptr<PanelOnDesktop> user;
    std::unique_ptr<ScreenReader> reader;
};

void PanelAccessibilityTest::init()
{
    user = std::make_unique<PanelOnDesktop>();
    QVERIFY2(user->start(), qPrintable(user->desktop.failure()));
    reader = std::make_unique<ScreenReader>(user->desktop);
    QVERIFY(reader->start());
    const auto today = QDate::currentDate().toString(Qt::ISODate).toUtf8();
    const auto yesterday = QDate::currentDate().addDays(-1).toString(Qt::ISODate).toUtf8();
    writeStatsFile(user->desktop,
        "{\"" + yesterday + "\":{\"keys\":4321,\"clicks\":5},\"" + today
            + "\":{\"keys\":1234567,\"clicks\":55}}");
    QVERIFY(user->run(program));
    // The click that opens it is the 56th.
    QVERIFY(user->open());
    QTRY_VERIFY(reader->window("Knucklet"));
}

void PanelAccessibilityTest::cleanup()
{
    reader.reset();
    user.reset();
}

/// What a reader stops at: controls, and whatever has something to say.
QList<Accessible> PanelAccessibilityTest::elements() const
{
    const auto window = reader->window("Knucklet");
    auto elements = window ? window->elements() : QList<Accessible>();
    elements.removeIf(
        [](const Accessible& element) { return element.name.isEmpty() && !isControl(element); });
    return elements;
}

void PanelAccessibilityTest::thePanelIsADialog()
{
    const auto window = reader->window("Knucklet");

    QVERIFY(window);
    QCOMPARE(window->role, "dialog");
    QCOMPARE(window->area, user->area());
}

void PanelAccessibilityTest::everythingIsReadInItsOrder()
{
    QStringList names;
    for (const auto& element : elements())
        names << element.name;

    const QLocale english("en_US");
    const auto today = QDate::currentDate();
    QStringList expected { "Knucklet", english.toString(today, "dddd, MMM d"), "Share a day card",
        "Keys: 1234567", "Clicks: 56" };
    for (int day = -6; day <= 0; ++day) {
        const auto counts = day == 0 ? "1234567 keys · 56 clicks"
            : day == -1              ? "4321 keys · 5 clicks"
                                     : "0 keys · 0 clicks";
        expected << english.toString(today.addDays(day), "dddd, MMM d") + ": " + counts;
    }
    expected << "All time"
             << "1.2M keys · 61 clicks"
             << "Best day"
             << "1.2M on " + english.toString(today, "MMM d") << "Show counts in menu bar"
             << "Launch at login"
             << "Setup Assistant…"
             << "Quit Knucklet";
    QCOMPARE(names, expected);
}

void PanelAccessibilityTest::whatIsReadFollowsEveryKey()
{
    user->type(XK_a, 3);

    QTRY_COMPARE(std::ranges::count(elements(), QString("Keys: 1234570"), &Accessible::name), 1);
}

void PanelAccessibilityTest::controlsSayWhatTheyAre()
{
    QMap<QString, QStringList> namesOfRole;
    for (const auto& element : elements()) {
        if (isControl(element))
            namesOfRole[element.role] << element.name;
    }

    QCOMPARE(namesOfRole["push button"],
        (QStringList { "Share a day card", "Setup Assistant…", "Quit Knucklet" }));
    QCOMPARE(namesOfRole["check box"], (QStringList { "Show counts in menu bar", "Launch at login" }));
}

void PanelAccessibilityTest::aScreenReaderCanPressWhatItReads()
{
    const auto box = [this] { return *reader->window("Knucklet")->find("Show counts in menu bar"); };
    QVERIFY(!box().isChecked);

    QVERIFY(reader->press(box()));

    QTRY_VERIFY(settingsFile(user->desktop).contains("showCountsInMenuBar=true"));
    QTRY_VERIFY(box().isChecked);
    QVERIFY(reader->press(*reader->window("Knucklet")->find("Quit Knucklet")));
    QVERIFY(user->knucklet->awaitEnd());
}

static const TestArea area("PanelAccessibility", runTest<PanelAccessibilityTest>);
#include "PanelAccessibilityTest.moc"
