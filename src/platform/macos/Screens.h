#pragma once

#include "platform/MenuBarItem.h"
#include "platform/PanelHost.h"

#import <AppKit/AppKit.h>

/// Places on the screens. The system counts them in points from the bottom left of the first screen, the
/// program and its toolkit from the top left.
NSRect flipped(NSRect area);
ScreenPixel screenPixel(NSPoint place);
ScreenArea screenArea(NSRect area);
/// The screen with that place, else the first; nil where there is none.
NSScreen* _Nullable screenAt(ScreenPoint place);
