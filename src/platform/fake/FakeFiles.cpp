#include "platform/fake/FakeFiles.h"

std::optional<bool> FakeFiles::setting(const std::string& key) const
{
    const auto found = settingValues.find(key);
    return found == settingValues.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::filesystem::path> FakeFiles::applicationSupport() const
{
    calls.emplace_back("find folder");
    return supportFolder;
}

std::optional<std::filesystem::path> FakeFiles::picture(std::string_view name) const
{
    calls.push_back("find picture " + std::string(name));
    if (!pictureFolder)
        return {};
    auto file = *pictureFolder / name;
    file += ".png";
    return std::filesystem::exists(file) ? std::optional(file) : std::nullopt;
}

bool FakeFiles::boolean(std::string_view key) const
{
    calls.push_back("read " + std::string(key));
    const auto found = settingValues.find(key);
    return found != settingValues.end() && found->second;
}

void FakeFiles::setBoolean(std::string_view key, bool value)
{
    calls.push_back("write " + std::string(key) + (value ? " true" : " false"));
    settingValues.insert_or_assign(std::string(key), value);
}
