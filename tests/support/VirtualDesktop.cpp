#include "support/VirtualDesktop.h"

#include "platform/linux/Xcb.h"
#include "support/Compositors.h"
#include "support/Patience.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <tuple>

namespace {

// Nothing can be started through the bus, so that the outcome of a test does not depend on what is installed.
const char* const busConfiguration = R"(<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QFile::WriteOnly)
        && file.write(content) == content.size();
}

// Until the end of the session, for its only screen.
const char* const gnomeScale = R"(
call() {
    method=$1
    shift
    gdbus call --session --dest org.gnome.Mutter.DisplayConfig --object-path /org/gnome/Mutter/DisplayConfig \
        --method "org.gnome.Mutter.DisplayConfig.$method" "$@"
}
state=$(call GetCurrentState)
serial=${state#(uint32 }
connector=${state#*\'}
call ApplyMonitorsConfig "${serial%%,*}" 1 "[(0, 0, $1, 0, true, [('${connector%%\'*}', '$2', {})])]" {}
)";

const QString windowManager = QStringLiteral("xfwm4");

/// The user for programs that refuse to be root's; nothing when this process is not root's.
const passwd* otherUser() { return geteuid() == 0 ? getpwnam("nobody") : nullptr; }

// A part dies with the process that started it, also when that has no time to say so. Killed, since a bar
// that is asked to end while its server and its bus end as well now and then does not.
void tieToThisProcess(QProcess& process, const passwd* user = nullptr)
{
    process.setChildProcessModifier([parent = getpid(), user] {
        // Whoever changes the user loses the tie, which therefore comes after it.
        if (user && (setgroups(0, nullptr) || setgid(user->pw_gid) || setuid(user->pw_uid)))
            _exit(1);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(1);
    });
}

xcb_atom_t atom(xcb_connection_t* connection, const char* name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
}

bool hasProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property)
{
    const auto cookie = xcb_get_property(connection, 0, window, property, XCB_ATOM_ANY, 0, 0);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    return reply && reply->type != XCB_ATOM_NONE;
}

/// Asks at first and after each event.
bool awaitEvents(xcb_connection_t* connection, const std::function<bool()>& isDone)
{
    const QDeadlineTimer deadline(patience);
    while (!isDone()) {
        pollfd descriptor { xcb_get_file_descriptor(connection), POLLIN, 0 };
        XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(connection));
        while (!event) {
            if (xcb_connection_has_error(connection)
                || poll(&descriptor, 1, static_cast<int>(deadline.remainingTime())) <= 0)
                return false;
            event.reset(xcb_poll_for_event(connection));
        }
    }
    return true;
}

bool hasOwner(xcb_connection_t* connection, xcb_atom_t selection)
{
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const XcbReply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

/// Waits for the message with which a tray for windows of other programs says that it is there.
bool awaitTray(const QByteArray& display)
{
    const XcbConnection connection(xcb_connect(display.constData(), nullptr));
    if (xcb_connection_has_error(connection.get()))
        return false;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), root, XCB_CW_EVENT_MASK, &events);
    const xcb_atom_t tray = atom(connection.get(), "_NET_SYSTEM_TRAY_S0");
    return awaitEvents(connection.get(), [&] { return hasOwner(connection.get(), tray); });
}

bool awaitRootProperty(const QByteArray& display, const char* name)
{
    const XcbConnection connection(xcb_connect(display.constData(), nullptr));
    if (xcb_connection_has_error(connection.get()))
        return false;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection.get(), root, XCB_CW_EVENT_MASK, &events);
    const xcb_atom_t property = atom(connection.get(), name);

    return awaitEvents(connection.get(), [&] { return hasProperty(connection.get(), root, property); });
}

