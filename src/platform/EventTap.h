#pragma once

#include "platform/Clock.h"

#include <cstdint>
#include <functional>
#include <optional>

/// What an event tap reports. Nothing here tells which key or button was pressed.
struct TapEvent {
    enum class Kind : std::uint8_t {
        Key,
        /// A press that holding the key generates.
        RepeatedKey,
        /// A press of any mouse button.
        Click,
        /// The system has switched the tap off.
        Disabled,
    };

    Kind kind = Kind::Key;
    /// When it was made, where the system tells.
    std::optional<Moment> moment {};
};

/// Observes key presses and mouse presses of the whole session, and changes none.
class EventTap {
public:
    virtual ~EventTap() = default;

    /// The handler is called on the main thread for each event from `enable` on, also while a menu or the
    /// panel is open. False when the system refuses.
    [[nodiscard]] virtual bool create(std::function<void(const TapEvent&)> handler) = 0;
    /// Starts the tap, and again after the system has disabled it.
    virtual void enable() = 0;
};
