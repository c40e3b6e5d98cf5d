#include "Build.h"
#include "app/WindowsModule.h"
#include "app/WindowsModuleLoader.h"
#include "model/Windows.h"

// For a program that has its windows linked in, in place of WindowsModuleLoader.cpp. They are made at the
// first one that opens all the same.
std::unique_ptr<Windows> WindowsModuleLoader::load(Platform& platform, AppState& state) const
{
    return std::unique_ptr<Windows>(knuckletWindows(buildId, &platform, &state));
}
