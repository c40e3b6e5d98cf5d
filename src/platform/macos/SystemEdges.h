#pragma once

#include "platform/WindowEdges.h"

/// The system rounds its windows, and throws their shadows, itself.
class SystemEdges final : public WindowEdges {
public:
    WindowEdge edge() const override { return WindowEdge::Square; }
    void setShadow(NativeWindow, const WindowShadow&) override { }
    bool isHeld() const override { return true; }
    Observers::Subscription observe(std::function<void()>) override { return {}; }
};
