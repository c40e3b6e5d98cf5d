#pragma once

#include <linux/input-event-codes.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// A bit for each key code of the kernel, in the order of bytes and bits that its input devices use.
using CodeMask = std::array<std::uint8_t, KEY_CNT / 8>;

/// The keys that count, all of them named here: what the kernel adds later does not count. These are the
/// keys that type, edit or move the cursor, the function keys, and those that start a program or tell one
/// what to do. Modifiers and locks are not among them, nor is what controls the machine: F20 to F23 are what
/// keyboards send for the microphone and the touchpad.
constexpr bool isCountableKey(unsigned code)
{
    switch (code) {
    case KEY_LEFTCTRL:
    case KEY_RIGHTCTRL:
    case KEY_LEFTSHIFT:
    case KEY_RIGHTSHIFT:
    case KEY_LEFTALT:
    case KEY_RIGHTALT:
    case KEY_CAPSLOCK:
    case KEY_NUMLOCK:
    case KEY_SCROLLLOCK:
        return false;
    case KEY_ZENKAKUHANKAKU:
    case KEY_LINEFEED:
    case KEY_KPEQUAL:
    case KEY_KPPLUSMINUS:
    case KEY_PAUSE:
    case KEY_STOP:
    case KEY_AGAIN:
    case KEY_PROPS:
    case KEY_UNDO:
    case KEY_FRONT:
    case KEY_FIND:
    case KEY_HELP:
    case KEY_KPLEFTPAREN:
    case KEY_KPRIGHTPAREN:
    case KEY_REDO:
    case KEY_PRINT:
    case KEY_CANCEL:
    case KEY_COPY:
    case KEY_OPEN:
    case KEY_PASTE:
    case KEY_CUT:
    case KEY_MENU:
    case KEY_CALC:
    case KEY_FILE:
    case KEY_SENDFILE:
    case KEY_XFER:
    case KEY_PROG1:
    case KEY_PROG2:
    case KEY_WWW:
    case KEY_MSDOS:
    case KEY_MAIL:
    case KEY_BOOKMARKS:
    case KEY_COMPUTER:
    case KEY_BACK:
    case KEY_FORWARD:
    case KEY_PHONE:
    case KEY_CONFIG:
    case KEY_HOMEPAGE:
    case KEY_REFRESH:
    case KEY_SCROLLUP:
    case KEY_SCROLLDOWN:
    case KEY_NEW:
    case KEY_PROG3:
    case KEY_PROG4:
    case KEY_DASHBOARD:
    case KEY_SCALE:
    case KEY_CYCLEWINDOWS:
    case KEY_EXIT:
    case KEY_CLOSE:
    case KEY_CHAT:
    case KEY_EMAIL:
    case KEY_SEARCH:
    case KEY_FINANCE:
    case KEY_SPORT:
    case KEY_SHOP:
    case KEY_SEND:
    case KEY_REPLY:
    case KEY_FORWARDMAIL:
    case KEY_SAVE:
    case KEY_DOCUMENTS:
    case KEY_F24:
        return true;
    default:
        return (KEY_ESC <= code && code <= KEY_KPDOT) // the main block, the keypad, F1 to F10
            || (KEY_102ND <= code && code <= KEY_KPSLASH) // F11, F12, the keys of Japanese keyboards
            || (KEY_F13 <= code && code <= KEY_F19) //
            || code == KEY_SYSRQ || (KEY_HOME <= code && code <= KEY_DELETE) //
            || (KEY_KPCOMMA <= code && code <= KEY_YEN) || code == KEY_COMPOSE;
    }
}

/// The buttons of mice and of touchpads that can be pressed down. The wheel has no buttons.
constexpr bool isMouseButton(unsigned code) { return BTN_LEFT <= code && code <= BTN_TASK; }

constexpr CodeMask maskOf(bool (*contains)(unsigned code))
{
    CodeMask mask {};
    for (unsigned code = 0; code < KEY_CNT; ++code) {
        if (contains(code))
            mask[code / 8] = static_cast<std::uint8_t>(mask[code / 8] | 1U << code % 8);
    }
    return mask;
}
