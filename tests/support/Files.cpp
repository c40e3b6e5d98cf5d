#include "support/Files.h"

#include <fstream>
#include <sstream>

void put(const std::filesystem::path& file, const std::string& content)
{
    std::ofstream(file, std::ios::binary) << content;
}

std::string contentOf(const std::filesystem::path& file)
{
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

std::set<std::string> namesIn(const std::filesystem::path& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}
