#pragma once

#include "platform/EventTap.h"

#include <QProcess>
#include <QTimer>

#include <chrono>

/// The presses of a Wayland session, which shows them to no program: knucklet-tap counts them, and this class
/// starts it, reads its records and starts it again when it ends. Which of the buttons was clicked is not
/// known. One tap at a time.
class WaylandTap final : public EventTap {
public:
    explicit WaylandTap(const QString& tapProgram);
    WaylandTap(const WaylandTap&) = delete;
    WaylandTap& operator=(const WaylandTap&) = delete;
    ~WaylandTap() override;

    std::optional<EventTapId> create(
        const EventTapParameters& parameters, TapCallback callback, void* userInfo) override;
    RunLoopSourceId makeRunLoopSource(EventTapId id) override;
    void addToMainRunLoop(RunLoopSourceId source) override;
    void enable(EventTapId id) override;

    /// Delivers all presses so far and ends the tap. For the moment before the last save.
    void drain();

private:
    struct Tap {
        std::uint64_t events = 0;
        TapCallback callback = nullptr;
        void* userInfo = nullptr;
        bool isRunning = false;
    };

    void readRecords();
    void deliver(EventType type, std::uint32_t times);
    void helperEnded();
    void giveNotice();

    QProcess helper;
    QTimer restart;
    std::chrono::seconds restartPause { 0 };
    std::optional<Tap> tap;
};
