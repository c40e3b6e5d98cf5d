// guest-hands: a keyboard and a mouse whose user does what the standard input says, one word after the other:
// "down" or "up" with a key code, "move", "wheel", and "wait" with milliseconds. The times that are waited
// add up exactly, from the last "start" on. "done" is answered when everything before it has been done.

#include "guest/VirtualInput.h"

#include <linux/input-event-codes.h>

#include <chrono>
#include <iostream>
#include <thread>

int main()
{
    VirtualInput input("hands");
    std::string action;
    std::uint16_t number = 0;
    // An absolute time, so that the pace does not depend on how long anything takes.
    std::chrono::steady_clock::time_point now;
    while (std::cin >> action) {
        if (action == "start") {
            now = std::chrono::steady_clock::now();
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
        if (action == "move") {
            input.send(EV_REL, REL_X, 1);
        } else if (action == "wheel") {
            input.send(EV_REL, REL_WHEEL, 1);
        } else {
            std::cin >> number;
            input.send(EV_KEY, number, action == "down");
        }
        input.finish();
    }
}
