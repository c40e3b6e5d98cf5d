#pragma once

#include <filesystem>
#include <optional>

/// Where the user's files live.
class Folders {
public:
    virtual ~Folders() = default;

    /// The user's own, persistent folder for the data of applications, absolute; nothing when there is none.
    /// It need not exist yet.
    virtual std::optional<std::filesystem::path> applicationSupport() const = 0;
};
