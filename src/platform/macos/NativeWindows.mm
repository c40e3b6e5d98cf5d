#include "platform/macos/NativeWindows.h"

#import <AppKit/AppKit.h>

NSWindow* nativeWindow(NativeWindow window)
{
    NSView* const view = (__bridge NSView*)reinterpret_cast<void*>(window);
    return view.window;
}
