#pragma once

#include <memory>
#include <string>

class Bus;
class BusAnswer;
class BusSubscription;

/// Whether the user's session is locked, as far as the screen locker tells the login manager. Without a login
/// manager, and until it has answered, no session is locked.
class SessionLock final {
public:
    explicit SessionLock(Bus& systemBus);
    SessionLock(const SessionLock&) = delete;
    SessionLock& operator=(const SessionLock&) = delete;
    ~SessionLock();

    bool isLocked() const { return locked; }

private:
    void findSession();
    void sessionFound(const BusAnswer& session);

    Bus& bus;
    bool locked = false;
    std::unique_ptr<BusSubscription> managers;
    std::unique_ptr<BusSubscription> question;
    std::unique_ptr<BusSubscription> changes;
};
