#pragma once

#include "platform/linux/input/CountedKeys.h"

#include <xcb/xcb.h>

#include <optional>

/// Which keys of an X server's keyboard count, as its layout is. Never waits for the server: it asks, and the
/// answer is taken from what the connection has received.
class KeyboardMap final {
public:
    /// The connection must outlive it, and may be one that failed.
    explicit KeyboardMap(xcb_connection_t* connection)
        : connection(connection)
    {
    }

    /// The server has announced another layout. It is to be asked for when it matters, since a layout that is
    /// loaded announces itself many times.
    void change() { hasChanged = true; }

    /// Whether the layout is known as it is since its last change.
    bool isKnown();
    /// Whether the server owes an answer.
    bool isAwaited() const { return question.has_value(); }
    /// Not while an answer is awaited.
    void ask();

    /// Whether a key counts, by the layout that was known last. Which key it was is kept nowhere, but for
    /// those that are down on the keyboards of programs (`HeldKeys`).
    bool counts(std::uint32_t code) const { return code < uncounted.size() && !uncounted[code]; }

private:
    /// The numbers of two requests that the server has not answered yet.
    struct Question {
        unsigned int modifiers = 0;
        unsigned int symbols = 0;
    };

    void take();

    xcb_connection_t* connection;
    bool hasChanged = true;
    std::optional<Question> question;
    KeyCodes uncounted;
};
