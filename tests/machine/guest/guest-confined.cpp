// guest-confined: tries what the input helper must not be able to do, each in a process of its own that has
// confined itself as the helper does, and says what became of it: a line with the signal and the error.

#include "tap/Confinement.h"

#include <dirent.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <iostream>
#include <string>

namespace {

void attempt(const std::string& name, const std::function<long()>& action)
{
    const pid_t child = fork();
    if (child == 0) {
        if (!confine())
            _exit(255);
        _exit(action() < 0 ? errno : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::cout << name << ": ";
    if (WIFSIGNALED(status)) {
        std::cout << "killed by " << WTERMSIG(status) << std::endl;
    } else {
        std::cout << "error " << WEXITSTATUS(status) << std::endl;
    }
}

}

int main()
{
    attempt("open a device", [] { return open("/dev/input/event0", openFlags); });
    attempt("open a seat", [] { return open("/run/systemd/seats/seat0", openFlags); });
    attempt("list the devices", [] {
        alignas(dirent64) char entries[4096];
        return getdents64(open("/dev/input", openFlags), entries, sizeof entries) > 0 ? 0 : -1;
    });
    attempt("open another file", [] { return open("/etc/passwd", openFlags); });
    attempt("open another device", [] { return open("/dev/null", openFlags); });
    attempt("list another folder", [] { return open("/", openFlags); });
    attempt("open by a way around", [] { return open("/dev/input/../null", openFlags); });
    attempt("open a device for writing", [] { return open("/dev/input/event0", O_RDWR); });
    attempt("make a file", [] { return open("/dev/input/new", O_WRONLY | O_CREAT, 0600); });
    attempt("ask which keys are down", [] {
        char keys[96];
        return ioctl(open("/dev/input/event0", openFlags), EVIOCGKEY(sizeof keys), keys);
    });
    attempt(
        "take a device for itself", [] { return ioctl(open("/dev/input/event0", openFlags), EVIOCGRAB, 1); });
    attempt("make a socket", [] { return socket(AF_UNIX, SOCK_STREAM, 0); });
    attempt("connect to the network", [] { return socket(AF_INET, SOCK_STREAM, 0); });
    attempt("start a process", [] { return fork(); });
    attempt("start a program", [] { return execl("/bin/busybox", "busybox", nullptr); });
    attempt("trace a process", [] { return ptrace(PTRACE_ATTACH, 1, nullptr, nullptr); });
    attempt("send a signal", [] { return kill(1, 0); });
    attempt("become another user", [] { return setuid(1000); });
}