bool awaitBusName(const QString& address, const QString& name)
{
    auto bus = QDBusConnection::connectToBus(address, address);
    QEventLoop loop;
    QDBusServiceWatcher watcher(name, bus, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop, &QEventLoop::quit);
    QTimer::singleShot(patience, &loop, [&loop] { loop.exit(1); });

    // Asked only after the watch has begun, so that a name that comes in between is not missed.
    const bool isThere
        = bus.isConnected() && (bus.interface()->isServiceRegistered(name) || loop.exec() == 0);
    QDBusConnection::disconnectFromBus(address);
    return isThere;
}

}

struct VirtualDesktop::PartOptions {
    /// "NAME=value", besides the environment of the desktop.
    QStringList environment {};
    const passwd* user = nullptr;
};

VirtualDesktop::VirtualDesktop(const DesktopParts& parts)
    : parts(parts)
{
}

VirtualDesktop::~VirtualDesktop()
{
    // In the reverse order of starting, so that nobody misses the server or the bus while it is still
    // running.
    while (!processes.empty()) {
        QProcess& process = *processes.back();
        // Whoever finds no lock takes the sockets of a display: it goes with the server.
        if (processes.size() == 1 && !displayName.isEmpty())
            unlockDisplay();
        process.terminate();
        // Now and then a bar does not end when it is asked to.
        if (!process.waitForFinished(5000)) {
            process.kill();
            process.waitForFinished(patience);
        }
        processes.pop_back();
    }
}

bool VirtualDesktop::start()
{
    if (!makeFolders() || !startServer() || !startBus())
        return false;
    writeFiles(barSetup(parts.bar).files);
    if (const auto compositor = compositorSetup(parts.bar, parts.size, folder() + "/home");
        compositor && !startCompositor(*compositor))
        return false;
    if (parts.bar == Bar::Gnome && !startGnome())
        return false;
    if ((parts.windowManager || parts.panel || parts.bar == Bar::XfceOnWayland) && !startSettings())
        return false;
    if (parts.windowManager && !startWindowManager())
        return false;
    return !parts.panel || startBar();
}

QProcessEnvironment VirtualDesktop::environment() const
{
    const auto outer = QProcessEnvironment::systemEnvironment();
    const QString home = folder() + "/home";
    QProcessEnvironment inner;
    for (const char* kept :
        { "PATH", "LD_LIBRARY_PATH", "USER", "LOGNAME", "ASAN_OPTIONS", "UBSAN_OPTIONS" }) {
        const QString name = QLatin1String(kept);
        if (outer.contains(name))
            inner.insert(name, outer.value(name));
    }
    inner.insert("HOME", home);
    inner.insert("XDG_CONFIG_HOME", home + "/.config");
    inner.insert("XDG_DATA_HOME", home + "/.local/share");
    inner.insert("XDG_CACHE_HOME", home + "/.cache");
    inner.insert("XDG_STATE_HOME", home + "/.local/state");
    inner.insert("XDG_RUNTIME_DIR", folder() + "/runtime");
    inner.insert("XDG_SESSION_TYPE", "x11");
    inner.insert("LC_ALL", "C.UTF-8");
    inner.insert("TZ", "UTC");
    // The parts would otherwise wait for an accessibility bus that nobody starts.
    inner.insert("NO_AT_BRIDGE", "1");
    inner.insert("DISPLAY", QString::fromLatin1(displayName));
    inner.insert("DBUS_SESSION_BUS_ADDRESS", address);
    // The machine's own bus stays out of reach as well.
    inner.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder() + "/runtime/none");
    inner.insert(session);
    return inner;
}

std::unique_ptr<QProcess> VirtualDesktop::launch(
    const QString& program, const QStringList& arguments, const LaunchOptions& options) const
{
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(options.channels);
    if (options.channels == QProcess::ForwardedChannels)
        process->setInputChannelMode(QProcess::ForwardedInputChannel);
    auto inner = environment();
    inner.insert(options.additions);
    process->setProcessEnvironment(inner);
    process->setWorkingDirectory(folder());
    tieToThisProcess(*process);
    process->start(program, arguments);
    return process;
}

bool VirtualDesktop::run(const QString& program, const QStringList& arguments) const
{
    const auto process = launch(program, arguments);
    return process->waitForFinished(patience) && process->exitStatus() == QProcess::NormalExit
        && process->exitCode() == 0;
}

