#include "support/RunningKnucklet.h"

#include "support/Patience.h"
#include "support/Screenshot.h"
#include "support/VirtualDesktop.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <csignal>

namespace {

const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");

/// In pixels, of a bar that is 28 high: that of the keyboard alone, which bars show on a badge where they
/// take the icon from the program itself.
constexpr QSize leastIcon { 20, 14 };

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    QCOMPARE(file.write(text), text.size());
}

QString statsPath(const VirtualDesktop& desktop)
{
    return desktop.folder() + QStringLiteral("/home/.local/share/Knucklet/stats.json");
}

QString settingsPath(const VirtualDesktop& desktop)
{
    return desktop.folder() + QStringLiteral("/home/.config/Knucklet/Knucklet.conf");
}

}

bool copyProgram(const QString& program, const QTemporaryDir& folder)
{
    const QDir modules(QFileInfo(program).dir().filePath("modules"));
    bool isCopied = QFile::copy(program, folder.filePath("knucklet")) && QDir(folder.path()).mkdir("modules");
    for (const QString& module : modules.entryList({ "*.so" }, QDir::Files))
        isCopied = QFile::copy(modules.filePath(module), folder.filePath("modules/" + module)) && isCopied;
    return isCopied;
}

RunningKnucklet::RunningKnucklet(
    const VirtualDesktop& desktop, const QString& program, const QProcessEnvironment& extra)
    : desktop(desktop)
    , busName(QUuid::createUuid().toString())
    , bus(QDBusConnection::connectToBus(desktop.busAddress(), busName))
    , process(desktop.launch(program, {}, { .channels = QProcess::MergedChannels, .additions = extra }))
{
}

RunningKnucklet::~RunningKnucklet()
{
    if (isRunning()) {
        process->kill();
        process->waitForFinished(patience);
    }
    QDBusConnection::disconnectFromBus(busName);
}

bool RunningKnucklet::awaitItem()
{
    const auto isRegistered = [this] {
        QDBusInterface watcher(QStringLiteral("org.kde.StatusNotifierWatcher"),
            QStringLiteral("/StatusNotifierWatcher"), QStringLiteral("org.kde.StatusNotifierWatcher"), bus);
        const auto items = watcher.property("RegisteredStatusNotifierItems").toStringList();
        for (const auto& item : items) {
            // The path behind it, and what stands between them, are as each watcher likes.
            const auto name = item.section(QLatin1Char('/'), 0, 0).section(QLatin1Char('@'), 0, 0);
            const QDBusReply<uint> owner = bus.interface()->servicePid(name);
            if (owner.isValid() && owner.value() == process->processId())
                foundItem(name);
        }
        return !service.isEmpty();
    };
    // Nothing else hears that it has started when the item is there at once.
    return bus.isConnected() && process->waitForStarted(patience) && QTest::qWaitFor(isRegistered, patience);
}

bool RunningKnucklet::awaitCounting()
{
    if (!bus.isConnected() || !process->waitForStarted(patience))
        return false;
    // The item is the last thing that the program makes, whether or not a tray is there to show it.
    const auto name = QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(processId());
    const auto isThere = [&] { return !isRunning() || bus.interface()->isServiceRegistered(name).value(); };
    if (QTest::qWaitFor(isThere, patience) && isRunning())
        foundItem(name);
    return !service.isEmpty();
}

void RunningKnucklet::foundItem(const QString& name)
{
    service = name;
    connection = bus.interface()->serviceOwner(name);
}

QRect RunningKnucklet::icon() const { return icon(endOfBar()); }

QRect RunningKnucklet::icon(const QRect& tray) const
{
    // A bar without icons has one color there.
    const auto picture = screenshot(desktop.display(), tray);
    QImage empty(picture.size(), picture.format());
    empty.fill(picture.pixelColor(0, 0));
    const auto visible = difference(empty, picture);
    // A bar shows a part of the icon while it makes room for it.
    const bool isWhole = visible.width() >= leastIcon.width() && visible.height() >= leastIcon.height();
    return isWhole ? visible.translated(tray.topLeft()) : QRect();
}

QRect RunningKnucklet::awaitIcon() const { return awaitIcon(endOfBar()); }

QRect RunningKnucklet::awaitIcon(const QRect& tray) const
{
    QRect found;
    const auto isThere = [&] {
        found = icon(tray);
        return !found.isNull();
    };
    return QTest::qWaitFor(isThere, patience) ? found : QRect();
}

// The tray ends the bar.
QRect RunningKnucklet::endOfBar() const { return { desktop.size().width() - 22, 2, 22, 24 }; }

