#include "platform/macos/MacPlatform.h"

#include "platform/macos/UserLanguage.h"

#import <AppKit/AppKit.h>

#include <cstdlib>

static_assert(NSApplicationActivationPolicyAccessory == 1);

std::filesystem::path placeFolder(const Folders& folders)
{
    const auto support = folders.applicationSupport();
    return support ? *support / "Knucklet" : std::filesystem::path();
}

// The application object ends the process itself once the observers of its end have run.
int MacPlatform::run()
{
    [NSApp run];
    return EXIT_SUCCESS;
}

std::unique_ptr<Platform> makePlatform()
{
    adoptUserLanguage();
    // The policy is what LSUIElement says as well; a program that is run outside of its bundle has no such
    // file.
    [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyAccessory];
    return std::make_unique<MacPlatform>();
}
