#include "platform/linux/input/KeyboardMap.h"

#include "platform/linux/Xcb.h"

#include <xcb/xcbext.h>

#include <span>
#include <utility>

bool KeyboardMap::isKnown()
{
    if (question)
        take();
    return !question && !hasChanged;
}

void KeyboardMap::ask()
{
    const xcb_setup_t& setup = *xcb_get_setup(connection);
    question = Question {
        .modifiers = xcb_get_modifier_mapping(connection).sequence,
        .symbols = xcb_get_keyboard_mapping(connection, setup.min_keycode,
            static_cast<std::uint8_t>(setup.max_keycode - setup.min_keycode + 1))
                       .sequence,
    };
    // A change that comes from here on may be missing in the answer.
    hasChanged = false;
    flush(connection);
}

/// Leaves the question as it is while the server owes the answer.
void KeyboardMap::take()
{
    const auto poll = [this](unsigned int request, void** reply) {
        return xcb_poll_for_reply(connection, request, reply, nullptr) != 0;
    };
    void* answer = nullptr;
    if (!poll(question->symbols, &answer))
        return;
    const XcbReply<xcb_get_keyboard_mapping_reply_t> symbols(
        static_cast<xcb_get_keyboard_mapping_reply_t*>(std::exchange(answer, nullptr)));
    // Answers come in the order of the questions.
    poll(question->modifiers, &answer);
    const XcbReply<xcb_get_modifier_mapping_reply_t> modifiers(
        static_cast<xcb_get_modifier_mapping_reply_t*>(answer));
    question.reset();
    if (!modifiers || !symbols)
        return;

    uncounted = uncountedKeys(
        { xcb_get_modifier_mapping_keycodes(modifiers.get()),
            static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(modifiers.get())) },
        xcb_get_setup(connection)->min_keycode,
        { xcb_get_keyboard_mapping_keysyms(symbols.get()),
            static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(symbols.get())) },
        symbols->keysyms_per_keycode);
}
