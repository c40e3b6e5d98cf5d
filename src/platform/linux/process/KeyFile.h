#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

/// One group of a key file, such as a desktop entry: what stands in front of each "=", and behind it as it is
/// written there.
using KeyGroup = std::unordered_map<std::string, std::string>;

/// Nothing when there is no such file or no such group in it, and when the file is something that must not be
/// read, such as a FIFO. Of a repeated key, the last one counts.
std::optional<KeyGroup> readKeyGroup(const std::filesystem::path& file, std::string_view group);

/// Empty for a key that the group does not have.
std::string_view valueOf(const KeyGroup& group, const std::string& key);
/// Desktops write "true" and "false"; "1" and "0" are what files of old had.
bool isTrue(const KeyGroup& group, const std::string& key);
bool isFalse(const KeyGroup& group, const std::string& key);
