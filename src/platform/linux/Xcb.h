#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <string_view>

struct XcbDisconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

/// A connection that the owner made; never null, but possibly one that failed.
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;

struct XcbFree {
    void operator()(void* memory) const { std::free(memory); }
};

/// A reply or an event: whoever receives one frees it.
template <typename T>
using XcbReply = std::unique_ptr<T, XcbFree>;

struct XcbForget {
    void operator()(xcb_generic_event_t* event) const;
};

/// An event that may name a key: nothing of it stays in the memory that is freed.
using XcbSecretEvent = std::unique_ptr<xcb_generic_event_t, XcbForget>;

/// The root window of the first screen, which on every server of today is the only one.
xcb_window_t rootWindow(xcb_connection_t* connection);

/// Asks the server; XCB_ATOM_NONE when the connection has failed.
xcb_atom_t atom(xcb_connection_t* connection, std::string_view name);

/// Whether what is written goes to the server without waiting. One that has stopped reading would be waited
/// for without end.
bool acceptsRequests(xcb_connection_t* connection);

/// Writes what has been asked for; false when the server is gone. To write to that one would fail the
/// connection, and with it what the server has said and nobody has read yet.
bool flush(xcb_connection_t* connection);

/// What a server has been asked, and answers when it does: nobody waits for it.
class XcbQuestions final {
public:
    /// Null where the server has refused, and when the connection has failed.
    using Answered = std::function<void(const void* reply)>;

    /// The connection must outlive it.
    explicit XcbQuestions(xcb_connection_t* connection)
        : connection(connection)
    {
    }

    /// Takes the number of a request that has been made.
    void add(unsigned int request, Answered answered);
    /// Calls for the answers that the connection has received; whether there were any.
    bool takeAnswers();

private:
    struct Question {
        unsigned int request;
        Answered answered;
    };

    xcb_connection_t* connection;
    std::deque<Question> questions;
};
