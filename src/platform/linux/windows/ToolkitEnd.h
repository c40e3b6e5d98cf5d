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

    /// Serves the toolkit's events until the process is to end, and returns with what. At once when it was
    /// told to end before, which the toolkit would forget.
    int run();

private:
    class Listener final : public QObject {
    public:
        bool wasToldToQuit() const { return isToldToQuit; }

    protected:
        bool eventFilter(QObject* application, QEvent* event) override;

    private:
        bool isToldToQuit = false;
    };

    static void hear(QtMsgType type, const QMessageLogContext& context, const QString& words);
    void endProcess();
    void listenForSessionManager();

    OwnProcess& process;
    WaylandDisplay& display;
    std::promise<void> ended;
    std::shared_future<void> end { ended.get_future() };
    bool hasEnded = false;
    Listener context;
    QtMessageHandler nextToHear;
};
