// bare-counter: the least that counting the key presses of a display can cost, against which the whole
// program is compared. Prints "ready", counts until its input ends, then prints the presses and the processor
// time that one took.

#include "platform/linux/Xcb.h"

#include <poll.h>
#include <unistd.h>
#include <xcb/xinput.h>

#include <array>
#include <cstdio>
#include <ctime>

namespace {

double processorMicroseconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

bool selectKeyPresses(xcb_connection_t* connection)
{
    const XcbReply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    if (!version)
        return false;
    const struct {
        xcb_input_event_mask_t head { .deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1 };
        std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
    } selection;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const auto cookie = xcb_input_xi_select_events_checked(connection, root, 1, &selection.head);
    return XcbReply<xcb_generic_error_t>(xcb_request_check(connection, cookie)) == nullptr;
}

}

int main()
{
    const XcbConnection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) || !selectKeyPresses(connection.get()))
        return 1;
    std::puts("ready");
    std::fflush(stdout);

    const double begin = processorMicroseconds();
    long presses = 0;
    std::array<pollfd, 2> sources { pollfd { xcb_get_file_descriptor(connection.get()), POLLIN, 0 },
        pollfd { STDIN_FILENO, POLLIN, 0 } };
    bool goOn = true;
    while (goOn) {
        poll(sources.data(), sources.size(), -1);
        goOn = sources[1].revents == 0 && !xcb_connection_has_error(connection.get());
        while (const XcbReply<xcb_generic_event_t> event { xcb_poll_for_event(connection.get()) }) {
            if (event->response_type == XCB_GE_GENERIC)
                ++presses;
        }
    }
    const double used = processorMicroseconds() - begin;
    std::printf(
        "%ld presses, %.1f us each\n", presses, presses > 0 ? used / static_cast<double>(presses) : 0.0);
}
