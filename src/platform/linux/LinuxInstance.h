#pragma once

#include "platform/Instance.h"
#include "platform/linux/FileDescriptor.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>

class DbusObject;
class Folders;
class QSocketNotifier;

/// The place is a name on the session bus and the object with which desktops activate an application. Without
/// a bus it is a named pipe in the user's runtime folder: who has it locked reads it, everybody else writes a
/// byte into it.
///
/// A lock beside the stats file comes on top, since a bus and a runtime folder belong to one session, and the
/// file to all of them. It is what an instance waits for that another one has started in its own stead.
class LinuxInstance final : public Instance {
public:
    LinuxInstance(const QDBusConnection& bus, const Folders& folders);
    LinuxInstance(const LinuxInstance&) = delete;
    LinuxInstance& operator=(const LinuxInstance&) = delete;
    ~LinuxInstance() override;

    bool claim() override;
    void onStartedAgain(std::function<void()> startedAgain) override;

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

    QDBusConnection bus;
    const Folders& folders;
    std::function<void()> startedAgain;
    std::unique_ptr<DbusObject> application;
    FileDescriptor pipe;
    std::unique_ptr<QSocketNotifier> pipeNotifier;
    FileDescriptor dataLock;
    QObject context;
};
