#pragma once

#include "platform/Settings.h"

/// The settings in `Knucklet/Knucklet.conf` below the user's configuration folder, an INI file that people
/// may edit.
class SettingsFile final : public Settings {
public:
    bool boolean(std::string_view key) const override;
    void setBoolean(std::string_view key, bool value) override;
};
