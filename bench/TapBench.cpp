// TapBench: what counting on Wayland costs. The helper is measured on an emulated machine with a real kernel,
// and what the program does with a record here. What is beyond its limit is named and fails nothing; times
// have no limit.

#include "platform/linux/input/WaylandTap.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/Script.h"
#include "support/VirtualMachine.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>

namespace {

void judge(const char* what, double figure, double limit)
{
    std::printf("%-44s %8.2f   limit %.0f\n", what, figure, limit);
    if (figure > limit)
        std::printf("BEYOND ITS LIMIT: %s\n", what);
}

QString repeated(const QString& words, int times) { return (words + ' ').repeated(times); }

/// The helper, and hands that keep it busy.
class Guest final {
public:
    bool start()
    {
        if (!machine.start())
            return false;
        machine.run("udev; " KNUCKLET_GRANT "; sit 1000; start_tap " KNUCKLET_TAP "; start_hands");
        return true;
    }

    /// How often the helper is woken while the hands do this.
    double wakeUps(const QString& actions)
    {
        const double before = number("wakeups");
        machine.run("echo start '" + actions + "' done >/run/actions; said=$(wc -l </run/said); "
            + "cat /run/actions >&8; until [ $(wc -l </run/said) -gt $said ]; do usleep 100000; done");
        return number("wakeups") - before;
    }

    double number(const QString& command) { return machine.run(command).toDouble(); }

private:
    VirtualMachine machine { VirtualMachine::Kind::Bare };
};

/// False when there is no machine to measure it on.
bool measureHelper()
{
    Guest guest;
    if (!guest.start()) {
        std::puts("the machine does not come up");
        return false;
    }

    // The hands have come as new devices, which the helper has to open.
    guest.wakeUps("wait 1000");
    judge("wake-ups in 10 s in which nothing happens", guest.wakeUps("wait 10000"), 0);
    judge("wake-ups in 5 s of 100 motions a second", guest.wakeUps(repeated("wait 10 move", 500)), 0);
    // A press, a release, and a record that has to wait for its turn.
    const double timeBefore = guest.number("cut -d' ' -f1 /proc/$tap/schedstat");
    judge("wake-ups for a key, at ten a second",
        guest.wakeUps(repeated("wait 30 down 30 wait 40 up 30 wait 30", 100)) / 100, 3);
    const double time = guest.number("cut -d' ' -f1 /proc/$tap/schedstat") - timeBefore;
    judge("wake-ups a second while a key is held", guest.wakeUps("down 30 wait 5000 up 30") / 5, 11);
    judge("memory of its own, in KiB",
        guest.number("awk '/^Anonymous/ { print $2 }' /proc/$tap/smaps_rollup"), 1024);
    std::printf("%-44s %8.2f\n", "with what is used of the C library, in KiB",
        guest.number("awk '/^Rss/ { print $2 }' /proc/$tap/smaps_rollup"));
    std::printf("%-44s %8.2f   emulated\n", "processor time for a key, in us", time / 100 / 1000);
    return true;
}

double processorMicroseconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// Ten keys a second, one record each, as they come while somebody types.
void measureProgram()
{
    constexpr int keys = 50;
    const QTemporaryDir folder;
    const QString helper = script(folder, "helper",
        "printf '\\0\\0\\0\\0\\0\\0\\0\\0'\nfor key in $(seq 50); do\n"
        "sleep 0.1; printf '\\1\\0\\0\\0\\0\\0\\0\\0'\ndone\ncat\n");

    EventLoop loop;
    const ServedLoop served(loop);
    WaylandTap tap(loop, helper.toStdString());
    int counted = 0;
    if (!tap.create([&counted](const TapEvent&) { ++counted; }))
        return;
    tap.enable();
    const double before = processorMicroseconds();
    while (counted < keys)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::printf("%-44s %8.2f\n", "processor time of the program for a record, us",
        (processorMicroseconds() - before) / keys);
}

}

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const bool hasMachine = measureHelper();
    measureProgram();
    return hasMachine ? 0 : 1;
}
