#pragma once

#include "platform/Folders.h"

class LinuxFolders final : public Folders {
public:
    std::optional<std::filesystem::path> applicationSupport() const override;
    /// Found from where the program lies, so that it may be installed anywhere.
    std::optional<std::filesystem::path> picture(std::string_view name) const override;
};
