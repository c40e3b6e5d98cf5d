#pragma once

#include "platform/WindowActivation.h"

/// Brings the program, which has no icon in the Dock, and its window to the front. The toolkit's windows, the
/// panel apart, get the frame of the system that they are made without: the content reaches under a
/// transparent title bar.
class FrontWindow final : public WindowActivation {
public:
    void activate(NativeWindow window) override;
};