QVariant RunningKnucklet::itemProperty(const QString& name) const
{
    auto call = QDBusMessage::createMethodCall(connection, QStringLiteral("/StatusNotifierItem"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << itemInterface << name;
    const QDBusReply<QVariant> reply = bus.call(call);
    return reply.isValid() ? reply.value() : QVariant();
}

QString RunningKnucklet::toolTip() const
{
    // An icon's name, pixmaps of it, a title and a text.
    const auto argument = itemProperty(QStringLiteral("ToolTip")).value<QDBusArgument>();
    QString iconName;
    QString title;
    QString text;
    argument.beginStructure();
    argument >> iconName;
    argument.beginArray();
    argument.endArray();
    argument >> title >> text;
    argument.endStructure();
    return title + QLatin1Char('|') + text;
}

QStringList RunningKnucklet::commands() const
{
    QStringList titles;
    for (const auto& entry : menu())
        titles << entry.title;
    return titles;
}

bool RunningKnucklet::choose(const QString& command) const
{
    for (const auto& entry : menu()) {
        if (entry.title != command)
            continue;
        auto event = QDBusMessage::createMethodCall(
            connection, QStringLiteral("/MenuBar"), menuInterface, QStringLiteral("Event"));
        event << entry.id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(QString())) << 0U;
        // Quitting may come before the answer, which therefore says nothing.
        return bus.send(event);
    }
    return false;
}

bool RunningKnucklet::reportClick(QPoint place) const
{
    auto click = QDBusMessage::createMethodCall(connection, QStringLiteral("/StatusNotifierItem"),
        QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
    click << place.x() << place.y();
    return bus.send(click);
}

void RunningKnucklet::settle() const
{
    // Each answer stands behind what came before its question, and what that has put off comes before the
    // second one.
    itemProperty("Title");
    itemProperty("Title");
}

QByteArray RunningKnucklet::mappings() const
{
    QFile maps(QString("/proc/%1/maps").arg(processId()));
    return maps.open(QFile::ReadOnly) ? maps.readAll() : QByteArray();
}

bool RunningKnucklet::send(int signal) const
{
    // No process has the id 0: a signal to it would go to the test itself.
    const auto id = static_cast<pid_t>(processId());
    return id > 0 && ::kill(id, signal) == 0;
}

bool RunningKnucklet::end(int signal) { return send(signal) && awaitEnd(); }

bool RunningKnucklet::awaitEnd()
{
    return (process->state() == QProcess::NotRunning || process->waitForFinished(patience))
        && process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0;
}

QByteArray RunningKnucklet::output() const
{
    QByteArray said;
    for (const auto& line : debugOutput().split('\n')) {
        if (!line.isEmpty() && !line.startsWith("debug: "))
            said += line + '\n';
    }
    return said;
}

QList<RunningKnucklet::MenuEntry> RunningKnucklet::menu() const
{
    auto call = QDBusMessage::createMethodCall(
        connection, QStringLiteral("/MenuBar"), menuInterface, QStringLiteral("GetGroupProperties"));
    call << QVariant::fromValue(QList<int>()) << QStringList { QStringLiteral("label") };
    const auto reply = bus.call(call);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return {};

    QList<MenuEntry> entries;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        MenuEntry entry {};
        QVariantMap properties;
        argument.beginStructure();
        argument >> entry.id >> properties;
        argument.endStructure();
        entry.title = properties.value(QStringLiteral("label")).toString();
        if (!entry.title.isEmpty())
            entries << entry;
    }
    argument.endArray();
    return entries;
}

QByteArray statsFile(const VirtualDesktop& desktop) { return readAll(statsPath(desktop)); }

void writeStatsFile(const VirtualDesktop& desktop, const QByteArray& text)
{
    writeAll(statsPath(desktop), text);
}

QByteArray settingsFile(const VirtualDesktop& desktop) { return readAll(settingsPath(desktop)); }

void writeSettingsFile(const VirtualDesktop& desktop, const QByteArray& text)
{
    writeAll(settingsPath(desktop), text);
}

void writeViewer(const VirtualDesktop& desktop, const QByteArray& command)
{
    const auto applications = desktop.folder() + "/home/.local/share/applications/";
    writeAll(applications + "viewer.desktop",
        "[Desktop Entry]\nType=Application\nName=Viewer\nExec=" + command + '\n');
    writeAll(applications + "mimeinfo.cache", "[MIME Cache]\nimage/png=viewer.desktop;\n");
}