bool VirtualDesktop::setScale(double scale)
{
    parts.scale = scale;
    if (parts.bar != Bar::Gnome)
        return run("kscreen-doctor", { "output.1.scale." + QString::number(scale) });
    const QString mode = QString("%1x%2@60.000").arg(parts.size.width()).arg(parts.size.height());
    return run("sh", { "-c", gnomeScale, "sh", QString::number(scale), mode }) && tellScale();
}

bool VirtualDesktop::startBar()
{
    firstOfBar = processes.size();
    for (const BarProcess& process : barSetup(parts.bar).processes) {
        if (!startPart(process.program, process.arguments, { .environment = process.environment }))
            return fail();
        if (process.busName.isEmpty() ? !awaitTray(displayName) : !awaitBusName(address, process.busName))
            return fail();
    }
    return true;
}

void VirtualDesktop::killBar()
{
    while (processes.size() > firstOfBar) {
        processes.back()->kill();
        processes.back()->waitForFinished(patience);
        processes.pop_back();
    }
}

void VirtualDesktop::killServer() { killPart(0); }

void VirtualDesktop::killBus() { killPart(1); }

void VirtualDesktop::killCompositor() { killPart(2); }

void VirtualDesktop::killPart(std::size_t place)
{
    processes.at(place)->kill();
    processes.at(place)->waitForFinished(patience);
}

void VirtualDesktop::freezeServer() { ::kill(static_cast<pid_t>(processes.front()->processId()), SIGSTOP); }

void VirtualDesktop::thawServer() { ::kill(static_cast<pid_t>(processes.front()->processId()), SIGCONT); }

void VirtualDesktop::freezeBus() { ::kill(static_cast<pid_t>(processes.at(1)->processId()), SIGSTOP); }

void VirtualDesktop::thawBus() { ::kill(static_cast<pid_t>(processes.at(1)->processId()), SIGCONT); }

void VirtualDesktop::freezeManager() { signalManager(SIGSTOP); }

void VirtualDesktop::thawManager() { signalManager(SIGCONT); }

void VirtualDesktop::signalManager(int signal)
{
    for (const auto& process : processes) {
        if (process->program() == windowManager)
            ::kill(static_cast<pid_t>(process->processId()), signal);
    }
}

