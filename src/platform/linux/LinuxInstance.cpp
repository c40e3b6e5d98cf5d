#include "platform/linux/LinuxInstance.h"

#include "platform/Folders.h"
#include "platform/linux/BaseFolders.h"
#include "platform/linux/DbusObject.h"
#include "platform/linux/FileLock.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <thread>
#include <tuple>

namespace {

using namespace std::chrono_literals;

const QString serviceName = QStringLiteral("org.knucklet.Knucklet");
const QString applicationPath = QStringLiteral("/org/knucklet/Knucklet");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");

/// How long an instance that is being started may take to answer.
constexpr std::chrono::milliseconds activationPatience = 2s;
/// How long an instance that ends may take, its last save included.
constexpr std::chrono::milliseconds endPatience = 10s;
/// How long the bus may take to free the name. It does so by itself when the process is gone.
constexpr std::chrono::milliseconds releasePatience = 1s;

/// Nothing when something else lies in its place, or when there is no runtime folder.
FileDescriptor openPipe()
{
    const auto folder = runtimeFolder();
    if (!folder)
        return {};
    const auto path = *folder / "org.knucklet.Knucklet";
    std::ignore = mkfifo(path.c_str(), S_IRUSR | S_IWUSR);
    // For both directions, so that it is open at once and what is written stays until it is read.
    FileDescriptor pipe(open(path.c_str(), O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!pipe.isOpen() || fstat(pipe.get(), &status) != 0 || !S_ISFIFO(status.st_mode))
        return {};
    return pipe;
}

}

LinuxInstance::LinuxInstance(const QDBusConnection& bus, const Folders& folders)
    : bus(bus)
    , folders(folders)
{
}

LinuxInstance::~LinuxInstance() = default;

bool LinuxInstance::claim()
{
    auto place = takeName();
    if (place == Place::Unknown)
        place = takePipe();
    return place != Place::HeldByAnother && lockFiles();
}

void LinuxInstance::onStartedAgain(std::function<void()> startedAgain)
{
    this->startedAgain = std::move(startedAgain);
}

void LinuxInstance::makeWay()
{
    if (application) {
        // Not by Qt's own function, which waits for a bus that hangs much longer.
        auto call = QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName");
        call << serviceName;
        bus.call(call, QDBus::Block, static_cast<int>(releasePatience.count()));
    }
    pipeNotifier.reset();
    pipe = {};
}

LinuxInstance::Place LinuxInstance::takeName()
{
    if (!bus.isConnected())
        return Place::Unknown;

    // Before the name, so that nobody finds the name without it.
    application = std::make_unique<DbusObject>(bus, applicationPath,
        DbusInterface {
            .name = applicationInterface,
            .methods = { { "Activate", { { "platform_data", "a{sv}" } }, {},
                [this](const QVariantList&) {
                    tellStartedAgain();
                    return QVariantList();
                } } },
            .properties = {},
            .emits = {},
        });
    const QDeadlineTimer deadline(endPatience);
    for (;;) {
        const auto reply = bus.interface()->registerService(serviceName);
        if (!reply.isValid())
            return Place::Unknown;
        if (reply.value() == QDBusConnectionInterface::ServiceRegistered)
            return Place::Taken;
        if (activateOther() || deadline.hasExpired())
            return Place::HeldByAnother;
        // Who has the name and does not answer, or refuses at once, is ending: soon the name is free.
        std::this_thread::sleep_for(10ms);
    }
}

/// False when there was no answer, or a refusal.
bool LinuxInstance::activateOther()
{
    auto call
        = QDBusMessage::createMethodCall(serviceName, applicationPath, applicationInterface, "Activate");
    call.setAutoStartService(false);
    call << QVariantMap();
    const auto reply = bus.call(call, QDBus::Block, static_cast<int>(activationPatience.count()));
    return reply.type() == QDBusMessage::ReplyMessage;
}

LinuxInstance::Place LinuxInstance::takePipe()
{
    pipe = openPipe();
    if (!pipe.isOpen())
        return Place::Unknown;
    switch (lockFile(pipe, 0ms)) {
    case LockResult::Impossible:
        return Place::Unknown;
    case LockResult::HeldByAnother:
        // A pipe that is full says it already.
        std::ignore = write(pipe.get(), "\n", 1);
        return Place::HeldByAnother;
    case LockResult::Taken:
        break;
    }
    pipeNotifier = std::make_unique<QSocketNotifier>(pipe.get(), QSocketNotifier::Read);
    QObject::connect(pipeNotifier.get(), &QSocketNotifier::activated, &context, [this] {
        std::array<char, 4096> starts;
        std::ignore = read(pipe.get(), starts.data(), starts.size());
        tellStartedAgain();
    });
    return Place::Taken;
}

bool LinuxInstance::lockFiles()
{
    const auto applicationSupport = folders.applicationSupport();
    if (!applicationSupport)
        return true;
    const auto folder = *applicationSupport / "Knucklet";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    dataLock = FileDescriptor(open(
        (folder / "lock").c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, S_IRUSR | S_IWUSR));
    // Where no lock can be made nothing can be saved either, and the program runs for its counters.
    return lockFile(dataLock, endPatience) != LockResult::HeldByAnother;
}

// Later, so that who has started the program has its answer first.
void LinuxInstance::tellStartedAgain()
{
    QMetaObject::invokeMethod(
        &context,
        [this] {
            if (startedAgain)
                startedAgain();
        },
        Qt::QueuedConnection);
}
