#include "platform/linux/portal/PortalAppearance.h"

#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QTest>

#include <cmath>
#include <memory>

using SettingGroups = QMap<QString, QVariantMap>;

using namespace std::chrono_literals;

/// "(ddd)": a color as the portal has it.
struct PortalColor {
    double red = 0;
    double green = 0;
    double blue = 0;
};
Q_DECLARE_METATYPE(PortalColor)

QDBusArgument& operator<<(QDBusArgument& argument, const PortalColor& color)
{
    argument.beginStructure();
    argument << color.red << color.green << color.blue;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalColor& color)
{
    argument.beginStructure();
    argument >> color.red >> color.green >> color.blue;
    argument.endStructure();
    return argument;
}

namespace {

QVariant portalColor(double red, double green, double blue)
{
    return QVariant::fromValue(PortalColor { red, green, blue });
}

const QString sharedGroup = QStringLiteral("org.freedesktop.appearance");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString plasmaGroup = QStringLiteral("org.kde.kdeglobals.KDE");

}

/// A Settings portal with these settings.
class AppearancePortal final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    AppearancePortal(const QString& address, const SettingGroups& settings)
        : settings(settings)
        , bus(QDBusConnection::connectToBus(address, "portal"))
    {
        bus.registerObject("/org/freedesktop/portal/desktop", this,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        bus.registerService("org.freedesktop.portal.Desktop");
    }
    ~AppearancePortal() override { QDBusConnection::disconnectFromBus("portal"); }

    void change(const QString& group, const QString& key, const QVariant& value)
    {
        settings[group][key] = value;
        emit SettingChanged(group, key, QDBusVariant(value));
    }

    SettingGroups settings;
    int timesRead = 0;

    // NOLINTBEGIN(readability-identifier-naming): the names are those of the interface.
public slots:
    SettingGroups ReadAll(const QStringList& groups)
    {
        ++timesRead;
        SettingGroups found;
        for (const auto& group : groups) {
            if (settings.contains(group))
                found[group] = settings[group];
        }
        return found;
    }

signals:
    void SettingChanged(const QString&, const QString&, const QDBusVariant&);
    // NOLINTEND(readability-identifier-naming)

private:
    QDBusConnection bus;
};

class PortalAppearanceTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void withoutABusEverythingIsLightAndMoves();
    void withoutAPortalEverythingIsLightAndMoves();
    void thePortalIsAskedWithoutWaiting();
    void itsFirstAnswerCanBeAwaited();
    void whereNobodyAnswersNobodyWaitsForLong();
    void thePortalSaysTheLook_data();
    void thePortalSaysTheLook();
    void thePortalSaysTheAccent_data();
    void thePortalSaysTheAccent();
    void anAccentThatIsNoColorIsNone_data();
    void anAccentThatIsNoColorIsNone();
    void aChangeOfTheAccentIsFollowedAndTold();
    void aChangeIsFollowedAndTold();
    void whatChangesNothingIsNotTold();
    void aPortalThatComesLaterIsAskedThen();
    void ofAFloodOfSettingsMostAreNotLookedAt_data();
    void ofAFloodOfSettingsMostAreNotLookedAt();
    void aTextWithoutEndIsNoNumber();

private:
    std::unique_ptr<PrivateBus> privateBus;
    std::unique_ptr<QDBusConnection> bus;
};

void PortalAppearanceTest::initTestCase()
{
    qDBusRegisterMetaType<SettingGroups>();
    qDBusRegisterMetaType<PortalColor>();
}

void PortalAppearanceTest::init()
{
    privateBus = std::make_unique<PrivateBus>();
    QVERIFY(!privateBus->address().isEmpty());
    bus = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(privateBus->address(), "program"));
    QVERIFY(bus->isConnected());
}

void PortalAppearanceTest::cleanup()
{
    bus.reset();
    QDBusConnection::disconnectFromBus("program");
    privateBus.reset();
}

void PortalAppearanceTest::withoutABusEverythingIsLightAndMoves()
{
    const PortalAppearance appearance(QDBusConnection("no such connection"));

    QCOMPARE(appearance.colorScheme(), ColorScheme::Light);
    QCOMPARE(appearance.motion(), Motion::Full);
    QVERIFY(!appearance.accent());
}

