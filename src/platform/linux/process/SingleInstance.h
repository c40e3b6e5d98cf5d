#pragma once

#include "platform/Instance.h"
#include "platform/linux/process/FileDescriptor.h"
#include "platform/linux/process/FileLock.h"
#include "support/Lifetime.h"

#include <memory>

class Bus;
class BusObject;
class DescriptorWatch;
class EventLoop;
class Folders;

/// The place is a name on the session bus and the object with which desktops activate an application. Without
/// a bus it is a named pipe in the user's runtime folder: who has it locked reads it, everybody else writes a
/// byte into it.
///
/// A lock beside the stats file comes on top, since a bus and a runtime folder belong to one session, and the
/// file to all of them. It is what an instance waits for that another one has started in its own stead. An
/// instance that finds one of another session counting leaves at once.
class SingleInstance final : public Instance {
public:
    SingleInstance(EventLoop& loop, Bus& bus, const Folders& folders);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance() override;

    bool claim() override;
    void onStartedAgain(std::function<void()> startedAgain) override;

    /// From here on an instance of another session that is started waits for the end of this process. Before,
    /// it leaves.
    void beginEnd();
    /// Gives up the place, and not the files: the next instance that is started takes it, and then waits
    /// until this process has ended.
    void makeWay();

private:
    enum class Place { Taken, HeldByAnother, Unknown };

    Place takeName();
    Place takePipe();
    bool lockFiles();
    bool activateOther();
    void tellStartedAgain();

    EventLoop& loop;
    Bus& bus;
    const Folders& folders;
    std::function<void()> startedAgain;
    std::unique_ptr<BusObject> application;
    FileDescriptor pipe;
    std::unique_ptr<DescriptorWatch> pipeWatch;
    FileLock dataLock;
    Lifetime lifetime;
};
