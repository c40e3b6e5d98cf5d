#include "support/ForkedChild.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace {

constexpr uid_t nobody = 65534;

bool isRoot() { return geteuid() == 0; }

/// Ends the process, and not by the signal that tests expect of a child.
[[noreturn]] void giveUp()
{
    raise(SIGKILL);
    _exit(1);
}

void require(bool isSo)
{
    if (!isSo)
        giveUp();
}

[[noreturn]] void runChild(const std::function<std::string()>& function, RunAs runAs, int answerPipe)
{
    // Qt Test's own handler would write a report of the crash, and a core file helps nobody.
    std::signal(SIGABRT, SIG_DFL);
    const rlimit none = { .rlim_cur = 0, .rlim_max = 0 };
    require(setrlimit(RLIMIT_CORE, &none) == 0);
    if (runAs == RunAs::OrdinaryUser && isRoot())
        require(setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0);

    try {
        const auto answer = function();
        require(write(answerPipe, answer.data(), answer.size()) == static_cast<ssize_t>(answer.size()));
        _exit(0);
    } catch (...) {
        // It must not reach the test's own loop, which would go on with the other tests in the child.
        giveUp();
    }
}

std::string readToEnd(int descriptor)
{
    std::string text;
    std::array<char, 4096> buffer;
    for (;;) {
        const auto count = read(descriptor, buffer.data(), buffer.size());
        if (count == 0 || (count < 0 && errno != EINTR))
            return text;
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace

ChildEnd inChild(const std::function<std::string()>& function, RunAs runAs)
{
    std::array<int, 2> pipeEnds;
    require(pipe2(pipeEnds.data(), O_CLOEXEC) == 0);
    const auto child = fork();
    require(child >= 0);
    if (child == 0)
        runChild(function, runAs, pipeEnds[1]);

    close(pipeEnds[1]);
    ChildEnd end { .signal = 0, .answer = readToEnd(pipeEnds[0]) };
    close(pipeEnds[0]);

    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        require(errno == EINTR);
    if (WIFSIGNALED(status))
        end.signal = WTERMSIG(status);
    return end;
}

void giveToOrdinaryUser(const std::string& folder)
{
    if (isRoot())
        require(chown(folder.c_str(), nobody, nobody) == 0);
}
