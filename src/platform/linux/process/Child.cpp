#include "platform/linux/process/Child.h"

#include "platform/linux/process/CoreFiles.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <tuple>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// How long a child that was killed may take to be gone.
constexpr auto killPatience = 1s;

/// More than a pipe holds, unless a program asks for one that holds more.
constexpr std::size_t readAtOnce = 64 * 1024;

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};

Pipe makePipe()
{
    std::array<int, 2> ends { -1, -1 };
    // Without one the child cannot be started either, which is told then.
    std::ignore = pipe2(ends.data(), O_CLOEXEC);
    const FileDescriptor reading(ends[0]);
    const FileDescriptor writing(ends[1]);
    // Beyond the standard streams, whose places the child's own are put into.
    constexpr int first = STDERR_FILENO + 1;
    return { FileDescriptor(fcntl(reading.get(), F_DUPFD_CLOEXEC, first)),
        FileDescriptor(fcntl(writing.get(), F_DUPFD_CLOEXEC, first)) };
}

/// The standard streams of a program to be started.
class StreamActions final {
public:
    StreamActions() { posix_spawn_file_actions_init(&actions); }
    StreamActions(const StreamActions&) = delete;
    StreamActions& operator=(const StreamActions&) = delete;
    ~StreamActions() { posix_spawn_file_actions_destroy(&actions); }

    void connect(int stream, const FileDescriptor& to)
    {
        posix_spawn_file_actions_adddup2(&actions, to.get(), stream);
    }
    void connectNowhere(int stream)
    {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    /// The last of them. Not all that libraries open is closed by itself in children.
    const posix_spawn_file_actions_t* withNothingElse()
    {
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        return &actions;
    }

private:
    posix_spawn_file_actions_t actions {};
};

/// Nothing when it cannot be started.
std::optional<pid_t> spawn(const Command& command, StreamActions& streams, short furtherFlags)
{
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    // A signal that is handled ends to be so by itself. SIGHUP may be ignored for the sake of the child too.
    sigset_t ignoredHere;
    sigemptyset(&ignoredHere);
    sigaddset(&ignoredHere, SIGPIPE);
    sigaddset(&ignoredHere, SIGXFSZ);
    posix_spawnattr_setsigdefault(&attributes, &ignoredHere);
    posix_spawnattr_setflags(
        &attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | furtherFlags));

    std::vector<char*> arguments;
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const ChildrenMayLeaveCoreFiles asBefore;
    pid_t id = 0;
    const int error = posix_spawnp(
        &id, arguments.front(), streams.withNothingElse(), &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    return error == 0 ? std::optional(id) : std::nullopt;
}

void connectNowhere(StreamActions& streams)
{
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
        streams.connectNowhere(stream);
}

/// Where the end of children is ignored, as it may have been by who started this program, they leave no word
/// of how they ended.
void keepEndsOfChildren()
{
    struct sigaction action { };
    if (sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        std::signal(SIGCHLD, SIG_DFL);
}

}

std::unique_ptr<Child> Child::start(EventLoop& loop, const Command& command, ChildStreams streams, Told told)
{
    StreamActions actions;
    Pipe input;
    Pipe output;
    if (streams != ChildStreams::Inherited)
        connectNowhere(actions);
    if (streams == ChildStreams::InputAndOutputHere) {
        input = makePipe();
        output = makePipe();
        actions.connect(STDIN_FILENO, input.reading);
        actions.connect(STDOUT_FILENO, output.writing);
        // Only this end: the child may rely on waiting for its own.
        fcntl(output.reading.get(), F_SETFL, O_NONBLOCK);
    }

    keepEndsOfChildren();
    const auto id = spawn(command, actions, 0);
    if (!id)
        return nullptr;
    FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, *id, 0)));
    if (!process.isOpen()) {
        // Too many descriptors are open. A child whose end nobody hears of is of no use.
        ::kill(*id, SIGKILL);
        waitpid(*id, nullptr, 0);
        return nullptr;
    }
    return std::unique_ptr<Child>(new Child(
        loop, *id, std::move(process), std::move(input.writing), std::move(output.reading), std::move(told)));
}

Child::Child(
    EventLoop& loop, pid_t id, FileDescriptor process, FileDescriptor input, FileDescriptor output, Told told)
    : id(id)
    , process(std::move(process))
    , input(std::move(input))
    , outputPipe(std::move(output))
    , told(std::move(told))
{
    endWatch.emplace(loop, this->process.get(), [this] { ended(); });
    if (outputPipe.isOpen())
        outputWatch.emplace(loop, outputPipe.get(), [this] { outputReady(); });
}

Child::~Child()
{
    kill();
    // One that has gained rights meanwhile can no longer be killed, and is left alone.
    if (!status && ::kill(id, 0) == 0)
        waitForEnd(killPatience);
}

std::optional<int> Child::exitCode() const
{
    return status && WIFEXITED(*status) ? std::optional(WEXITSTATUS(*status)) : std::nullopt;
}

bool Child::waitForOutputOrEnd(std::chrono::milliseconds patience) { return await(true, patience); }

bool Child::waitForEnd(std::chrono::milliseconds patience) { return await(false, patience); }

void Child::kill()
{
    if (!status)
        ::kill(id, SIGKILL);
}

void Child::outputReady()
{
    const auto before = text.size();
    readOutput();
    // A copy: the child may end within its call.
    if (const auto call = told.output; call && text.size() > before)
        call();
}

void Child::readOutput()
{
    std::array<char, 4096> buffer;
    // Not to the end, which one that writes and writes would put off.
    for (std::size_t size = 0; size < readAtOnce && outputPipe.isOpen(); size += buffer.size()) {
        const auto count = read(outputPipe.get(), buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0) {
            outputWatch.reset();
            outputPipe = {};
        } else if (errno != EINTR) {
            return;
        }
    }
}

void Child::ended()
{
    if (!hasEnded())
        return;
    if (const auto call = told.end)
        call();
}

bool Child::hasEnded()
{
    int how = 0;
    if (!status && waitpid(id, &how, WNOHANG) == id) {
        status = how;
        endWatch.reset();
        readOutput();
        // Whoever it has started may still have the other end.
        outputWatch.reset();
        outputPipe = {};
    }
    return status.has_value();
}

bool Child::await(bool orOutput, std::chrono::milliseconds patience)
{
    const auto deadline = EventLoop::Clock::now() + patience;
    for (;;) {
        readOutput();
        // Where there is output, its end is still told.
        if ((orOutput && !text.empty()) || hasEnded())
            return true;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - EventLoop::Clock::now());
        if (left <= 0ms)
            return false;
        // Of these, a negative number is passed over.
        std::array<pollfd, 2> ready { { { process.get(), POLLIN, 0 }, { outputPipe.get(), POLLIN, 0 } } };
        std::ignore = poll(ready.data(), ready.size(), static_cast<int>(left.count()));
    }
}

bool startDetached(const Command& command, ChildStreams streams)
{
    StreamActions actions;
    if (streams == ChildStreams::Nowhere)
        connectNowhere(actions);
    keepEndsOfChildren();
    // A child in between, which ends at once, so that nobody here has to hear of the other's end.
    const pid_t between = fork();
    if (between == 0)
        _exit(spawn(command, actions, POSIX_SPAWN_SETSID) ? 0 : 1);
    int status = 0;
    while (between > 0 && waitpid(between, &status, 0) < 0) {
        if (errno != EINTR)
            return false;
    }
    return between > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
