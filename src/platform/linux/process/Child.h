#pragma once

#include "platform/linux/process/EventLoop.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The name of a program, which is searched for as a shell does, or its path; then its arguments.
using Command = std::vector<std::string>;

/// Where a child's input comes from and its output goes to.
enum class ChildStreams {
    /// Where this program's own do.
    Inherited,
    Nowhere,
    /// Its errors go nowhere.
    InputAndOutputHere,
};

/// A program that this one has started: it ends with this object at the latest. It gets no descriptor of this
/// program's beyond its standard streams, and no signal is blocked or ignored in it because of what this
/// program does with that signal.
class Child final {
public:
    /// What is called from the loop; either may be absent, and may destroy the child.
    struct Told {
        /// More output has come.
        std::function<void()> output;
        /// It has ended, and all its output is here. Not told when one of the waits has found it out.
        std::function<void()> end;
    };

    /// Nothing when there is no such program, or it must not be started. The loop must outlive it.
    static std::unique_ptr<Child> start(
        EventLoop& loop, const Command& command, ChildStreams streams, Told told = {});

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    bool isRunning() const { return !status; }
    /// Nothing while it runs, and when something other than itself has ended it.
    std::optional<int> exitCode() const;

    /// Both are true when it has come to that in time. What else the loop serves waits meanwhile.
    bool waitForOutputOrEnd(std::chrono::milliseconds patience);
    bool waitForEnd(std::chrono::milliseconds patience);

    /// What it has written, as far as that has been read, and nobody has taken yet.
    std::string& output() { return text; }
    /// Reads what it has written so far, at most a share of it that does not hold up the loop.
    void readOutput();
    /// The end of its input.
    void closeInput() { input = {}; }
    void kill();

private:
    Child(EventLoop& loop, pid_t id, FileDescriptor process, FileDescriptor input, FileDescriptor output,
        Told told);

    void outputReady();
    void ended();
    bool hasEnded();
    bool await(bool orOutput, std::chrono::milliseconds patience);

    pid_t id;
    FileDescriptor process;
    FileDescriptor input;
    FileDescriptor outputPipe;
    Told told;
    std::string text;
    /// How it has ended, as `waitpid` tells it.
    std::optional<int> status;
    std::optional<DescriptorWatch> endWatch;
    std::optional<DescriptorWatch> outputWatch;
};

/// Starts a program that goes its own way, also when this one ends. False when it cannot be started.
[[nodiscard]] bool startDetached(const Command& command, ChildStreams streams);
