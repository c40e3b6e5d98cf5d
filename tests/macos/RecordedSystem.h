#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What stands in for macOS under the parts of the back end that are plain C++: it writes down each call, in
/// order and with its arguments, and does what a test says. One at a time; calls go to the one that lives.
class RecordedSystem final {
public:
    RecordedSystem();
    RecordedSystem(const RecordedSystem&) = delete;
    RecordedSystem& operator=(const RecordedSystem&) = delete;
    ~RecordedSystem();

    // What a user and a system do.
    void grantAccess() { accessGranted = true; }
    void refuseTap() { tapRefused = true; }
    void refuseMonitor() { monitorRefused = true; }
    /// An event of any type goes through the tap, if that hears of it: it is enabled, has its source in the
    /// main run loop, and its mask has the type. Whether the event came back as it went is kept.
    void send(CGEventType type, std::int64_t autorepeat = 0);
    /// A press of a mouse button in another program, which the monitor sees as well.
    void click(CGEventType type);
    /// The system switches the tap off and tells it so.
    void disableTap(CGEventType notice);
    /// Calls the tap without the pointer that it was made with.
    void sendWithoutOwner();
    /// Time passes, and timers fire when they are due.
    void pass(double seconds);
    /// Runs what the main queue has been given.
    void runMainQueue();

    std::vector<std::string> takeCalls() { return std::exchange(calls, {}); }
    bool isTapEnabled() const { return tapEnabled; }
    bool hasMonitor() const { return monitor.has_value(); }
    bool wasEveryEventReturnedUnchanged() const { return eventsUnchanged; }
    /// The fields of events that were read.
    const std::vector<std::uint32_t>& fieldsRead() const { return fields; }
    /// How many objects of the system are held.
    int objectsHeld() const { return held; }

private:
    friend struct SystemCalls;

    struct Monitor {
        std::uint64_t mask;
        std::function<void()> handler;
    };

    CGEventRef callTap(CGEventType type, CGEventRef event, void* owner);

    std::vector<std::string> calls;
    bool accessGranted = false;
    bool tapRefused = false;
    bool monitorRefused = false;
    bool tapEnabled = false;
    bool sourceAdded = false;
    bool eventsUnchanged = true;
    CGEventMask tapMask = 0;
    CGEventTapCallBack callback = nullptr;
    void* tapOwner = nullptr;
    std::optional<Monitor> monitor;
    std::vector<std::uint32_t> fields;
    double now = 1000;
    std::vector<CFRunLoopTimerRef> timers;
    std::deque<std::function<void()>> mainQueue;
    int held = 0;
};
