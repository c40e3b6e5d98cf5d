#pragma once

#include <filesystem>
#include <optional>
#include <string>

/// Where the program lies that a desktop finds under this name or path; nothing when it finds none.
std::optional<std::filesystem::path> findProgram(const std::string& name);
