#pragma once

#include "platform/Instance.h"
#include "platform/macos/PlaceLock.h"

#include <memory>
#include <vector>

@class KnuckletDelegate;

/// One instance per user. The system itself starts an application only once, and tells the one that runs; a
/// second process is one that was started otherwise, which tells it with a notification and leaves.
class OneInstance final : public Instance {
public:
    explicit OneInstance(std::filesystem::path folder);
    OneInstance(const OneInstance&) = delete;
    OneInstance& operator=(const OneInstance&) = delete;
    ~OneInstance() override;

    bool claim() override;
    void onStartedAgain(std::function<void()> startedAgain) override;
    /// Before another instance is asked for in this one's stead.
    void makeWay() const;

private:
    PlaceLock place;
    KnuckletDelegate* delegate;
};
