#pragma once

#include "platform/Folders.h"

/// The user's Application Support, and the resources of the application bundle.
class UserFolders final : public Folders {
public:
    std::optional<std::filesystem::path> applicationSupport() const override;
    std::optional<std::filesystem::path> picture(std::string_view name) const override;
};
