#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <functional>

/// Plays a user's hands on a display: keys, buttons and motion enter the X server where those of real devices
/// do. What is asked for is sent at the latest by `sync`.
class Injector final {
public:
    explicit Injector(const QByteArray& display);

    void pressKey(std::uint8_t code);
    void releaseKey(std::uint8_t code);
    void typeKey(std::uint8_t code);
    /// Types a key until it has done its work, once a second: a window may be drawn before it has the
    /// keyboard. Whether it has.
    [[nodiscard]] bool typeUntil(xcb_keysym_t symbol, const std::function<bool()>& isDone);

    void pressButton(std::uint8_t button);
    void releaseButton(std::uint8_t button);
    void click(std::uint8_t button = 1);
    void scrollUp() { click(4); }
    void scrollDown() { click(5); }
    void moveTo(std::int16_t x, std::int16_t y);

    /// Between what comes before and after it.
    void pause(std::chrono::milliseconds time);

    /// The key that produces this symbol (of <X11/keysym.h>) without any modifier; 0 when there is none.
    std::uint8_t keyCode(xcb_keysym_t symbol);
    /// Returns when the server has handled everything asked for so far and has sent what follows from it.
    void sync();

private:
    void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x = 0, std::int16_t y = 0);

    XcbConnection connection;
};
