#pragma once

#include "platform/linux/input/CountedKeys.h"

#include <cstdint>
#include <map>

/// Which keys are down now on the keyboards that press a held key again and again, as those of remote
/// sessions do. Of every other keyboard it knows nothing.
class HeldKeys final {
public:
    void watch(std::uint16_t keyboard) { down.try_emplace(keyboard); }
    void forget(std::uint16_t keyboard) { down.erase(keyboard); }

    /// Whether the key was down already.
    bool press(std::uint16_t keyboard, std::uint32_t code)
    {
        const auto keys = down.find(keyboard);
        if (keys == down.end() || code >= keys->second.size())
            return false;
        const bool isRepeated = keys->second[code];
        keys->second.set(code);
        return isRepeated;
    }
    void release(std::uint16_t keyboard, std::uint32_t code)
    {
        const auto keys = down.find(keyboard);
        if (keys != down.end() && code < keys->second.size())
            keys->second.reset(code);
    }

private:
    std::map<std::uint16_t, KeyCodes> down;
};