void PortalAppearanceTest::withoutAPortalEverythingIsLightAndMoves()
{
    const PortalAppearance appearance(*bus);
    // The bus has answered in our stead by the time that it answers anything else.
    bus->call(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"));
    QCoreApplication::processEvents();

    QCOMPARE(appearance.colorScheme(), ColorScheme::Light);
    QCOMPARE(appearance.motion(), Motion::Full);
}

void PortalAppearanceTest::thePortalIsAskedWithoutWaiting()
{
    // It lives in this thread, so that waiting for it would last until the call is given up.
    const AppearancePortal portal(privateBus->address(), { { sharedGroup, { { "color-scheme", 1U } } } });

    const PortalAppearance appearance(*bus);

    QCOMPARE(portal.timesRead, 0);
    QCOMPARE(appearance.colorScheme(), ColorScheme::Light);
    QTRY_COMPARE(appearance.colorScheme(), ColorScheme::Dark);
}

void PortalAppearanceTest::itsFirstAnswerCanBeAwaited()
{
    const AppearancePortal portal(privateBus->address(), { { sharedGroup, { { "color-scheme", 1U } } } });
    PortalAppearance appearance(*bus);

    appearance.awaitAnswer(5min);

    QCOMPARE(appearance.colorScheme(), ColorScheme::Dark);
}

void PortalAppearanceTest::whereNobodyAnswersNobodyWaitsForLong()
{
    PortalAppearance withoutPortal(*bus);
    withoutPortal.awaitAnswer(5min);

    PortalAppearance withoutBus { QDBusConnection("no bus") };
    withoutBus.awaitAnswer(5min);

    QCOMPARE(withoutPortal.colorScheme(), ColorScheme::Light);
    QCOMPARE(withoutBus.colorScheme(), ColorScheme::Light);
}

void PortalAppearanceTest::thePortalSaysTheLook_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<ColorScheme>("scheme");
    QTest::addColumn<Motion>("motion");

    const auto row = [](const char* name, const QString& group, const QString& key, const QVariant& value,
                         ColorScheme scheme,
                         Motion motion) { QTest::newRow(name) << group << key << value << scheme << motion; };
    using enum ColorScheme;
    using enum Motion;
    row("no preference", sharedGroup, "color-scheme", 0U, Light, Full);
    row("dark", sharedGroup, "color-scheme", 1U, Dark, Full);
    row("light", sharedGroup, "color-scheme", 2U, Light, Full);
    row("a scheme of the future", sharedGroup, "color-scheme", 3U, Light, Full);
    row("wrapped once more", sharedGroup, "color-scheme", QVariant::fromValue(QDBusVariant(1U)), Dark, Full);
    row("no number", sharedGroup, "color-scheme", "prefer-dark", Light, Full);
    row("another group's key", gnomeGroup, "color-scheme", 1U, Light, Full);
    row("reduced motion", sharedGroup, "reduced-motion", 1U, Light, Reduced);
    row("no preference about motion", sharedGroup, "reduced-motion", 0U, Light, Full);
    row("animations off in GNOME", gnomeGroup, "enable-animations", false, Light, Reduced);
    row("animations on in GNOME", gnomeGroup, "enable-animations", true, Light, Full);
    row("instant animations in Plasma", plasmaGroup, "AnimationDurationFactor", "0", Light, Reduced);
    row("slower animations in Plasma", plasmaGroup, "AnimationDurationFactor", "1.4142", Light, Full);
    row("nonsense in Plasma", plasmaGroup, "AnimationDurationFactor", "fast", Light, Full);
}

void PortalAppearanceTest::thePortalSaysTheLook()
{
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const QVariant, value);
    QFETCH(const ColorScheme, scheme);
    QFETCH(const Motion, motion);
    // A second setting that comes with the first shows when the answer is there.
    SettingGroups settings { { group, { { key, value } } } };
    const AppearancePortal portal(privateBus->address(), settings);

    const PortalAppearance appearance(*bus);
    QTRY_COMPARE(portal.timesRead, 1);

    QTRY_COMPARE(appearance.colorScheme(), scheme);
    QTRY_COMPARE(appearance.motion(), motion);
}

void PortalAppearanceTest::thePortalSaysTheAccent_data()
{
    QTest::addColumn<QVariant>("value");

    const auto purple = portalColor(0.5, 0.25, 1);
    QTest::newRow("plain") << purple;
    QTest::newRow("wrapped once more") << QVariant::fromValue(QDBusVariant(purple));
}

void PortalAppearanceTest::thePortalSaysTheAccent()
{
    QFETCH(const QVariant, value);
    const AppearancePortal portal(privateBus->address(), { { sharedGroup, { { "accent-color", value } } } });
    PortalAppearance appearance(*bus);

    appearance.awaitAnswer(5min);

    QCOMPARE(appearance.accent(), (AccentColor { .red = 0.5, .green = 0.25, .blue = 1 }));
}

void PortalAppearanceTest::anAccentThatIsNoColorIsNone_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("none chosen") << portalColor(-1, -1, -1);
    QTest::newRow("one part out of range") << portalColor(0, 1.5, 0);
    QTest::newRow("no number") << portalColor(0, 0, std::nan(""));
    QTest::newRow("a text") << QVariant("blue");
    QTest::newRow("a number") << QVariant(3U);
    QTest::newRow("several numbers") << QVariant::fromValue(QStringList { "0", "0", "1" });
}

