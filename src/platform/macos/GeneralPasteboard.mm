#include "platform/macos/GeneralPasteboard.h"

#include "platform/macos/Strings.h"

#import <AppKit/AppKit.h>

// The picture as an object: which kinds of data it is pasted as is the system's affair.
void GeneralPasteboard::setPicture(std::string_view png)
{
    NSImage* const picture = [[NSImage alloc] initWithData:systemData(png)];
    if (!picture)
        return;
    NSPasteboard* const pasteboard = NSPasteboard.generalPasteboard;
    [pasteboard clearContents];
    [pasteboard writeObjects:@[ picture ]];
}
