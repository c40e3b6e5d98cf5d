#pragma once

#include "platform/Desktop.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

/// The end of the process. Whatever ends it in an orderly way (the user, a signal, the end of the session,
/// the loss of the display), the observers run exactly once. Before there are any, a signal ends the process
/// at once, whatever it waits for. At most one object of this class exists at a time.
class OwnProcess final : public Desktop {
public:
    /// What other parts of the program do for it.
    struct Duties {
        /// Called once, before everything else.
        std::function<void()> beginEnd;
        /// Counts what the system has delivered so far; called once, before the observers.
        std::function<void()> drainInput;
        /// Called before another instance is started, and after the observers.
        std::function<void()> makeWay;
        /// Shows a file in the program that the user has chosen for its kind.
        std::function<void(const std::filesystem::path&)> openFile;
    };

    OwnProcess(EventLoop& loop, Duties duties);
    OwnProcess(const OwnProcess&) = delete;
    OwnProcess& operator=(const OwnProcess&) = delete;
    ~OwnProcess() override;

    void onWillTerminate(std::function<void()> observer) override;
    void terminate() override;
    void openNewInstance(std::function<void()> done) override;
    void openInputMonitoringSettings() override;

    /// The process is about to end, whoever ends it: the observers run now, unless they have.
    void willTerminate();
    /// The display is gone, and with it all that could be counted: the observers run now, and the loop ends.
    void displayLost();

private:
    static void runObserversAtExit();
    void watchSignals();
    void readSignals();

    EventLoop& loop;
    Duties duties;
    std::vector<std::function<void()>> observers;
    bool isTerminating = false;
    FileDescriptor signalQueue;
    std::optional<DescriptorWatch> signalWatch;
    Lifetime lifetime;
};
