#include "platform/linux/Xcb.h"

#include <poll.h>
#include <xcb/xcbext.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

void XcbForget::operator()(xcb_generic_event_t* event) const
{
    std::size_t length = sizeof *event;
    if ((event->response_type & 0x7f) == XCB_GE_GENERIC)
        length += std::size_t { 4 } * reinterpret_cast<const xcb_ge_generic_event_t&>(*event).length;
    // The compiler leaves out what it sees to be freed.
    explicit_bzero(event, length);
    std::free(event);
}

xcb_window_t rootWindow(xcb_connection_t* connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
}

bool acceptsRequests(xcb_connection_t* connection)
{
    pollfd writable { xcb_get_file_descriptor(connection), POLLOUT, 0 };
    return poll(&writable, 1, 0) == 1;
}

bool flush(xcb_connection_t* connection)
{
    // POLLRDHUP where the connection is one of TCP.
    pollfd gone { xcb_get_file_descriptor(connection), POLLRDHUP, 0 };
    return poll(&gone, 1, 0) == 0 && xcb_flush(connection) > 0;
}

void XcbQuestions::add(unsigned int request, Answered answered)
{
    questions.push_back({ request, std::move(answered) });
}

bool XcbQuestions::takeAnswers()
{
    bool hasCome = false;
    void* reply = nullptr;
    // In the order of the questions, as they come.
    while (!questions.empty()
        && xcb_poll_for_reply(connection, questions.front().request, &reply, nullptr) != 0) {
        const XcbReply<void> answer(std::exchange(reply, nullptr));
        const auto answered = std::move(questions.front().answered);
        questions.pop_front();
        answered(answer.get());
        hasCome = true;
    }
    return hasCome;
}
