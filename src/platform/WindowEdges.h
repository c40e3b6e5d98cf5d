#pragma once

#include "platform/WindowActivation.h"
#include "support/Observers.h"

#include <functional>

/// How a window without a frame of the desktop's may end.
enum class WindowEdge {
    /// It covers its whole rectangle: what it left transparent would be black.
    Square,
    /// What it leaves transparent shows what is behind it.
    Round,
    /// The same, and it may be larger than it looks, by the shadow that it draws around itself.
    RoundWithShadow,
};

/// The size of a window and the margin on each side of it that is only shadow, in pixels.
struct WindowShadow {
    int width = 0;
    int height = 0;
    int margin = 0;
};

/// What the desktop makes of windows without a frame.
class WindowEdges {
public:
    virtual ~WindowEdges() = default;

    /// Asks the desktop; before each showing.
    virtual WindowEdge edge() const = 0;
    /// The shadow is no part of the window for whoever places or clicks it. To be said again after each
    /// change of its size.
    virtual void setShadow(NativeWindow window, const WindowShadow& shadow) = 0;
    /// Whether the left mouse button is down now, by which such a window is moved. What the window has heard
    /// of the button may be older.
    virtual bool isHeld() const = 0;
    /// Calls when the answer may be another one, for as long as the subscription is kept.
    [[nodiscard]] virtual Observers::Subscription observe(std::function<void()> changed) = 0;
};
