#include "support/KeyWitness.h"

#include <xcb/xinput.h>

#include <cstddef>

KeyWitness::KeyWitness(const QByteArray& display)
    : connection(xcb_connect(display.constData(), nullptr))
{
    const XcbReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
    const struct {
        xcb_input_event_mask_t head { .deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1 };
        std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
    } selection;
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    xcb_input_xi_select_events(connection.get(), root, 1, &selection.head);
    const XcbReply<xcb_get_input_focus_reply_t> done(
        xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
}

int KeyWitness::presses()
{
    while (const XcbReply<xcb_generic_event_t> event { xcb_poll_for_event(connection.get()) }) {
        if (event->response_type != XCB_GE_GENERIC)
            continue;
        const QByteArray bytes(reinterpret_cast<const char*>(event.get()), 32);
        const auto name = bytes.sliced(offsetof(xcb_input_raw_key_press_event_t, detail));
        if (!seen.contains(name))
            seen << name;
        ++count;
    }
    return count;
}
