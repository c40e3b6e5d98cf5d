#pragma once

#include <filesystem>
#include <optional>
#include <vector>

class Folders;

/// Where pictures lie that are handed to other programs, which may read them late: in the runtime folder, and
/// without one beside the daily totals. There is one such folder for all of them, readable by the user alone.
class SharedPictures final {
public:
    /// The folders must outlive it.
    explicit SharedPictures(const Folders& folders);

    /// The folder, made where it is not there; nothing when it cannot be the user's alone.
    std::optional<std::filesystem::path> folder() const;
    /// Deletes it with all that is in it, also what another process has left there that did not come to an
    /// orderly end.
    void clear() const;

private:
    std::vector<std::filesystem::path> places() const;

    const Folders& folders;
};
