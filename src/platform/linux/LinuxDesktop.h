#pragma once

#include "platform/Desktop.h"

#include <QObject>

#include <memory>
#include <vector>

class QSocketNotifier;

/// The end of the process. Whatever ends it in an orderly way (the user, a signal, the end of the session,
/// the loss of the display), the observers run exactly once. At most one object of this class exists at a
/// time.
class LinuxDesktop final : public Desktop {
public:
    /// `drainInput` counts what the system has delivered so far; it is called once, before the observers.
    /// `makeWay` is called before another instance is started, and after the observers.
    LinuxDesktop(std::function<void()> drainInput, std::function<void()> makeWay);
    LinuxDesktop(const LinuxDesktop&) = delete;
    LinuxDesktop& operator=(const LinuxDesktop&) = delete;
    ~LinuxDesktop() override;

    void onWillTerminate(std::function<void()> observer) override;
    void terminate() override;
    void openNewInstance(std::function<void()> done) override;
    void openInputMonitoringSettings() override;

private:
    static void runObserversAtExit();
    void listenForSignals();
    void listenForSessionManager();
    void willTerminate();

    std::function<void()> drainInput;
    std::function<void()> makeWay;
    std::vector<std::function<void()>> observers;
    bool isTerminating = false;
    QObject context;
    std::unique_ptr<QSocketNotifier> signalNotifier;
};
