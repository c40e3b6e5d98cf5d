#pragma once

#include <filesystem>
#include <optional>
#include <vector>

/// One of the user's base folders: the value of the environment variable where that is an absolute path, else
/// the folder of the given name below the home folder; nothing when neither is known. The environment is read
/// at each call.
std::optional<std::filesystem::path> baseFolder(const char* variable, const char* belowHome);

/// Where what lives no longer than the user's session lies; nothing where there is no such folder.
std::optional<std::filesystem::path> runtimeFolder();

/// Where the user's configuration lives.
std::optional<std::filesystem::path> configurationFolder();
/// Where configuration and data of every program may lie: the user's own folder first, then those of the
/// machine.
std::vector<std::filesystem::path> configurationFolders();
std::vector<std::filesystem::path> dataFolders();
