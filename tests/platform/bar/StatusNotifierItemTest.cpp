#include "platform/linux/bar/StatusNotifierItem.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QXmlStreamReader>

#include <sys/prctl.h>

#include <memory>

// An icon as it comes over the bus: "(iiay)".
static QDBusArgument& operator<<(QDBusArgument& argument, const IconPixmap&) { return argument; }

static const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixmap& pixmap)
{
    QByteArray pixels;
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixels;
    argument.endStructure();
    pixmap.pixels = pixels.toStdString();
    return argument;
}

namespace {

const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");
const QString introspectableInterface = QStringLiteral("org.freedesktop.DBus.Introspectable");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

QString itemService(int number = 1)
{
    return QString("org.kde.StatusNotifierItem-%1-%2").arg(QCoreApplication::applicationPid()).arg(number);
}

/// An entry of the menu as it stands in a layout.
struct LayoutEntry {
    int id = -1;
    QVariantMap properties;
    QVariantList children;
};

LayoutEntry layoutEntry(const QDBusArgument& argument)
{
    LayoutEntry entry;
    argument.beginStructure();
    argument >> entry.id >> entry.properties >> entry.children;
    argument.endStructure();
    return entry;
}

LayoutEntry childOf(const LayoutEntry& entry, int index)
{
    return layoutEntry(entry.children.value(index).value<QDBusArgument>());
}

QVariant asVariant(const QVariant& value) { return QVariant::fromValue(QDBusVariant(value)); }

/// What happened to an entry, to be sent in a group.
struct MenuEvent {
    int id = 0;
    QString name;
    QVariant data = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event)
{
    argument.beginStructure();
    argument << event.id << event.name << QDBusVariant(event.data) << 0U;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent&) { return argument; }

/// The D-Bus type of a value that arrived.
QString signatureOf(const QVariant& value)
{
    if (value.metaType() == QMetaType::fromType<QDBusArgument>())
        return value.value<QDBusArgument>().currentSignature();
    return QDBusMetaType::typeToSignature(value.metaType());
}

struct DescribedMethod {
    QString name;
    int arguments = 0;
};

/// An interface as introspection describes it.
struct Description {
    bool isWellFormed = false;
    QMap<QString, QString> properties;
    QList<DescribedMethod> methods;
};

Description parseDescription(const QString& text, const QString& interface)
{
    Description description;
    QXmlStreamReader xml(text);
    bool isInInterface = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString name = xml.attributes().value("name").toString();
        if (xml.name() == QString("interface"))
            isInInterface = name == interface;
        if (!isInInterface)
            continue;
        if (xml.name() == QString("property"))
            description.properties.insert(name, xml.attributes().value("type").toString());
        if (xml.name() == QString("method"))
            description.methods.append({ name, 0 });
        if (xml.name() == QString("arg") && xml.attributes().value("direction") == QString("in"))
            ++description.methods.last().arguments;
    }
    description.isWellFormed = !xml.hasError();
    return description;
}

}

/// The part of a desktop with which items register, in a process of the given name: this process takes it.
class Watcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)

public:
    /// Takes the name from a watcher that has it.
    explicit Watcher(const QString& address, const QString& name = "watcher")
        : connection(QDBusConnection::connectToBus(address, name))
    {
        prctl(PR_SET_NAME, qPrintable(name));
        connection.registerObject("/StatusNotifierWatcher", this,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
        connection.interface()->registerService("org.kde.StatusNotifierWatcher",
            QDBusConnectionInterface::ReplaceExistingService, QDBusConnectionInterface::AllowReplacement);
    }
    ~Watcher() override { QDBusConnection::disconnectFromBus(connection.name()); }

    /// Some hosts never say that they are there.
    bool isHostRegistered() const { return false; }

    QStringList registered;

public slots:
    void RegisterStatusNotifierItem(const QString& service) { registered << service; }

private:
    QDBusConnection connection;
};

/// Writes down every signal of the item and of its menu.
class SignalLog final : public QObject {
    Q_OBJECT

public:
    explicit SignalLog(QDBusConnection& bus)
    {
        for (const char* name : { "NewTitle", "NewIcon", "NewToolTip", "NewStatus", "XAyatanaNewLabel" })
            bus.connect(itemService(), itemPath, itemInterface, name, this, SLOT(write(QDBusMessage)));
        for (const char* name : { "LayoutUpdated", "ItemsPropertiesUpdated", "ItemActivationRequested" })
            bus.connect(itemService(), menuPath, menuInterface, name, this, SLOT(write(QDBusMessage)));
    }

    QList<QDBusMessage> messages;

    QStringList names() const
    {
        QStringList names;
        for (const QDBusMessage& message : messages)
            names << message.member();
        return names;
    }

public slots:
    void write(const QDBusMessage& message) { messages << message; }
};

class StatusNotifierItemTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void itRegistersWithTheWatcherThatIsThere();
    void itRegistersWithAWatcherThatComesLater();
    void itRegistersAgainWithEachNewWatcher();
    void itRegistersWithAWatcherThatTakesOver();
    void aBarThatLosesItemsWithNamesHearsOfItsPlace();
    void aBarThatMissesItemsOfItsStartHearsOfItAgainUntilItReads();
    void aWatcherIsThereWhenTheBusSaysSo_data();
    void aWatcherIsThereWhenTheBusSaysSo();
    void withoutABusItRunsOn();
    void whenTheBusIsLostThereIsNoWatcher();
    void aBusThatHangsHoldsUpNobody();

    void hostsReadWhatItIs();
    void hostsReadTheSameOneByOne();
    void theIconIsFoundByItsName();
    void theIconIsThereInPixelsToo();
    void aBarThatColorsNoIconsGetsPixels_data();
    void aBarThatColorsNoIconsGetsPixels();
    void aBarThatTakesTextInTheIconOnlyGetsItThere_data();
    void aBarThatTakesTextInTheIconOnlyGetsItThere();
    void aBarThatTakesTextInTheIconOnlyIsToldOfEachChangeOnce();
    void theNextBarIsTakenForWhatItIs();
    void aBarThatReadsTheLabelTooEarlyIsToldOfItOnceMore();
    void otherBarsAreNotToldOfTheLabelTwice();
    void anIconThemeThatEveryHostSearchesIsNotNamed();

    void aChangeOfTheLabelIsAnnouncedOnce();
    void aChangeOfTheToolTipAloneIsAnnouncedAlone();
    void whetherTextIsShownIsToldWhenItChanges();
    void toolTipsThatFollowEachOtherAreAnnouncedNowAndThen();
    void aLabelThatStaysAsItIsIsSilent();

    void aClickOpensAtThePlaceThatTheHostNames_data();
    void aClickOpensAtThePlaceThatTheHostNames();
    void theCornerOfAllScreensIsNoPlace();
    void aPlaceWithinTheIconIsNone_data();
    void aPlaceWithinTheIconIsNone();
    void whereABarThatKnowsItsPlaceSaysTheIconIs();
    void whereThePointerIsCountsMost();
    void scrollingAndTheLikeDoNothing();
    void theTokenOfAWindowIsPassedOn();
    void aTokenThatIsNoneIsRefused_data();
    void aTokenThatIsNoneIsRefused();

    void theMenuIsLaidOutAsFarAsAskedFor_data();
    void theMenuIsLaidOutAsFarAsAskedFor();
    void anEntryIsALayoutOfItsOwn();
    void onlyTheNamedPropertiesAreSent();
    void propertiesAreSentForAGroupOfEntries();
    void onePropertyOfAnEntryIsSent();
    void anUnderscoreInATitleIsNoAccessKey();
    void theMenuRunsInTheDirectionOfTheLanguage();
    void aClickedEntryRunsItsCommand();
    void otherEventsRunNothing();
    void eventsMayComeInAGroup();
    void anEmptyGroupIsAnswered();
    void aGroupThatIsTooLargeIsRefusedAsAWhole();
    void whatComesWithAnEventMayBeLarge();
    void theMenuIsAlwaysReadyToBeShown();

    void wrongCallsGetTheirErrors_data();
    void wrongCallsGetTheirErrors();
    void introspectionSaysWhatIsThere_data();
    void introspectionSaysWhatIsThere();
    void otherToolsUnderstandTheIntrospection_data();
    void otherToolsUnderstandTheIntrospection();

private:
    void start(const QByteArray& busConfiguration = {});
    void install(const QStringList& titles = { "Open Knucklet", "Setup Assistant…", "Quit Knucklet" });
    QString findItem();
    QDBusMessage call(const QString& path, const QString& interface, const QString& member,
        const QVariantList& arguments = {});
    QVariant property(const QString& name);
    LayoutEntry layout(int parent, int depth, const QStringList& names = {});

    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<QDBusConnection> host;
    std::unique_ptr<EventLoop> loop;
    std::unique_ptr<ServedLoop> served;
    std::unique_ptr<Bus> itemBus;
    std::unique_ptr<StatusNotifierItem> item;
    std::optional<ScreenPixel> pointer;
    QList<WatcherState> watcherStates;
    std::vector<std::string> tokens;
    QList<bool> textsShown;
    QList<std::optional<ScreenPixel>> places;
    QStringList commandsRun;
    /// By its unique name, which stays.
    QString itemConnection;
};

void StatusNotifierItemTest::initTestCase()
{
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    qDBusRegisterMetaType<IconPixmap>();
    qDBusRegisterMetaType<QList<IconPixmap>>();
}

void StatusNotifierItemTest::init()
{
    pointer.reset();
    watcherStates.clear();
    tokens.clear();
    textsShown.clear();
    places.clear();
    commandsRun.clear();
    start();
}

void StatusNotifierItemTest::start(const QByteArray& busConfiguration)
{
    bus = std::make_unique<PrivateBus>(busConfiguration);
    QVERIFY(!bus->address().isEmpty());
    host = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(bus->address(), "host"));
    loop = std::make_unique<EventLoop>();
    served = std::make_unique<ServedLoop>(*loop);
    itemBus = std::make_unique<Bus>(*loop, bus->address().toStdString());
    item = std::make_unique<StatusNotifierItem>(*loop, *itemBus,
        ItemSurroundings { [this] { return pointer; },
            [this](const std::string& token) { tokens.push_back(token); },
            [this](bool isShown) { textsShown << isShown; } },
        [this](WatcherState state) { watcherStates << state; });
}

void StatusNotifierItemTest::cleanup()
{
    item.reset();
    itemBus.reset();
    served.reset();
    loop.reset();
    host.reset();
    QDBusConnection::disconnectFromBus("host");
    bus.reset();
}

void StatusNotifierItemTest::install(const QStringList& titles)
{
    std::vector<MenuBarCommand> commands;
    for (const QString& title : titles)
        commands.push_back(
            { title.toStdString(), [this, title](std::optional<ScreenPixel>) { commandsRun << title; } });
    item->install([this](std::optional<ScreenPixel> place) { places << place; }, std::move(commands));
    QTRY_VERIFY(!findItem().isEmpty());
}

QString StatusNotifierItemTest::findItem()
{
    const QStringList names = host->interface()->registeredServiceNames();
    const auto found = names.filter(itemService(0).chopped(1));
    itemConnection = found.isEmpty() ? QString() : host->interface()->serviceOwner(found[0]).value();
    return itemConnection;
}

QDBusMessage StatusNotifierItemTest::call(
    const QString& path, const QString& interface, const QString& member, const QVariantList& arguments)
{
    auto message = QDBusMessage::createMethodCall(itemConnection, path, interface, member);
    message.setArguments(arguments);
    const QDBusPendingCallWatcher pending(host->asyncCall(message, patience));
    QSignalSpy finished(&pending, &QDBusPendingCallWatcher::finished);
    if (!pending.isFinished())
        finished.wait(patience);
    return pending.reply();
}

