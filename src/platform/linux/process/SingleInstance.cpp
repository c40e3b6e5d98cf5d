#include "platform/linux/process/SingleInstance.h"

#include "platform/Folders.h"
#include "platform/linux/bus/BusObject.h"
#include "platform/linux/process/BaseFolders.h"
#include "platform/linux/process/EventLoop.h"
#include "platform/linux/process/FileLock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr const char* serviceName = "org.knucklet.Knucklet";
constexpr const char* applicationPath = "/org/knucklet/Knucklet";
constexpr const char* applicationInterface = "org.freedesktop.Application";

// How the bus is asked for a name, and how it answers.
constexpr std::uint32_t doNotQueue = 4;
constexpr std::uint32_t isOwner = 1;

/// How long an instance that is being started may take to answer.
constexpr std::chrono::milliseconds activationPatience = 2s;
/// How long an instance that ends may take, its last save included.
constexpr std::chrono::milliseconds endPatience = 10s;
/// How long the bus may take to free the name. It does so by itself when the process is gone.
constexpr std::chrono::milliseconds releasePatience = 1s;

BusCall callOfTheBus(const std::string& member, BusValues arguments)
{
    return { "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member,
        std::move(arguments) };
}

std::chrono::milliseconds until(std::chrono::steady_clock::time_point time)
{
    return std::chrono::ceil<std::chrono::milliseconds>(time - std::chrono::steady_clock::now());
}

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

SingleInstance::SingleInstance(EventLoop& loop, Bus& bus, const Folders& folders)
    : loop(loop)
    , bus(bus)
    , folders(folders)
{
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::claim()
{
    auto place = takeName();
    if (place == Place::Unknown)
        place = takePipe();
    return place != Place::HeldByAnother && lockFiles();
}

void SingleInstance::onStartedAgain(std::function<void()> startedAgain)
{
    this->startedAgain = std::move(startedAgain);
}

void SingleInstance::beginEnd() { dataLock.beginEnd(); }

void SingleInstance::makeWay()
{
    // Before the next one can have the name.
    beginEnd();
    // No longer than that, since a bus may hang.
    if (application) {
        const auto name = [](BusWriter& arguments) { arguments.writeString(serviceName); };
        std::ignore = bus.callAndWait(callOfTheBus("ReleaseName", name), releasePatience);
    }
    pipeWatch.reset();
    pipe = {};
}

SingleInstance::Place SingleInstance::takeName()
{
    if (!bus.isOpen())
        return Place::Unknown;

    // Before the name, so that nobody finds the name without it.
    application = std::make_unique<BusObject>(bus, applicationPath,
        BusInterface {
            .name = applicationInterface,
            .methods = { { "Activate", { { "platform_data", "a{sv}" } }, {},
                [this](BusReader&, BusWriter&) {
                    tellStartedAgain();
                    return true;
                } } },
            .properties = {},
            .emits = {},
        });
    const auto request = callOfTheBus("RequestName", [](BusWriter& arguments) {
        arguments.writeString(serviceName);
        arguments.writeUint32(doNotQueue);
    });
    const auto deadline = std::chrono::steady_clock::now() + endPatience;
    for (;;) {
        const auto answer = bus.callAndWait(request, until(deadline));
        if (!answer)
            return Place::Unknown;
        if (answer->values().readUint32() == isOwner)
            return Place::Taken;
        if (activateOther() || until(deadline) <= 0ms)
            return Place::HeldByAnother;
        // Who has the name and does not answer, or refuses at once, is ending: soon the name is free.
        std::this_thread::sleep_for(10ms);
    }
}

/// False when there was no answer, or a refusal.
bool SingleInstance::activateOther()
{
    const auto noData = [](BusWriter& arguments) { arguments.writeArray("{sv}", [] {}); };
    const BusCall activate { serviceName, applicationPath, applicationInterface, "Activate", noData };
    return bus.callAndWait(activate, activationPatience).has_value();
}

SingleInstance::Place SingleInstance::takePipe()
{
    pipe = openPipe();
    if (!pipe.isOpen())
        return Place::Unknown;
    switch (lockFile(pipe)) {
    case LockResult::Impossible:
        return Place::Unknown;
    case LockResult::HeldByAnother:
        // A pipe that is full says it already.
        std::ignore = write(pipe.get(), "\n", 1);
        return Place::HeldByAnother;
    case LockResult::Taken:
        break;
    }
    pipeWatch = std::make_unique<DescriptorWatch>(loop, pipe.get(), [this] {
        std::array<char, 4096> starts;
        std::ignore = read(pipe.get(), starts.data(), starts.size());
        tellStartedAgain();
    });
    return Place::Taken;
}

bool SingleInstance::lockFiles()
{
    const auto applicationSupport = folders.applicationSupport();
    if (!applicationSupport)
        return true;
    const auto folder = *applicationSupport / "Knucklet";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    const auto result = dataLock.take(folder / "lock", endPatience);
    if (result == LockResult::Taken)
        dataLock.stay();
    // Where no lock can be made nothing can be saved either, and the program runs for its counters.
    return result != LockResult::HeldByAnother;
}

// Later, so that who has started the program has its answer first.
void SingleInstance::tellStartedAgain()
{
    loop.callLater(lifetime.guard([this] {
        if (startedAgain)
            startedAgain();
    }));
}
