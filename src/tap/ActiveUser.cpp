#include "tap/ActiveUser.h"

#include "tap/Folder.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace {

/// The number in the line that begins with "ACTIVE_UID="; nothing when nobody uses the seat.
std::optional<uid_t> activeUser(std::string_view seat)
{
    constexpr std::string_view key = "\nACTIVE_UID=";
    const auto found = seat.find(key);
    if (found == std::string_view::npos)
        return std::nullopt;
    seat.remove_prefix(found + key.size());
    uid_t user = 0;
    const auto parsed = std::from_chars(seat.data(), seat.data() + seat.size(), user);
    return parsed.ptr == seat.data() ? std::nullopt : std::optional(user);
}

}

bool isActiveUser()
{
    bool isActive = false;
    bool isAnother = false;
    forEachEntry(seatFolder, [&](int folder, const char* name) {
        // Files that are being written have names with a dot, as do the folder and its parent.
        const int seat = *name == '.' ? -1 : openat(folder, name, openFlags);
        if (seat < 0)
            return;
        char text[4096];
        text[0] = '\n';
        const ssize_t size = read(seat, text + 1, sizeof text - 1);
        close(seat);
        if (const auto user
            = size < 0 ? std::nullopt : activeUser({ text, static_cast<std::size_t>(size) + 1 }))
            (*user == getuid() ? isActive : isAnother) = true;
    });
    return isActive && !isAnother;
}
