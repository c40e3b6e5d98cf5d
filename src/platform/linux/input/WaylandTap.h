#pragma once

#include "platform/EventTap.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <chrono>
#include <filesystem>
#include <memory>

class Child;

/// The presses of a Wayland session, which shows them to no program: knucklet-tap counts them, and this class
/// starts it, reads its records and starts it again when it ends. Which of the buttons was clicked is not
/// known. One tap at a time.
class WaylandTap final : public EventTap {
public:
    /// The helper has so long to say whether it may count, and to say goodbye.
    WaylandTap(EventLoop& loop, std::filesystem::path tapProgram,
        std::chrono::milliseconds patience = std::chrono::seconds(1));
    WaylandTap(const WaylandTap&) = delete;
    WaylandTap& operator=(const WaylandTap&) = delete;
    ~WaylandTap() override;

    bool create(std::function<void(const TapEvent&)> handler) override;
    void enable() override;

    /// Delivers what the helper has written so far.
    void receive();
    /// Delivers all presses so far and ends the tap. For the moment before the last save.
    void drain();

private:
    struct Tap {
        std::function<void(const TapEvent&)> handler;
        bool isRunning = false;
    };

    void startHelper();
    void readRecords();
    void deliver(TapEvent::Kind kind, std::uint32_t times);
    void helperEnded();
    void giveNotice();

    EventLoop& loop;
    std::filesystem::path tapProgram;
    std::chrono::milliseconds patience;
    /// None when it could not be started.
    std::unique_ptr<Child> helper;
    LoopTimer restart;
    std::chrono::seconds restartPause { 0 };
    std::optional<Tap> tap;
    Lifetime lifetime;
};
