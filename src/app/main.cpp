#include "app/KnuckletApp.h"
#include "app/WindowsModuleLoader.h"
#include "platform/Instance.h"
#include "platform/Platform.h"

#include <cstdlib>

int main()
{
    const auto platform = makePlatform();
    if (!platform)
        return EXIT_FAILURE;
    if (!platform->instance().claim())
        return 0;
    const WindowsModuleLoader windows;
    const KnuckletApp app(*platform, [&](AppState& state) { return windows.load(*platform, state); });
    return platform->run();
}
