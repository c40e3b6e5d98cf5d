#pragma once

#include "platform/WindowActivation.h"

/// Asks the X window manager the way that panels and pagers do, which no manager refuses in order to keep
/// the keyboard where it is. On Wayland it has nothing to add to the toolkit's own request.
class X11Activation final : public WindowActivation {
public:
    void activate(NativeWindow window) override;
};
