#pragma once

#include "platform/Desktop.h"
#include "platform/Instance.h"
#include "platform/LoginItem.h"

#include <functional>
#include <string>
#include <vector>

/// The program's process: how it starts, at login too, and how it ends.
class FakeProcess final
    : public Desktop
    , public Instance
    , public LoginItem {
public:
    explicit FakeProcess(std::vector<std::string>& calls)
        : calls(calls)
    {
    }

    void answerNewInstance();
    void startAgain()
    {
        if (startedAgain)
            startedAgain();
    }

    bool hasTerminated() const { return terminated; }

    void onWillTerminate(std::function<void()> observer) override;
    void terminate() override;
    void openNewInstance(std::function<void()> done) override;
    void openInputMonitoringSettings() override;
    bool claim() override;
    void onStartedAgain(std::function<void()> callback) override;
    LoginItemStatus status() override;
    bool registerItem() override;
    bool unregisterItem() override;

    bool placeIsTaken = false;
    LoginItemStatus loginItemStatus = LoginItemStatus::NotRegistered;
    bool loginItemRefused = false;

private:
    std::vector<std::string>& calls;
    bool terminated = false;
    std::vector<std::function<void()>> terminationObservers;
    std::function<void()> newInstanceAnswered;
    std::function<void()> startedAgain;
};
