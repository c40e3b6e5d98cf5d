#include "platform/linux/input/CountedKeys.h"

#include <X11/XF86keysym.h>
#include <X11/keysym.h>

#include <algorithm>

namespace {

bool isModifierOrLock(std::uint32_t keysym)
{
    return (XK_Shift_L <= keysym
               && keysym <= XK_Hyper_R) // with Control, Caps Lock, Shift Lock, Meta, Alt, Super
        || (XK_ISO_Lock <= keysym && keysym <= XK_ISO_Level5_Lock) // AltGr and the keys that switch layouts
        || (XK_Kana_Lock <= keysym && keysym <= XK_Eisu_Shift) //
        || keysym == XK_Mode_switch || keysym == XK_Num_Lock || keysym == XK_Scroll_Lock;
}

/// Keys that start a program or tell one what to do; F13 to F18 are among them on most layouts.
bool isApplicationKey(std::uint32_t keysym)
{
    if (XF86XK_Launch0 <= keysym && keysym <= XF86XK_LaunchF)
        return true;
    switch (keysym) {
    case XF86XK_Back:
    case XF86XK_Calculator:
    case XF86XK_Close:
    case XF86XK_Copy:
    case XF86XK_Cut:
    case XF86XK_DOS:
    case XF86XK_Documents:
    case XF86XK_Explorer:
    case XF86XK_Favorites:
    case XF86XK_Finance:
    case XF86XK_Forward:
    case XF86XK_Game:
    case XF86XK_HomePage:
    case XF86XK_Mail:
    case XF86XK_MailForward:
    case XF86XK_MenuKB:
    case XF86XK_Messenger:
    case XF86XK_MyComputer:
    case XF86XK_New:
    case XF86XK_Open:
    case XF86XK_Paste:
    case XF86XK_Phone:
    case XF86XK_Reload:
    case XF86XK_Reply:
    case XF86XK_Save:
    case XF86XK_ScrollDown:
    case XF86XK_ScrollUp:
    case XF86XK_Search:
    case XF86XK_Send:
    case XF86XK_Shop:
    case XF86XK_TaskPane:
    case XF86XK_Tools:
    case XF86XK_WWW:
    case XF86XK_Xfer:
        return true;
    default:
        return false;
    }
}

// Of the symbols called XF86..., those that control the machine.
bool isMachineControl(std::uint32_t keysym)
{
    return 0x10080001 <= keysym && keysym <= 0x1008FFFF && !isApplicationKey(keysym);
}

}

bool countsAsKey(std::uint32_t keysym) { return !isModifierOrLock(keysym) && !isMachineControl(keysym); }

KeyCodes uncountedKeys(std::span<const std::uint8_t> modifiers, std::uint8_t firstCode,
    std::span<const std::uint32_t> symbols, std::size_t symbolsPerKey)
{
    KeyCodes uncounted;
    for (const std::uint8_t code : modifiers)
        uncounted.set(code);
    // Only a server that is broken, or hostile, says otherwise.
    if (symbolsPerKey == 0)
        return uncounted;
    const auto keys = std::min(symbols.size() / symbolsPerKey, uncounted.size() - firstCode);
    for (std::size_t key = 0; key < keys; ++key) {
        if (!countsAsKey(symbols[key * symbolsPerKey]))
            uncounted.set(firstCode + key);
    }
    return uncounted;
}
