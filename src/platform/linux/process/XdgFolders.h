#pragma once

#include "platform/Folders.h"

class XdgFolders final : public Folders {
public:
    std::optional<std::filesystem::path> applicationSupport() const override;
    std::optional<std::filesystem::path> picture(std::string_view name) const override;
};
