#pragma once

#include "platform/Timers.h"

#include <QObject>

#include <memory>
#include <unordered_map>

class QTimer;

class LinuxTimers final : public Timers {
public:
    LinuxTimers();
    ~LinuxTimers() override;

    TimerId scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick) override;
    void invalidate(TimerId timer) override;
    void callLater(std::function<void()> call) override;

private:
    std::unordered_map<TimerId, std::unique_ptr<QTimer>> timers;
    std::uint64_t lastId = 0;
    /// What is still to be called later ends with it.
    QObject pendingCalls;
};
