#pragma once

#include "platform/SavePanel.h"

/// The system's save panel, free-standing and for PNG files only.
class PngSavePanel final : public SavePanel {
public:
    void begin(
        const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen) override;
};
