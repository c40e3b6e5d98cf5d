#pragma once

#include <QByteArray>
#include <QObject>

#include <memory>
#include <optional>
#include <vector>

class QSocketNotifier;

/// A session manager of the X11 kind: programs that are started with its address in SESSION_MANAGER become
/// part of its session. There is one at a time. Needs an event loop.
class SessionManager final {
public:
    SessionManager();
    SessionManager(const SessionManager&) = delete;
    SessionManager& operator=(const SessionManager&) = delete;
    ~SessionManager();

    /// Empty when it could not be started.
    QByteArray address() const { return networkAddress; }
    bool hasClient() const;
    /// Tells the program to save for the end of the session, allows it to ask the user, and tells it to end
    /// when it has saved.
    void endSession();
    /// The same as soon as a program has become part of the session.
    void endSessionAtOnce();
    /// Whether the program wanted to ask the user, who could then have called the end off.
    bool wasAskedToInteract() const;
    /// The program's SmRestartStyleHint; nothing while it has not given any.
    std::optional<int> restartStyle() const;

private:
    void accept(int listener);

    QByteArray networkAddress;
    std::vector<std::unique_ptr<QSocketNotifier>> listeners;
    std::unique_ptr<QSocketNotifier> client;
};
