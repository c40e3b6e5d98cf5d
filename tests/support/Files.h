#pragma once

#include <filesystem>
#include <set>
#include <string>

// These read and write in the plainest way, and never by what is under test.

void put(const std::filesystem::path& file, const std::string& content);
std::string contentOf(const std::filesystem::path& file);
std::set<std::string> namesIn(const std::filesystem::path& folder);
