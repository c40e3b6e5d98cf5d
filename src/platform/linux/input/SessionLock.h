#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

class Bus;
class BusAnswer;
class BusSubscription;

/// Whether the user's session is locked, as far as the screen locker tells the login manager. Until a login
/// manager has answered, no session is locked; of one that goes away, its last word holds.
class SessionLock final {
public:
    /// `willChange` is called while what it was still holds, for whatever has to be done under that, and
    /// before the machine sleeps, while the clocks by which presses are dated stand still.
    SessionLock(Bus& systemBus, std::function<void()> willChange);
    SessionLock(const SessionLock&) = delete;
    SessionLock& operator=(const SessionLock&) = delete;
    ~SessionLock();

    bool isLocked() const { return locked; }

private:
    void findSession();
    void sessionFound(const BusAnswer& session);
    void become(std::optional<bool> isLocked);

    Bus& bus;
    std::function<void()> willChange;
    bool locked = false;
    std::unique_ptr<BusSubscription> managers;
    std::unique_ptr<BusSubscription> question;
    std::unique_ptr<BusSubscription> changes;
    std::unique_ptr<BusSubscription> sleep;
};