QVariant StatusNotifierItemTest::property(const QString& name)
{
    const auto reply = call(itemPath, propertiesInterface, "Get", { itemInterface, name });
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

LayoutEntry StatusNotifierItemTest::layout(int parent, int depth, const QStringList& names)
{
    const auto reply = call(menuPath, menuInterface, "GetLayout", { parent, depth, names });
    return layoutEntry(reply.arguments().value(1).value<QDBusArgument>());
}

void StatusNotifierItemTest::itRegistersWithTheWatcherThatIsThere()
{
    const Watcher watcher(bus->address());

    install();
    QTRY_VERIFY(!watcher.registered.isEmpty());

    QCOMPARE(watcher.registered, QStringList(itemService()));
}

void StatusNotifierItemTest::itRegistersWithAWatcherThatComesLater()
{
    install();
    QCOMPARE(property("Title"), "Knucklet");

    const Watcher watcher(bus->address());
    QTRY_VERIFY(!watcher.registered.isEmpty());

    QCOMPARE(watcher.registered, QStringList(itemService()));
}

void StatusNotifierItemTest::itRegistersAgainWithEachNewWatcher()
{
    install();

    for (int restart = 0; restart < 3; ++restart) {
        const Watcher watcher(bus->address());
        QTRY_COMPARE(watcher.registered, QStringList(itemService()));
    }
}

void StatusNotifierItemTest::itRegistersWithAWatcherThatTakesOver()
{
    const Watcher first(bus->address());
    install();
    QTRY_COMPARE(first.registered, QStringList(itemService()));

    const Watcher second(bus->address(), "second watcher");

    QTRY_COMPARE(second.registered, QStringList(itemService()));
}

void StatusNotifierItemTest::aBarThatLosesItemsWithNamesHearsOfItsPlace()
{
    const Watcher watcher(bus->address(), "gnome-shell");

    install();

    QTRY_COMPARE(watcher.registered, QStringList(itemPath));
}

void StatusNotifierItemTest::aBarThatMissesItemsOfItsStartHearsOfItAgainUntilItReads()
{
    const Watcher watcher(bus->address(), "mate-panel");
    install();
    QTRY_COMPARE_GE(watcher.registered.size(), 2);

    // By another name, since it would be passed over by one that the bar knows.
    QCOMPARE(watcher.registered[0], itemService(1));
    QCOMPARE(watcher.registered[1], itemService(2));
    QVERIFY(!host->interface()->isServiceRegistered(itemService(1)).value());

    QCOMPARE(property("Status"), "Active");
    Bus otherBus(*loop, bus->address().toStdString());
    StatusNotifierItem other(*loop, otherBus, {});
    other.install([](std::optional<ScreenPixel>) {}, {});
    QTRY_COMPARE(watcher.registered.count(itemService(1)), 2);
    const auto whenRead = watcher.registered.size();
    // The time of the one that began later ends later.
    QTRY_COMPARE_GT(watcher.registered.size(), whenRead);
    QCOMPARE(watcher.registered[whenRead], itemService(2));
}

void StatusNotifierItemTest::aWatcherIsThereWhenTheBusSaysSo_data()
{
    QTest::addColumn<QByteArray>("busConfiguration");
    QTest::addColumn<WatcherState>("expected");

    QTest::newRow("whose process the bus does not know")
        << QByteArray("<listen>tcp:host=127.0.0.1</listen><auth>ANONYMOUS</auth><allow_anonymous/>")
        << WatcherState::Present;
    QTest::newRow("of which the bus says nothing") << QByteArray(
        "<policy context=\"mandatory\"><deny send_destination=\"org.freedesktop.DBus\" "
        "send_interface=\"org.freedesktop.DBus\" send_member=\"GetConnectionUnixProcessID\"/></policy>")
                                                   << WatcherState::Absent;
}

void StatusNotifierItemTest::aWatcherIsThereWhenTheBusSaysSo()
{
    QFETCH(const QByteArray, busConfiguration);
    QFETCH(const WatcherState, expected);
    cleanup();
    start(busConfiguration);
    const auto fromAfar = bus->addressFromAfar();
    const Watcher watcher(fromAfar.isEmpty() ? bus->address() : fromAfar);

    install();

    QTRY_VERIFY(!watcherStates.isEmpty());
    QCOMPARE(watcherStates, QList { expected });
    QCOMPARE(item->isShown(), expected == WatcherState::Present);
    if (expected == WatcherState::Present)
        QTRY_COMPARE(watcher.registered, QStringList(itemService()));
}

void StatusNotifierItemTest::withoutABusItRunsOn()
{
    Bus none(*loop, "unix:path=/nowhere");
    StatusNotifierItem withoutBus(*loop, none, {});

    withoutBus.install(
        [](std::optional<ScreenPixel>) {}, { { "Quit Knucklet", [](std::optional<ScreenPixel>) {} } });
    withoutBus.setLabel({ "1 · 2", "1 keys · 2 clicks" });
    install();

    QCOMPARE(property("XAyatanaLabel"), "");
}

void StatusNotifierItemTest::whenTheBusIsLostThereIsNoWatcher()
{
    const Watcher watcher(bus->address());
    install();
    QTRY_VERIFY(item->isShown());

    bus->end();
    QTRY_VERIFY(!item->isShown());
    item->setLabel({ "1 · 2", "1 keys · 2 clicks" });

    QCOMPARE(watcherStates, QList({ WatcherState::Present, WatcherState::Absent }));
}

void StatusNotifierItemTest::aBusThatHangsHoldsUpNobody()
{
    install();
    QCOMPARE(property("Title"), "Knucklet");
    bus->hang();

    for (int keys = 0; keys < 100'000; ++keys)
        item->setLabel({ std::to_string(keys), std::to_string(keys) + " keys" });
    bus->goOn();

    QTRY_COMPARE(property("XAyatanaLabel"), "99999");
}

void StatusNotifierItemTest::hostsReadWhatItIs()
{
    install();
    item->setLabel({ "1.2k · 56", "1.2k keys · 56 clicks" });

    const auto reply = call(itemPath, propertiesInterface, "GetAll", { itemInterface });
    const auto properties = qdbus_cast<QVariantMap>(reply.arguments().value(0));

    QCOMPARE(properties["Category"], "ApplicationStatus");
    QCOMPARE(properties["Id"], "org.knucklet.Knucklet");
    QCOMPARE(properties["Title"], "Knucklet");
    QCOMPARE(properties["Status"], "Active");
    QCOMPARE(properties["ItemIsMenu"], false);
    QCOMPARE(properties["Menu"].value<QDBusObjectPath>().path(), menuPath);
    QCOMPARE(properties["IconName"], "org.knucklet.Knucklet-symbolic");
    QCOMPARE(properties["XAyatanaLabel"], "1.2k · 56");
    const auto toolTip = properties["ToolTip"].value<QDBusArgument>();
    QCOMPARE(toolTip.currentSignature(), "(sa(iiay)ss)");
    QString iconName;
    QList<IconPixmap> pixmaps;
    QString title;
    QString text;
    toolTip.beginStructure();
    toolTip >> iconName >> pixmaps >> title >> text;
    toolTip.endStructure();
    QCOMPARE(title, "1.2k keys · 56 clicks");
    QCOMPARE(text, "");
}

void StatusNotifierItemTest::hostsReadTheSameOneByOne()
{
    install();

    const auto reply = call(itemPath, propertiesInterface, "GetAll", { itemInterface });
    const auto properties = qdbus_cast<QVariantMap>(reply.arguments().value(0));

    QVERIFY(!properties.isEmpty());
    for (auto each = properties.begin(); each != properties.end(); ++each) {
        const QVariant single = property(each.key());
        QCOMPARE(signatureOf(single), signatureOf(each.value()));
        if (single.metaType() != QMetaType::fromType<QDBusArgument>())
            QCOMPARE(single, each.value());
    }
}

void StatusNotifierItemTest::theIconIsFoundByItsName()
{
    install();

    const QDir icons = property("IconThemePath").toString();

    QVERIFY(icons.isAbsolute());
    for (const char* folder : { "symbolic", "16x16", "22x22" }) {
        const QString icon = QString("hicolor/%1/apps/%2.svg").arg(folder, property("IconName").toString());
        QVERIFY2(icons.exists(icon), qPrintable(icon));
    }
}

void StatusNotifierItemTest::theIconIsThereInPixelsToo()
{
    install();

    const auto pixmaps = qdbus_cast<QList<IconPixmap>>(property("IconPixmap"));

    QCOMPARE(pixmaps.size(), 5);
    for (const IconPixmap& pixmap : pixmaps) {
        QCOMPARE(pixmap.height, pixmap.width);
        const auto pixels = QByteArray::fromStdString(pixmap.pixels);
        QCOMPARE(pixels.size(), qsizetype { 4 } * pixmap.width * pixmap.height);
        // The corner is outside the badge, the middle of its upper edge is on it.
        QCOMPARE(pixels.first(4), QByteArray(4, '\0'));
        const auto upperEdge = 4 * (pixmap.width + pixmap.width / 2);
        QCOMPARE(pixels.mid(upperEdge, 4), QByteArray("\xff\x4a\x4a\x4a"));
        QVERIFY(pixels.contains(QByteArray(4, '\xff')));
    }
}

void StatusNotifierItemTest::aBarThatColorsNoIconsGetsPixels_data()
{
    QTest::addColumn<QString>("process");

    QTest::newRow("LXQt") << "lxqt-panel";
    QTest::newRow("MATE") << "notification-ar";
    QTest::newRow("MATE with everything in one process") << "mate-panel";
    QTest::newRow("waybar") << "waybar";
}

void StatusNotifierItemTest::aBarThatColorsNoIconsGetsPixels()
{
    QFETCH(const QString, process);
    install();
    QCOMPARE(property("IconName"), "org.knucklet.Knucklet-symbolic");

    const Watcher watcher(bus->address(), process);
    QTRY_VERIFY(!watcher.registered.isEmpty());

    QCOMPARE(property("IconName"), "");
    QCOMPARE(qdbus_cast<QList<IconPixmap>>(property("IconPixmap")).size(), 5);
}

void StatusNotifierItemTest::aBarThatTakesTextInTheIconOnlyGetsItThere_data()
{
    QTest::addColumn<QString>("process");

    QTest::newRow("MATE") << "notification-ar";
    QTest::newRow("waybar") << "waybar";
}

void StatusNotifierItemTest::aBarThatTakesTextInTheIconOnlyGetsItThere()
{
    QFETCH(const QString, process);
    const Watcher watcher(bus->address(), process);
    install();
    QTRY_VERIFY(!watcher.registered.isEmpty());
    const auto alone = qdbus_cast<QList<IconPixmap>>(property("IconPixmap"));

    item->setLabel({ "1.2k · 56", "1.2k keys · 56 clicks" });
    const auto withText = qdbus_cast<QList<IconPixmap>>(property("IconPixmap"));

    for (qsizetype i = 0; i < alone.size(); ++i) {
        QCOMPARE(alone[i].width, alone[i].height);
        QCOMPARE(withText[i].height, alone[i].height);
        QCOMPARE_GE(withText[i].width, 3 * alone[i].width);
    }
    for (const char* name : { "XAyatanaLabel", "XAyatanaLabelGuide" }) {
        const auto reply = call(itemPath, propertiesInterface, "Get", { itemInterface, name });
        QCOMPARE(reply.errorName(), "org.freedesktop.DBus.Error.UnknownProperty");
    }
}

void StatusNotifierItemTest::aBarThatTakesTextInTheIconOnlyIsToldOfEachChangeOnce()
{
    const Watcher watcher(bus->address(), "waybar");
    install();
    QTRY_COMPARE(watcher.registered, QStringList(itemService()));
    const SignalLog log(*host);

    for (int i = 0; i < 1000; ++i)
        item->setLabel({ "1.2k · 56", "1.2k keys · 56 clicks" });
    QCOMPARE(property("Title"), "Knucklet");

    QCOMPARE(log.names(), QStringList({ "NewIcon", "NewToolTip" }));
}

void StatusNotifierItemTest::theNextBarIsTakenForWhatItIs()
{
    install();
    item->setLabel({ "1 · 2", "1 keys · 2 clicks" });
    {
        const Watcher watcher(bus->address(), "waybar");
        QTRY_COMPARE(watcher.registered, QStringList(itemService()));
        QVERIFY(!property("XAyatanaLabel").isValid());
        const auto pixmap = qdbus_cast<QList<IconPixmap>>(property("IconPixmap")).value(0);
        QCOMPARE_GT(pixmap.width, pixmap.height);
    }

    const Watcher watcher(bus->address(), "xfce4-panel");
    QTRY_COMPARE(watcher.registered, QStringList(itemService()));

    QCOMPARE(property("XAyatanaLabel"), "1 · 2");
    QCOMPARE(property("IconName"), "org.knucklet.Knucklet-symbolic");
    const auto pixmap = qdbus_cast<QList<IconPixmap>>(property("IconPixmap")).value(0);
    QCOMPARE(pixmap.width, pixmap.height);
}

void StatusNotifierItemTest::aBarThatReadsTheLabelTooEarlyIsToldOfItOnceMore()
{
    const Watcher watcher(bus->address(), "gnome-shell");
    install();
    item->setLabel({ "1 · 2", "1 keys · 2 clicks" });
    QTRY_COMPARE(watcher.registered, QStringList(itemPath));
    QCOMPARE(property("XAyatanaLabel"), "1 · 2");
    const SignalLog log(*host);

    call(itemPath, introspectableInterface, "Introspect", {});

    // It would take the same text for no change.
    QTRY_COMPARE(log.names(), QStringList({ "XAyatanaNewLabel", "XAyatanaNewLabel" }));
    QCOMPARE(log.messages[0].arguments(), (QVariantList { "", "" }));
    QCOMPARE(log.messages[1].arguments(), (QVariantList { "1 · 2", "" }));
}

void StatusNotifierItemTest::otherBarsAreNotToldOfTheLabelTwice()
{
    const Watcher watcher(bus->address(), "xfce4-panel");
    install();
    item->setLabel({ "1 · 2", "1 keys · 2 clicks" });
    QTRY_COMPARE(watcher.registered, QStringList(itemService()));
    const SignalLog log(*host);

    call(itemPath, introspectableInterface, "Introspect", {});
    // What has been put off by then comes before the answer.
    QCOMPARE(property("Title"), "Knucklet");
    item->setLabel({ "2 · 2", "1 keys · 2 clicks" });

    QTRY_COMPARE(log.names(), QStringList("XAyatanaNewLabel"));
}

void StatusNotifierItemTest::anIconThemeThatEveryHostSearchesIsNotNamed()
{
    install();
    const QString icons = property("IconThemePath").toString();
    QVERIFY(!icons.isEmpty());

    qputenv("XDG_DATA_DIRS", QFile::encodeName(QFileInfo(icons).path()));
    const QVariant path = property("IconThemePath");
    qunsetenv("XDG_DATA_DIRS");

    QCOMPARE(path, "");
}

void StatusNotifierItemTest::aChangeOfTheLabelIsAnnouncedOnce()
{
    const SignalLog log(*host);
    install();

    item->setLabel({ "1 · 2", "1 keys · 2 clicks" });
    QCOMPARE(property("XAyatanaLabel"), "1 · 2");

    QCOMPARE(log.names(), QStringList({ "XAyatanaNewLabel", "NewToolTip" }));
    QCOMPARE(log.messages[0].arguments(), QVariantList({ "1 · 2", "" }));
}

void StatusNotifierItemTest::aChangeOfTheToolTipAloneIsAnnouncedAlone()
{
    const SignalLog log(*host);
    install();

    item->setLabel({ "", "1 keys · 2 clicks" });
    QCOMPARE(property("XAyatanaLabel"), "");

    QCOMPARE(log.names(), QStringList("NewToolTip"));
}

void StatusNotifierItemTest::whetherTextIsShownIsToldWhenItChanges()
{
    item->setLabel({ "", "0 keys · 0 clicks" });
    item->setLabel({ "1 · 0", "1 keys · 0 clicks" });
    item->setLabel({ "2 · 0", "2 keys · 0 clicks" });
    item->setLabel({ "", "3 keys · 0 clicks" });

    QCOMPARE(textsShown, QList({ true, false }));
}

void StatusNotifierItemTest::toolTipsThatFollowEachOtherAreAnnouncedNowAndThen()
{
    const SignalLog log(*host);
    install();

    for (int i = 1; i <= 10; ++i)
        item->setLabel({ "", std::to_string(i) + " keys · 0 clicks" });
    QTRY_COMPARE(log.names(), QStringList({ "NewToolTip", "NewToolTip" }));

    QCOMPARE(property("XAyatanaLabel"), "");
    QCOMPARE(log.names().size(), 2);
}

void StatusNotifierItemTest::aLabelThatStaysAsItIsIsSilent()
{
    install();
    item->setLabel({ "1.2k · 56", "1.2k keys · 56 clicks" });
    QCOMPARE(property("XAyatanaLabel"), "1.2k · 56");
    const SignalLog log(*host);

    for (int i = 0; i < 1000; ++i)
        item->setLabel({ "1.2k · 56", "1.2k keys · 56 clicks" });
    item->setLabel({ "1.2k · 57", "1.2k keys · 56 clicks" });
    QCOMPARE(property("XAyatanaLabel"), "1.2k · 57");

    QCOMPARE(log.names(), QStringList("XAyatanaNewLabel"));
}

void StatusNotifierItemTest::aClickOpensAtThePlaceThatTheHostNames_data()
{
    QTest::addColumn<QString>("method");

    QTest::newRow("a left click") << "Activate";
    QTest::newRow("a middle click") << "SecondaryActivate";
}

void StatusNotifierItemTest::aClickOpensAtThePlaceThatTheHostNames()
{
    QFETCH(QString, method);
    install();

    const auto reply = call(itemPath, itemInterface, method, { 400, 12 });
    QTRY_VERIFY(!places.isEmpty());

    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(places.size(), 1);
    QVERIFY((places[0] == ScreenPixel { 400, 12 }));
}

void StatusNotifierItemTest::theCornerOfAllScreensIsNoPlace()
{
    install();

    call(itemPath, itemInterface, "Activate", { 0, 0 });

    QTRY_COMPARE(places.size(), 1);
    QVERIFY(!places[0]);
}

void StatusNotifierItemTest::aPlaceWithinTheIconIsNone_data()
{
    QTest::addColumn<QString>("bar");
    QTest::addColumn<int>("x");

    QTest::newRow("a bar known for it") << "waybar" << 11;
    QTest::newRow("such a bar, counts within the icon") << "waybar" << 90;
    QTest::newRow("an unknown bar") << "some-bar" << 11;
}

void StatusNotifierItemTest::aPlaceWithinTheIconIsNone()
{
    QFETCH(const QString, bar);
    QFETCH(const int, x);
    const Watcher watcher(bus->address(), bar);
    install();
    QTRY_VERIFY(!watcher.registered.isEmpty());

    call(itemPath, itemInterface, "Activate", { x, 12 });

    QTRY_COMPARE(places.size(), 1);
    QVERIFY(!places[0]);
}

void StatusNotifierItemTest::whereABarThatKnowsItsPlaceSaysTheIconIs()
{
    const Watcher watcher(bus->address(), "kded6");
    install();
    QTRY_COMPARE(watcher.registered, QStringList(itemService()));

    call(itemPath, itemInterface, "Activate", { 11, 12 });

    QTRY_COMPARE(places.size(), 1);
    QVERIFY((places[0] == ScreenPixel { 11, 12 }));
}

void StatusNotifierItemTest::whereThePointerIsCountsMost()
{
    install();
    pointer = ScreenPixel { 700, 5 };

    call(itemPath, itemInterface, "Activate", { 400, 12 });
    // Where it was then.
    pointer.reset();

    QTRY_COMPARE(places.size(), 1);
    QVERIFY((places[0] == ScreenPixel { 700, 5 }));
}

void StatusNotifierItemTest::scrollingAndTheLikeDoNothing()
{
    install();

    const QList<QDBusMessage> replies = {
        call(itemPath, itemInterface, "Scroll", { 120, "vertical" }),
        call(itemPath, itemInterface, "ContextMenu", { 400, 12 }),
        call(itemPath, itemInterface, "ProvideXdgActivationToken", { "token" }),
    };
    call(itemPath, itemInterface, "Activate", { 400, 12 });
    QTRY_VERIFY(!places.isEmpty());

    for (const QDBusMessage& reply : replies)
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(places.size(), 1);
    QVERIFY(commandsRun.isEmpty());
}

void StatusNotifierItemTest::theTokenOfAWindowIsPassedOn()
{
    install();

    call(itemPath, itemInterface, "ProvideXdgActivationToken", { "a-token" });
    call(itemPath, itemInterface, "ProvideXdgActivationToken", { QString(1024, 'x') });

    QCOMPARE(tokens, (std::vector<std::string> { "a-token", std::string(1024, 'x') }));
}

void StatusNotifierItemTest::aTokenThatIsNoneIsRefused_data()
{
    QTest::addColumn<int>("size");

    QTest::newRow("longer than any") << 1025;
    QTest::newRow("1 MB") << 1'000'000;
    QTest::newRow("20 MB") << 20'000'000;
}

void StatusNotifierItemTest::aTokenThatIsNoneIsRefused()
{
    QFETCH(const int, size);
    install();

    const auto reply = call(itemPath, itemInterface, "ProvideXdgActivationToken", { QString(size, 'x') });

    QCOMPARE(reply.errorName(), "org.freedesktop.DBus.Error.LimitsExceeded");
    QVERIFY(tokens.empty());
    QCOMPARE(property("Title"), "Knucklet");
}

void StatusNotifierItemTest::theMenuIsLaidOutAsFarAsAskedFor_data()
{
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("children");

    QTest::newRow("the menu alone") << 0 << 0;
    QTest::newRow("with its entries") << 1 << 3;
    QTest::newRow("all there is") << -1 << 3;
}

void StatusNotifierItemTest::theMenuIsLaidOutAsFarAsAskedFor()
{
    QFETCH(int, depth);
    QFETCH(int, children);
    install();

    const LayoutEntry menu = layout(0, depth);

    QCOMPARE(menu.id, 0);
    QCOMPARE(menu.properties, QVariantMap({ { "children-display", "submenu" } }));
    QCOMPARE(menu.children.size(), children);
    for (int i = 0; i < children; ++i)
        QCOMPARE(childOf(menu, i).id, i + 1);
}

void StatusNotifierItemTest::anEntryIsALayoutOfItsOwn()
{
    install();

    const LayoutEntry entry = layout(2, -1);

    QCOMPARE(entry.id, 2);
    QCOMPARE(entry.properties, QVariantMap({ { "label", "Setup Assistant…" } }));
    QVERIFY(entry.children.isEmpty());
}

void StatusNotifierItemTest::onlyTheNamedPropertiesAreSent()
{
    install();

    const LayoutEntry labels = layout(0, -1, { "label", "enabled" });
    const LayoutEntry others = layout(0, -1, { "enabled", "children-display" });

    QCOMPARE(labels.properties, QVariantMap());
    QCOMPARE(childOf(labels, 0).properties, QVariantMap({ { "label", "Open Knucklet" } }));
    QCOMPARE(others.properties, QVariantMap({ { "children-display", "submenu" } }));
    QCOMPARE(childOf(others, 0).properties, QVariantMap());
}

void StatusNotifierItemTest::propertiesAreSentForAGroupOfEntries()
{
    install();
    const auto labelsOf = [this](const QList<int>& ids) {
        const auto reply = call(menuPath, menuInterface, "GetGroupProperties",
            { QVariant::fromValue(ids), QStringList("label") });
        const auto entries = reply.arguments().value(0).value<QDBusArgument>();
        QStringList labels;
        entries.beginArray();
        while (!entries.atEnd()) {
            int id = 0;
            QVariantMap properties;
            entries.beginStructure();
            entries >> id >> properties;
            entries.endStructure();
            labels << QString("%1 %2").arg(id).arg(properties["label"].toString());
        }
        entries.endArray();
        return labels;
    };

    QCOMPARE(labelsOf({ 3, 77, 1 }), QStringList({ "3 Quit Knucklet", "1 Open Knucklet" }));
    QCOMPARE(labelsOf({}), QStringList({ "0 ", "1 Open Knucklet", "2 Setup Assistant…", "3 Quit Knucklet" }));
}

void StatusNotifierItemTest::onePropertyOfAnEntryIsSent()
{
    install();

    const auto reply = call(menuPath, menuInterface, "GetProperty", { 3, "label" });

    QCOMPARE(reply.arguments().value(0).value<QDBusVariant>().variant(), "Quit Knucklet");
}

void StatusNotifierItemTest::anUnderscoreInATitleIsNoAccessKey()
{
    install({ "Open_Knucklet" });

    QCOMPARE(layout(1, 0).properties["label"], "Open__Knucklet");
}

void StatusNotifierItemTest::theMenuRunsInTheDirectionOfTheLanguage()
{
    install();
    const auto direction = [this] {
        const auto reply = call(menuPath, propertiesInterface, "Get", { menuInterface, "TextDirection" });
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    };

    const auto previous = qgetenv("LC_ALL");
    for (const char* locale : { "de_DE.UTF-8", "C", "armn" }) {
        qputenv("LC_ALL", locale);
        QCOMPARE(direction(), "ltr");
    }
    for (const char* locale : { "ar", "he_IL.UTF-8", "fa_IR", "ur@modifier" }) {
        qputenv("LC_ALL", locale);
        QCOMPARE(direction(), "rtl");
    }
    qputenv("LC_ALL", "");
    qputenv("LC_MESSAGES", "ar_EG.UTF-8");
    QCOMPARE(direction(), "rtl");
    qunsetenv("LC_MESSAGES");
    qputenv("LC_ALL", previous);
}

void StatusNotifierItemTest::aClickedEntryRunsItsCommand()
{
    install();

    const auto reply = call(menuPath, menuInterface, "Event", { 2, "clicked", asVariant(0), 0U });
    QTRY_VERIFY(!commandsRun.isEmpty());

    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(commandsRun, QStringList("Setup Assistant…"));
}

void StatusNotifierItemTest::otherEventsRunNothing()
{
    install();

    for (const char* event : { "hovered", "opened", "closed", "Clicked", "" }) {
        const auto reply = call(menuPath, menuInterface, "Event", { 1, event, asVariant(""), 0U });
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    }
    call(menuPath, menuInterface, "Event", { 0, "clicked", asVariant(0), 0U });
    call(menuPath, menuInterface, "Event", { 3, "clicked", asVariant(0), 0U });
    QTRY_VERIFY(!commandsRun.isEmpty());

    QCOMPARE(commandsRun, QStringList("Quit Knucklet"));
}

void StatusNotifierItemTest::eventsMayComeInAGroup()
{
    install();
    const QList<MenuEvent> events
        = { { 1, "hovered", "data" }, { 1, "clicked" }, { 9, "clicked" }, { 3, "clicked" } };

    const auto reply = call(menuPath, menuInterface, "EventGroup", { QVariant::fromValue(events) });
    QTRY_COMPARE(commandsRun.size(), 2);

    QCOMPARE(qdbus_cast<QList<int>>(reply.arguments().value(0)), QList<int>({ 9 }));
    QCOMPARE(commandsRun, QStringList({ "Open Knucklet", "Quit Knucklet" }));
}

void StatusNotifierItemTest::anEmptyGroupIsAnswered()
{
    install();

    const auto events
        = call(menuPath, menuInterface, "EventGroup", { QVariant::fromValue(QList<MenuEvent>()) });
    const auto shown
        = call(menuPath, menuInterface, "AboutToShowGroup", { QVariant::fromValue(QList<int>()) });

    QCOMPARE(events.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(qdbus_cast<QList<int>>(events.arguments().value(0)), QList<int>());
    QCOMPARE(shown.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(qdbus_cast<QList<int>>(shown.arguments().value(1)), QList<int>());
}

void StatusNotifierItemTest::aGroupThatIsTooLargeIsRefusedAsAWhole()
{
    install();
    const QList<MenuEvent> events(257, { 1, "clicked" });
    const QList<MenuEvent> withALongName { { 1, "clicked" }, { 1, QString(2'000, 'x') } };
    const QList<MenuEvent> withMuchData { { 1, "clicked" }, { 1, "clicked", QByteArray(20'000'000, 'x') } };
    const QVariant ids = QVariant::fromValue(QList<int>(5'000'000, 1));

    const QList<QDBusMessage> replies = {
        call(menuPath, menuInterface, "EventGroup", { QVariant::fromValue(events) }),
        call(menuPath, menuInterface, "EventGroup", { QVariant::fromValue(withALongName) }),
        call(menuPath, menuInterface, "EventGroup", { QVariant::fromValue(withMuchData) }),
        call(menuPath, menuInterface, "AboutToShowGroup", { ids }),
        call(menuPath, menuInterface, "GetGroupProperties", { ids, QStringList() }),
        call(menuPath, menuInterface, "GetLayout", { 0, -1, QStringList(257, "label") }),
        call(menuPath, menuInterface, "GetProperty", { 1, QString(2'000, 'x') }),
        call(menuPath, propertiesInterface, "Get", { menuInterface, QString(2'000, 'x') }),
        call(menuPath, propertiesInterface, "GetAll", { QString(2'000, 'x') }),
    };

    for (const QDBusMessage& reply : replies)
        QCOMPARE(reply.errorName(), "org.freedesktop.DBus.Error.LimitsExceeded");
    call(menuPath, menuInterface, "Event", { 3, "clicked", asVariant(0), 0U });
    QTRY_VERIFY(!commandsRun.isEmpty());
    QCOMPARE(commandsRun, QStringList("Quit Knucklet"));
}

void StatusNotifierItemTest::whatComesWithAnEventMayBeLarge()
{
    install();
    const QVariant data = asVariant(QByteArray(20'000'000, 'x'));

    const auto reply = call(menuPath, menuInterface, "Event", { 2, "clicked", data, 0U });
    QTRY_VERIFY(!commandsRun.isEmpty());

    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(commandsRun, QStringList("Setup Assistant…"));
}

void StatusNotifierItemTest::theMenuIsAlwaysReadyToBeShown()
{
    install();

    const auto single = call(menuPath, menuInterface, "AboutToShow", { 0 });
    const auto group
        = call(menuPath, menuInterface, "AboutToShowGroup", { QVariant::fromValue(QList<int>({ 0, 9, 1 })) });

    QCOMPARE(single.arguments().value(0), false);
    QCOMPARE(qdbus_cast<QList<int>>(group.arguments().value(0)), QList<int>());
    QCOMPARE(qdbus_cast<QList<int>>(group.arguments().value(1)), QList<int>({ 9 }));
}

void StatusNotifierItemTest::wrongCallsGetTheirErrors_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");

    const auto row = [](const char* name, const QString& path, const QString& interface,
                         const QString& member, const QVariantList& arguments, const QString& error) {
        QTest::newRow(name) << path << interface << member << arguments
                            << "org.freedesktop.DBus.Error." + error;
    };
    const QVariant unknownIds = QVariant::fromValue(QList<int>({ 8, 9 }));
    const QVariant unknownEvents = QVariant::fromValue(QList<MenuEvent>({ { 9, "clicked" } }));

    row("an unknown path", "/Nowhere", itemInterface, "Activate", { 1, 2 }, "UnknownObject");
    row("an unknown interface", itemPath, "org.example.Other", "Activate", { 1, 2 }, "UnknownInterface");
    row("an unknown method", itemPath, itemInterface, "Explode", {}, "UnknownMethod");
    row("too few arguments", itemPath, itemInterface, "Activate", { 1 }, "InvalidArgs");
    row("arguments of another type", itemPath, itemInterface, "Activate", { "1", "2" }, "InvalidArgs");
    row("an unknown property", itemPath, propertiesInterface, "Get", { itemInterface, "Nothing" },
        "UnknownProperty");
    row("a property of an unknown interface", itemPath, propertiesInterface, "Get",
        { "org.example.Other", "Id" }, "UnknownInterface");
    row("all properties of an unknown interface", itemPath, propertiesInterface, "GetAll",
        { "org.example.Other" }, "UnknownInterface");
    row("a property without its interface", itemPath, propertiesInterface, "Get", { "Id" }, "InvalidArgs");
    row("writing a property", itemPath, propertiesInterface, "Set", { itemInterface, "Id", asVariant("x") },
        "PropertyReadOnly");
    row("writing an unknown property", itemPath, propertiesInterface, "Set",
        { itemInterface, "Nothing", asVariant("x") }, "UnknownProperty");
    row("an unknown method of the menu", menuPath, menuInterface, "Explode", {}, "UnknownMethod");
    row("the layout of an unknown entry", menuPath, menuInterface, "GetLayout", { 4, -1, QStringList() },
        "InvalidArgs");
    row("the layout of a negative entry", menuPath, menuInterface, "GetLayout", { -1, -1, QStringList() },
        "InvalidArgs");
    row("a property of an unknown entry", menuPath, menuInterface, "GetProperty", { 4, "label" },
        "InvalidArgs");
    row("an unknown property of an entry", menuPath, menuInterface, "GetProperty", { 1, "x" }, "InvalidArgs");
    row("an event of an unknown entry", menuPath, menuInterface, "Event", { 4, "clicked", asVariant(0), 0U },
        "InvalidArgs");
    row("events of unknown entries only", menuPath, menuInterface, "EventGroup", { unknownEvents },
        "InvalidArgs");
    row("showing an unknown entry", menuPath, menuInterface, "AboutToShow", { 4 }, "InvalidArgs");
    row("showing unknown entries only", menuPath, menuInterface, "AboutToShowGroup", { unknownIds },
        "InvalidArgs");
}

void StatusNotifierItemTest::wrongCallsGetTheirErrors()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    QFETCH(QString, member);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, error);
    install();

    const auto reply = call(path, interface, member, arguments);

    QCOMPARE(reply.errorName(), error);
}

void StatusNotifierItemTest::introspectionSaysWhatIsThere_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");

    QTest::newRow("the item") << itemPath << itemInterface;
    QTest::newRow("the menu") << menuPath << menuInterface;
}

void StatusNotifierItemTest::introspectionSaysWhatIsThere()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    install();

    const auto text = call(path, "org.freedesktop.DBus.Introspectable", "Introspect").arguments().value(0);
    const Description described = parseDescription(text.toString(), interface);
    const auto all = call(path, propertiesInterface, "GetAll", { interface }).arguments().value(0);
    QMap<QString, QString> properties;
    const auto values = qdbus_cast<QVariantMap>(all);
    for (auto each = values.begin(); each != values.end(); ++each)
        properties.insert(each.key(), signatureOf(each.value()));

    QVERIFY(described.isWellFormed);
    QVERIFY(!properties.isEmpty());
    QCOMPARE(described.properties, properties);
    // A method that is there complains about its arguments, not about its name.
    QVERIFY(described.methods.size() >= 5);
    for (const DescribedMethod& method : described.methods) {
        const QVariantList tooMany(method.arguments + 1, "x");
        QCOMPARE(call(path, interface, method.name, tooMany).errorName(),
            "org.freedesktop.DBus.Error.InvalidArgs");
    }
}

void StatusNotifierItemTest::otherToolsUnderstandTheIntrospection_data()
{
    introspectionSaysWhatIsThere_data();
}

void StatusNotifierItemTest::otherToolsUnderstandTheIntrospection()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    install();

    QProcess tool;
    tool.start("gdbus",
        { "introspect", "--address", bus->address(), "--dest", itemService(), "--object-path", path });
    QTRY_COMPARE(tool.state(), QProcess::NotRunning);

    QCOMPARE(tool.exitCode(), 0);
    QVERIFY(tool.readAllStandardOutput().contains("interface " + interface.toUtf8() + " {"));
}

static const TestArea area("StatusNotifierItem", runTest<StatusNotifierItemTest, QApplication>);
#include "StatusNotifierItemTest.moc"
