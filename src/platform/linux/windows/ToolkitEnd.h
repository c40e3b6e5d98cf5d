#pragma once

#include <QObject>

#include <future>

class OwnProcess;
class WaylandDisplay;

/// Tells the process of the ends that begin in the toolkit: that of its loop, that of the session, and the
/// one that it makes at once when its display fails. Needs the application object. At most one object of this
/// class exists at a time.
class ToolkitEnd final {
public:
    /// Both must outlive it.
    ToolkitEnd(OwnProcess& process, WaylandDisplay& display);
    ToolkitEnd(const ToolkitEnd&) = delete;
    ToolkitEnd& operator=(const ToolkitEnd&) = delete;
    ~ToolkitEnd();

private:
    static void hear(QtMsgType type, const QMessageLogContext& context, const QString& words);
    void endProcess();
    void listenForSessionManager();

    OwnProcess& process;
    WaylandDisplay& display;
    std::promise<void> ended;
    std::shared_future<void> end { ended.get_future() };
    bool hasEnded = false;
    QObject context;
    QtMessageHandler nextToHear;
};
