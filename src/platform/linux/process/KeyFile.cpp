#include "platform/linux/process/KeyFile.h"

#include "platform/linux/process/Text.h"

#include <fstream>

namespace {

constexpr std::uintmax_t largestKeyFile = 1024 * 1024;

std::optional<KeyGroup> parseKeyGroup(std::istream& lines, std::string_view group)
{
    const auto header = "[" + std::string(group) + "]";
    std::optional<KeyGroup> keys;
    bool isInGroup = false;
    for (std::string line; std::getline(lines, line);) {
        const std::string_view text = trimmed(line);
        if (text.starts_with('[')) {
            isInGroup = text == header;
            if (isInGroup && !keys)
                keys.emplace();
            continue;
        }
        const auto equals = text.find('=');
        if (!isInGroup || text.starts_with('#') || equals == std::string_view::npos)
            continue;
        (*keys)[std::string(trimmed(text.substr(0, equals)))] = trimmed(text.substr(equals + 1));
    }
    return keys;
}

}

std::optional<KeyGroup> readKeyGroup(const std::filesystem::path& file, std::string_view group)
{
    std::error_code unreadable;
    if (!std::filesystem::is_regular_file(file, unreadable))
        return {};
    if (std::filesystem::file_size(file, unreadable) > largestKeyFile)
        return {};
    std::ifstream lines(file);
    return parseKeyGroup(lines, group);
}

std::string_view valueOf(const KeyGroup& group, const std::string& key)
{
    const auto found = group.find(key);
    return found == group.end() ? std::string_view() : found->second;
}

bool isTrue(const KeyGroup& group, const std::string& key)
{
    const auto value = valueOf(group, key);
    return value == "true" || value == "1";
}

bool isFalse(const KeyGroup& group, const std::string& key)
{
    const auto value = valueOf(group, key);
    return value == "false" || value == "0";
}
