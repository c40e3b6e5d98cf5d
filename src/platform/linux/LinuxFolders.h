#pragma once

#include "platform/Folders.h"

class LinuxFolders final : public Folders {
public:
    std::optional<std::filesystem::path> applicationSupport() const override;
};
