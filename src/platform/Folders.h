#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

/// Where files live: the user's, and those that came with the program.
class Folders {
public:
    virtual ~Folders() = default;

    /// The user's own, persistent folder for the data of applications, absolute; nothing when there is none.
    /// It need not exist yet.
    virtual std::optional<std::filesystem::path> applicationSupport() const = 0;
    /// The file of a picture that comes with the program, such as "share-bg"; nothing when it is not there.
    virtual std::optional<std::filesystem::path> picture(std::string_view name) const = 0;
};
