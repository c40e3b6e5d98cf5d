#pragma once

#include "platform/Folders.h"
#include "platform/Settings.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The folders, and the settings.
class FakeFiles final
    : public Folders
    , public Settings {
public:
    FakeFiles(std::vector<std::string>& calls, std::filesystem::path applicationSupport)
        : supportFolder(std::move(applicationSupport))
        , calls(calls)
    {
    }

    std::optional<bool> setting(const std::string& key) const;
    void storeSetting(const std::string& key, bool value) { settingValues[key] = value; }

    std::optional<std::filesystem::path> applicationSupport() const override;
    std::optional<std::filesystem::path> picture(std::string_view name) const override;
    bool boolean(std::string_view key) const override;
    void setBoolean(std::string_view key, bool value) override;

    std::optional<std::filesystem::path> supportFolder;
    std::optional<std::filesystem::path> pictureFolder;

private:
    std::vector<std::string>& calls;
    std::map<std::string, bool, std::less<>> settingValues;
};
