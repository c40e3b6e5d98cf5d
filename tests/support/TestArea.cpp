#include "support/TestArea.h"

#include <iostream>
#include <map>
#include <string_view>

namespace {

/// Made by its first use, which is an area of any of the program's files.
std::map<std::string_view, TestArea::Run>& areas()
{
    static std::map<std::string_view, TestArea::Run> areas;
    return areas;
}

}

TestArea::TestArea(const char* name, Run run) { areas().emplace(name, run); }

int main(int argc, char* argv[])
{
    const auto area = argc > 1 ? areas().find(argv[1]) : areas().end();
    if (area == areas().end()) {
        std::cerr << "usage: " << argv[0] << " AREA [options of Qt Test]\n";
        for (const auto& each : areas())
            std::cerr << "    " << each.first << '\n';
        return 2;
    }
    // Qt Test knows nothing of areas.
    argv[1] = argv[0];
    return area->second(argc - 1, argv + 1);
}
