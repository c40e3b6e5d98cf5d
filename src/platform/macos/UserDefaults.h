#pragma once

#include "platform/Settings.h"

/// The standard user defaults of the process. The system writes them by itself.
class UserDefaults final : public Settings {
public:
    bool boolean(std::string_view key) const override;
    void setBoolean(std::string_view key, bool value) override;
};
