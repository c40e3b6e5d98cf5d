#include "tap/ActiveUser.h"

#include "tap/Folder.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace {

enum class Sitter { Nobody, User, Another };

/// Who the line that begins with "ACTIVE_UID=" says it is; without one nobody uses the seat. A number that
/// cannot be read is that of somebody else.
Sitter sitter(std::string_view seat)
{
    constexpr std::string_view key = "\nACTIVE_UID=";
    const auto found = seat.find(key);
    if (found == std::string_view::npos)
        return Sitter::Nobody;
    seat.remove_prefix(found + key.size());
    const char* const end = seat.data() + seat.size();
    uid_t user = 0;
    const auto parsed = std::from_chars(seat.data(), end, user);
    const bool isRead = parsed.ec == std::errc() && parsed.ptr != end && *parsed.ptr == '\n';
    return isRead && user == getuid() ? Sitter::User : Sitter::Another;
}

/// What cannot be read could be anybody's.
Sitter sitter(int folder, const char* name)
{
    const int seat = openat(folder, name, openFlags);
    if (seat < 0)
        return Sitter::Another;
    char text[4096];
    text[0] = '\n';
    const ssize_t size = read(seat, text + 1, sizeof text - 1);
    close(seat);
    return size < 0 ? Sitter::Another : sitter({ text, static_cast<std::size_t>(size) + 1 });
}

}

bool isActiveUser()
{
    bool isActive = false;
    bool isAnother = false;
    forEachEntry(seatFolder, [&](int folder, const char* name) {
        // Files that are being written have names with a dot, as do the folder and its parent.
        const Sitter found = *name == '.' ? Sitter::Nobody : sitter(folder, name);
        isActive |= found == Sitter::User;
        isAnother |= found == Sitter::Another;
    });
    return isActive && !isAnother;
}
