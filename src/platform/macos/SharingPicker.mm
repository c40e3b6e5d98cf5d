#include "platform/macos/SharingPicker.h"

#include "platform/macos/Strings.h"

#import <AppKit/AppKit.h>

void SharingPicker::share(std::string_view png, const std::string& title)
{
    NSImage* const picture = [[NSImage alloc] initWithData:systemData(png)];
    NSWindow* const window = NSApp.keyWindow;
    NSView* const view = window.contentView;
    if (!picture || !view)
        return;
    NSPreviewRepresentingActivityItem* const item =
        [[NSPreviewRepresentingActivityItem alloc] initWithItem:picture
                                                          title:systemString(title)
                                                          image:picture
                                                           icon:nil];
    picker = [[NSSharingServicePicker alloc] initWithItems:@[ item ]];
    const NSPoint pointer = [view convertPoint:window.mouseLocationOutsideOfEventStream fromView:nil];
    [picker showRelativeToRect:NSMakeRect(pointer.x, pointer.y, 1, 1)
                        ofView:view
                 preferredEdge:NSRectEdgeMinY];
}
