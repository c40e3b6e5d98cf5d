#pragma once

#include "platform/WindowActivation.h"

@class NSWindow;

/// The system's window of a window of the toolkit, which names it by its view; nil before it has one.
NSWindow* nativeWindow(NativeWindow window);
