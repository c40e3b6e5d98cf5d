#pragma once

#include "platform/Folders.h"

/// Folders in the one place that a test gives, or nowhere.
class OneFolder final : public Folders {
public:
    explicit OneFolder(std::optional<std::filesystem::path> folder)
        : folder(std::move(folder))
    {
    }

    std::optional<std::filesystem::path> applicationSupport() const override { return folder; }
    std::optional<std::filesystem::path> picture(std::string_view) const override { return {}; }

    std::optional<std::filesystem::path> folder;
};
