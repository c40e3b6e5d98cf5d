// guest-hands [NUMBER]: a keyboard and a mouse, or a number of them that move as one, whose user does what
// the standard input says, one word after the other: "down" or "up" with a key code, "move", "wheel", "wait"
// with milliseconds, and "stop" with a process. The times that are waited add up exactly, from the last
// "start" on, which waits for a full tenth of a second. "done" is answered when everything before it has been
// done.

#include "machine/guest/VirtualInput.h"

#include <linux/input-event-codes.h>
#include <sched.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <thread>

int main(int count, char* arguments[])
{
    // On the machine's one processor nobody else gets to do anything between two actions without a wait.
    const sched_param priority { .sched_priority = 1 };
    if (sched_setscheduler(0, SCHED_FIFO, &priority) != 0)
        return 1;
    std::deque<VirtualInput> inputs;
    for (int i = 0; i < (count > 1 ? std::atoi(arguments[1]) : 1); ++i)
        inputs.emplace_back("hands");
    std::string action;
    std::uint16_t number = 0;
    // An absolute time, so that the pace does not depend on how long anything takes.
    std::chrono::steady_clock::time_point now;
    while (std::cin >> action) {
        if (action == "start") {
            now = std::chrono::ceil<std::chrono::duration<std::int64_t, std::deci>>(
                std::chrono::steady_clock::now());
            std::this_thread::sleep_until(now);
            continue;
        }
        if (action == "done") {
            std::cout << "done" << std::endl;
            continue;
        }
        if (action == "wait") {
            std::cin >> number;
            now += std::chrono::milliseconds(number);
            std::this_thread::sleep_until(now);
            continue;
        }
        if (action == "stop") {
            std::cin >> number;
            kill(number, SIGSTOP);
            continue;
        }
        if (action == "down" || action == "up")
            std::cin >> number;
        for (VirtualInput& input : inputs) {
            if (action == "move") {
                input.send(EV_REL, REL_X, 1);
            } else if (action == "wheel") {
                input.send(EV_REL, REL_WHEEL, 1);
            } else {
                input.send(EV_KEY, number, action == "down");
            }
            input.finish();
        }
    }
}
