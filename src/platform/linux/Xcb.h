#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
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

/// The root window of the first screen, which on every server of today is the only one.
xcb_window_t rootWindow(xcb_connection_t* connection);

/// Asks the server; XCB_ATOM_NONE when the connection has failed.
xcb_atom_t atom(xcb_connection_t* connection, std::string_view name);
