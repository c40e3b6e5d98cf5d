#include "app/WindowsModuleLoader.h"

#include "Build.h"
#include "app/WindowsModule.h"
#include "model/Windows.h"

std::unique_ptr<Windows> WindowsModuleLoader::load(Platform& platform, AppState& state) const
{
    const auto make = reinterpret_cast<decltype(&knuckletWindows)>(module.load("knuckletWindows"));
    return std::unique_ptr<Windows>(make ? make(buildId, &platform, &state) : nullptr);
}
