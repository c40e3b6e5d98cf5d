#include "platform/macos/FrontWindow.h"

#include "platform/macos/NativeWindows.h"

#import <AppKit/AppKit.h>

namespace {

constexpr NSWindowStyleMask closeOnly
    = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskFullSizeContentView;
static_assert(closeOnly == 32771);
static_assert(closeOnly == 0x8003);
static_assert(NSWindowTitleHidden == 1);

void style(NSWindow* window)
{
    window.styleMask = closeOnly;
    window.titlebarAppearsTransparent = YES;
    window.titleVisibility = NSWindowTitleHidden;
    window.movableByWindowBackground = YES;
    window.releasedWhenClosed = NO;
}

}

void FrontWindow::activate(NativeWindow handle)
{
    NSWindow* const window = nativeWindow(handle);
    // The panel, a tool window of the toolkit, is of the system's class for panels and stays without a frame.
    const bool isPanel = [window isKindOfClass:NSPanel.class];
    if (!isPanel && window.styleMask != closeOnly)
        style(window);
    [NSApp activateIgnoringOtherApps:YES];
    [window makeKeyAndOrderFront:nil];
}
