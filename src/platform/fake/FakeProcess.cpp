#include "platform/fake/FakeProcess.h"

#include <utility>

void FakeProcess::answerNewInstance()
{
    if (const auto answered = std::exchange(newInstanceAnswered, {}))
        answered();
}

void FakeProcess::onWillTerminate(std::function<void()> observer)
{
    calls.emplace_back("observe termination");
    terminationObservers.push_back(std::move(observer));
}

void FakeProcess::terminate()
{
    calls.emplace_back("terminate");
    for (const auto& observer : terminationObservers)
        observer();
    terminated = true;
}

void FakeProcess::openNewInstance(std::function<void()> done)
{
    calls.emplace_back("open new instance");
    newInstanceAnswered = std::move(done);
}

void FakeProcess::openInputMonitoringSettings()
{
    calls.push_back("open " + std::string(inputMonitoringSettingsUrl));
}

bool FakeProcess::claim()
{
    calls.emplace_back("claim");
    return !placeIsTaken;
}

void FakeProcess::onStartedAgain(std::function<void()> callback)
{
    calls.emplace_back("observe starts");
    startedAgain = std::move(callback);
}

LoginItemStatus FakeProcess::status()
{
    calls.emplace_back("login item status");
    return loginItemStatus;
}

bool FakeProcess::registerItem()
{
    calls.emplace_back("register login item");
    if (!loginItemRefused)
        loginItemStatus = LoginItemStatus::Enabled;
    return !loginItemRefused;
}

bool FakeProcess::unregisterItem()
{
    calls.emplace_back("unregister login item");
    if (!loginItemRefused)
        loginItemStatus = LoginItemStatus::NotRegistered;
    return !loginItemRefused;
}
