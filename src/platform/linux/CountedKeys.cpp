#include "platform/linux/CountedKeys.h"

#include <X11/keysym.h>

namespace {

bool isModifierOrLock(std::uint32_t keysym)
{
    return (XK_Shift_L <= keysym
               && keysym <= XK_Hyper_R) // with Control, Caps Lock, Shift Lock, Meta, Alt, Super
        || (XK_ISO_Lock <= keysym && keysym <= XK_ISO_Level5_Lock) // AltGr and the keys that switch layouts
        || (XK_Kana_Lock <= keysym && keysym <= XK_Eisu_Shift) //
        || keysym == XK_Mode_switch || keysym == XK_Num_Lock || keysym == XK_Scroll_Lock;
}

// The range of the symbols called XF86...: everything on a keyboard that neither types nor edits nor moves
// the cursor, but controls the machine or starts a program.
bool isMachineControl(std::uint32_t keysym) { return 0x10080001 <= keysym && keysym <= 0x1008FFFF; }

}

bool countsAsKey(std::uint32_t keysym) { return !isModifierOrLock(keysym) && !isMachineControl(keysym); }

KeyCodes uncountedKeys(std::span<const std::uint8_t> modifiers, std::uint8_t firstCode,
    std::span<const std::uint32_t> symbols, std::size_t symbolsPerKey)
{
    KeyCodes uncounted;
    for (const std::uint8_t code : modifiers)
        uncounted.set(code);
    std::size_t code = firstCode;
    for (std::size_t alone = 0; alone < symbols.size(); alone += symbolsPerKey) {
        if (!countsAsKey(symbols[alone]))
            uncounted.set(code);
        ++code;
    }
    return uncounted;
}
