#pragma once

#include "platform/linux/input/CountedKeys.h"

#include <cstdint>
#include <map>

/// Which keys are down now on the keyboards that press a held key again and again, as those of remote
/// sessions do. Of every other keyboard it knows nothing.
class HeldKeys final {
public:
    /// From the event on that bears the number of this request, the server tells of the keyboard's releases.
    void watch(std::uint16_t keyboard, std::uint32_t request)
    {
        keyboards.insert_or_assign(keyboard, Keyboard { .request = request });
    }
    void forget(std::uint16_t keyboard) { keyboards.erase(keyboard); }

    /// Whether the key was down already. Of a press before that request nobody would hear that it has ended.
    bool press(std::uint16_t keyboard, std::uint32_t code, std::uint32_t sequence)
    {
        const auto found = keyboards.find(keyboard);
        if (found == keyboards.end())
            return false;
        auto& [request, down] = found->second;
        // The numbers begin again at zero.
        const bool isBefore = static_cast<std::int32_t>(sequence - request) < 0;
        if (isBefore || code >= down.size())
            return false;
        const bool isRepeated = down[code];
        down.set(code);
        return isRepeated;
    }
    void release(std::uint16_t keyboard, std::uint32_t code)
    {
        const auto found = keyboards.find(keyboard);
        if (found != keyboards.end() && code < found->second.down.size())
            found->second.down.reset(code);
    }

private:
    struct Keyboard {
        std::uint32_t request = 0;
        KeyCodes down {};
    };

    std::map<std::uint16_t, Keyboard> keyboards;
};