void PortalAppearanceTest::anAccentThatIsNoColorIsNone()
{
    QFETCH(const QVariant, value);
    // The scheme that comes with it shows when the answer is there.
    const AppearancePortal portal(
        privateBus->address(), { { sharedGroup, { { "accent-color", value }, { "color-scheme", 1U } } } });
    PortalAppearance appearance(*bus);

    appearance.awaitAnswer(5min);

    QCOMPARE(appearance.colorScheme(), ColorScheme::Dark);
    QVERIFY(!appearance.accent());
}

void PortalAppearanceTest::aChangeOfTheAccentIsFollowedAndTold()
{
    AppearancePortal portal(
        privateBus->address(), { { sharedGroup, { { "accent-color", portalColor(1, 0, 0) } } } });
    PortalAppearance appearance(*bus);
    QTRY_VERIFY(appearance.accent());
    int told = 0;
    const auto observation = appearance.observe([&] { ++told; });

    portal.change(sharedGroup, "accent-color", portalColor(0, 1, 0));
    QTRY_COMPARE(told, 1);
    const auto changed = appearance.accent();
    portal.change(sharedGroup, "accent-color", portalColor(-1, -1, -1));
    QTRY_COMPARE(told, 2);

    QCOMPARE(changed, (AccentColor { .red = 0, .green = 1, .blue = 0 }));
    QVERIFY(!appearance.accent());
}

void PortalAppearanceTest::aChangeIsFollowedAndTold()
{
    AppearancePortal portal(privateBus->address(), { { sharedGroup, { { "color-scheme", 2U } } } });
    PortalAppearance appearance(*bus);
    int told = 0;
    const auto observation = appearance.observe([&] { ++told; });
    QTRY_COMPARE(portal.timesRead, 1);

    portal.change(sharedGroup, "color-scheme", 1U);
    QTRY_COMPARE(told, 1);
    QCOMPARE(appearance.colorScheme(), ColorScheme::Dark);
    portal.change(gnomeGroup, "enable-animations", false);
    QTRY_COMPARE(told, 2);

    QCOMPARE(appearance.colorScheme(), ColorScheme::Dark);
    QCOMPARE(appearance.motion(), Motion::Reduced);
}

void PortalAppearanceTest::whatChangesNothingIsNotTold()
{
    AppearancePortal portal(privateBus->address(), { { sharedGroup, { { "color-scheme", 1U } } } });
    PortalAppearance appearance(*bus);
    QTRY_COMPARE(appearance.colorScheme(), ColorScheme::Dark);
    int told = 0;
    const auto observation = appearance.observe([&] { ++told; });

    portal.change(sharedGroup, "color-scheme", 1U);
    portal.change(gnomeGroup, "font-name", "Sans 11");
    portal.change(sharedGroup, "color-scheme", 2U);

    QTRY_COMPARE(appearance.colorScheme(), ColorScheme::Light);
    QCOMPARE(told, 1);
}

void PortalAppearanceTest::ofAFloodOfSettingsMostAreNotLookedAt_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<ColorScheme>("scheme");

    QTest::newRow("many") << 200 << ColorScheme::Dark;
    QTest::newRow("a flood") << 100'000 << ColorScheme::Light;
}

void PortalAppearanceTest::ofAFloodOfSettingsMostAreNotLookedAt()
{
    QFETCH(const int, before);
    QFETCH(const ColorScheme, scheme);
    SettingGroups settings { { sharedGroup, { { "color-scheme", 1U } } } };
    // In the order of their names.
    for (int i = 0; i < before; ++i)
        settings[sharedGroup].insert("a" + QString::number(i), QString("value"));
    const AppearancePortal portal(privateBus->address(), settings);
    PortalAppearance appearance(*bus);

    appearance.awaitAnswer(5min);

    QCOMPARE(portal.timesRead, 1);
    QCOMPARE(appearance.colorScheme(), scheme);
}

void PortalAppearanceTest::aTextWithoutEndIsNoNumber()
{
    const QString zero(2'000'000, '0');
    const AppearancePortal portal(
        privateBus->address(), { { plasmaGroup, { { "AnimationDurationFactor", zero } } } });
    PortalAppearance appearance(*bus);

    appearance.awaitAnswer(5min);

    QCOMPARE(portal.timesRead, 1);
    QCOMPARE(appearance.motion(), Motion::Full);
}

void PortalAppearanceTest::aPortalThatComesLaterIsAskedThen()
{
    PortalAppearance appearance(*bus);

    const AppearancePortal portal(privateBus->address(), { { sharedGroup, { { "color-scheme", 1U } } } });

    QTRY_COMPARE(appearance.colorScheme(), ColorScheme::Dark);
}

static const TestArea area("PortalAppearance", runTest<PortalAppearanceTest>);
#include "PortalAppearanceTest.moc"