bool VirtualDesktop::makeFolders()
{
    const QString runtime = folder() + "/runtime";
    return QDir(folder()).mkdir("home") && QDir(folder()).mkdir("runtime")
        && QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void VirtualDesktop::writeFiles(const QList<BarFile>& files) const
{
    for (const BarFile& file : files)
        writeFile(folder() + "/home/" + file.path, file.content);
}

bool VirtualDesktop::startServer()
{
    const QString size = QString("%1x%2").arg(parts.size.width()).arg(parts.size.height());
    QStringList arguments { "-displayfd", "1", "-noreset", "-nolisten", "tcp" };
    if (parts.isRemote)
        arguments << QStringList { "-geometry", size, "-SecurityTypes", "None", "-rfbport", "-1",
            "-rfbunixpath", remoteSocket() };
    else
        arguments << QStringList { "-screen", "0", size + "x24" };
    if (!startPart(parts.isRemote ? "Xtigervnc" : "Xvfb", arguments))
        return fail();
    const QByteArray number = awaitFirstLine();
    displayName = ':' + number;
    if (number.isEmpty())
        return fail();
    lockDisplay();
    return true;
}

// A server that chooses its number itself leaves no lock, and compositors take the sockets of a display
// without one. One that somebody else has left does as well.
void VirtualDesktop::lockDisplay()
{
    lockText = QByteArray::number(processes.back()->processId()).rightJustified(10) + '\n';
    writeFile(displayLock(), lockText);
}

// The number of a server that was killed may be another's by now.
void VirtualDesktop::unlockDisplay() const
{
    QFile lock(displayLock());
    if (lock.open(QFile::ReadOnly) && lock.readAll() == lockText)
        lock.remove();
}

QString VirtualDesktop::displayLock() const { return "/tmp/.X" + displayName.mid(1) + "-lock"; }

bool VirtualDesktop::startBus()
{
    const QString configuration = folder() + "/bus.conf";
    writeFile(configuration, QString(busConfiguration).arg(folder() + "/runtime").toUtf8());
    if (!startPart("dbus-daemon",
            { "--config-file=" + configuration, "--nofork", "--nopidfile", "--nosyslog",
                "--print-address=1" }))
        return fail();
    address = QString::fromUtf8(awaitFirstLine());
    return !address.isEmpty() || fail();
}

// The settings of the window manager and of the panel.
bool VirtualDesktop::startSettings()
{
    return (startPart(programOfService("org.xfce.Xfconf"), {}) && awaitBusName(address, "org.xfce.Xfconf"))
        || fail();
}

bool VirtualDesktop::startWindowManager()
{
    return (startPart(windowManager, { parts.compositor ? "--compositor=on" : "--compositor=off" })
               && awaitRootProperty(displayName, "_NET_SUPPORTING_WM_CHECK"))
        || fail();
}

bool VirtualDesktop::startCompositor(const CompositorSetup& setup)
{
    writeFiles(setup.files);
    const QString runtime = folder() + "/compositor";
    const passwd* user = setup.refusesRoot ? otherUser() : nullptr;
    QDir(folder()).mkdir("compositor");
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (user) {
        std::ignore = chown(qPrintable(runtime), user->pw_uid, user->pw_gid);
        QFile::setPermissions(folder(), QFile::permissions(folder()) | QFile::ExeOther);
    }
    QString program = setup.program;
    if (setup.isCopied) {
        program = folder() + '/' + setup.program;
        QFile::copy(QStandardPaths::findExecutable(setup.program), program);
    }
    if (!startPart(program, setup.arguments,
            { .environment = setup.environment + setup.session + QStringList { "XDG_RUNTIME_DIR=" + runtime },
                .user = user }))
        return fail();
    const QByteArray wayland = awaitFirstLine();
    session.insert("WAYLAND_DISPLAY", runtime + '/' + QString::fromUtf8(wayland));
    session.insert("DISPLAY", QString::fromUtf8(awaitFirstLine()));
    if (const QByteArray authority = awaitFirstLine(); !authority.isEmpty())
        session.insert("XAUTHORITY", QString::fromUtf8(authority));
    session.insert("XDG_SESSION_TYPE", "wayland");
    for (const QString& variable : setup.session)
        session.insert(variable.section('=', 0, 0), variable.section('=', 1));
    if (session.value("DISPLAY").isEmpty())
        return fail();
    return parts.scale == 1 || setScale(parts.scale);
}

// GNOME in a window as large as the screen as well, which finds nothing on its system bus and shows its
// desktop and not the overview.
bool VirtualDesktop::startGnome()
{
    const QString mode = QString("%1x%2").arg(parts.size.width()).arg(parts.size.height());
    const QStringList variables { "XDG_CURRENT_DESKTOP=GNOME", "GSETTINGS_BACKEND=keyfile",
        "DBUS_SYSTEM_BUS_ADDRESS=" + address, "MUTTER_DEBUG_DUMMY_MODE_SPECS=" + mode,
        "MUTTER_DEBUG_DUMMY_MONITOR_SCALES=" + QString::number(parts.scale) };
    if (!startPart("gnome-shell", { "--nested", "--wayland" }, { .environment = variables })
        || !awaitBusName(address, "org.kde.StatusNotifierWatcher")
        || !awaitBusName(address, "org.gnome.Shell") || !leaveOverview())
        return fail();

    const QString said = logOf("gnome-shell");
    const auto find
        = [&said](const char* pattern) { return QRegularExpression(pattern).match(said).captured(1); };
    const QString runtime = folder() + "/runtime/";
    session.insert("WAYLAND_DISPLAY", find("Wayland display name '([^']+)'"));
    session.insert("DISPLAY", find("public X11 display (:[0-9]+)"));
    session.insert("XAUTHORITY",
        runtime + QDir(runtime).entryList({ ".mutter-Xwaylandauth.*" }, QDir::Files | QDir::Hidden).value(0));
    session.insert("XDG_SESSION_TYPE", "wayland");
    session.insert("XDG_CURRENT_DESKTOP", "GNOME");
    if (session.value("DISPLAY").isEmpty())
        return fail();
    return parts.scale == 1 || tellScale();
}

// As GNOME's settings daemon does, which is not there: the session's X server has as many pixels as the
// screen, as it has points, or so many to a point that there are no parts.
bool VirtualDesktop::tellScale() const
{
    const auto display = launch("xwininfo", { "-root" });
    display->waitForFinished(patience);
    const QRegularExpression width("Width: ([0-9]+)");
    const int pixels = width.match(QString::fromUtf8(display->readAll())).captured(1).toInt();
    if (pixels == 0)
        return false;
    const int resolution = 96 * qRound(pixels * parts.scale / parts.size.width());
    return run(
        "sh", { "-c", "echo \"Xft.dpi: $1\" | xrdb -nocpp -merge", "sh", QString::number(resolution) });
}

// It comes up while the desktop starts. Whoever leaves it before that is done keeps GNOME 48 from ever being
// done with it, and from showing an icon.
bool VirtualDesktop::leaveOverview()
{
    const auto hasStarted = [this] { return logOf("gnome-shell").contains("GNOME Shell started at "); };
    if (!QTest::qWaitFor(hasStarted, patience))
        return false;
    auto bus = QDBusConnection::connectToBus(address, address);
    const auto property = [&bus](const char* method, const QVariantList& value) {
        auto call = QDBusMessage::createMethodCall(
            "org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties", method);
        call.setArguments(QVariantList { "org.gnome.Shell", "OverviewActive" } + value);
        return bus.call(call);
    };
    const auto isActive = [&property] {
        return property("Get", {}).arguments().value(0).value<QDBusVariant>().variant().toBool();
    };
    const bool hasCome = QTest::qWaitFor(isActive, patience);
    property("Set", { QVariant::fromValue(QDBusVariant(false)) });
    const bool hasGone = QTest::qWaitFor([&isActive] { return !isActive(); }, patience);
    QDBusConnection::disconnectFromBus(address);
    return hasCome && hasGone;
}

bool VirtualDesktop::startPart(const QString& program, const QStringList& arguments)
{
    return startPart(program, arguments, {});
}

bool VirtualDesktop::startPart(
    const QString& program, const QStringList& arguments, const PartOptions& options)
{
    QProcess& part = *processes.emplace_back(std::make_unique<QProcess>());
    auto variables = environment();
    for (const QString& variable : options.environment)
        variables.insert(variable.section('=', 0, 0), variable.section('=', 1));
    part.setProcessEnvironment(variables);
    part.setWorkingDirectory(folder());
    part.setStandardErrorFile(folder() + '/' + QFileInfo(program).fileName() + ".log");
    tieToThisProcess(part, options.user);
    part.start(program, arguments);
    return part.waitForStarted(patience);
}

// The first line that the part started last prints; empty when it ends without one.
QByteArray VirtualDesktop::awaitFirstLine()
{
    QProcess& part = *processes.back();
    const QDeadlineTimer deadline(patience);
    while (!part.canReadLine()) {
        if (!part.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            return {};
    }
    return part.readLine().trimmed();
}

bool VirtualDesktop::fail()
{
    const QProcess& part = *processes.back();
    failureText = part.program() + ": " + part.errorString() + '\n' + logOf(part.program());
    return false;
}

// What a part has said so far.
QString VirtualDesktop::logOf(const QString& program) const
{
    QFile log(folder() + '/' + QFileInfo(program).fileName() + ".log");
    return log.open(QFile::ReadOnly) ? QString::fromLocal8Bit(log.readAll()) : QString();
}
