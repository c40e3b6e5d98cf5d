#include "platform/macos/MacWindowPlatform.h"

std::unique_ptr<WindowPlatform> makeWindowPlatform(Platform&)
{
    return std::make_unique<MacWindowPlatform>();
}
