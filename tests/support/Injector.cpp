#include "support/Injector.h"

#include "support/Patience.h"

#include <QDeadlineTimer>
#include <QTest>

#include <xcb/xtest.h>

Injector::Injector(const QByteArray& display)
    : connection(xcb_connect(display.constData(), nullptr))
{
}

void Injector::pressKey(std::uint8_t code) { fake(XCB_KEY_PRESS, code); }

void Injector::releaseKey(std::uint8_t code) { fake(XCB_KEY_RELEASE, code); }

void Injector::typeKey(std::uint8_t code)
{
    pressKey(code);
    releaseKey(code);
}

bool Injector::typeUntil(xcb_keysym_t symbol, const std::function<bool()>& isDone)
{
    const QDeadlineTimer deadline(patience);
    while (!deadline.hasExpired()) {
        typeKey(keyCode(symbol));
        sync();
        if (QTest::qWaitFor(isDone, 1000))
            return true;
    }
    return false;
}

void Injector::pressButton(std::uint8_t button) { fake(XCB_BUTTON_PRESS, button); }

void Injector::releaseButton(std::uint8_t button) { fake(XCB_BUTTON_RELEASE, button); }

void Injector::click(std::uint8_t button)
{
    pressButton(button);
    releaseButton(button);
}

void Injector::moveTo(std::int16_t x, std::int16_t y) { fake(XCB_MOTION_NOTIFY, 0, x, y); }

void Injector::pause(std::chrono::milliseconds time)
{
    // A motion by nothing, once the time has passed.
    constexpr std::uint8_t relative = 1;
    xcb_test_fake_input(connection.get(), XCB_MOTION_NOTIFY, relative,
        static_cast<std::uint32_t>(time.count()), XCB_WINDOW_NONE, 0, 0, 0);
}

std::uint8_t Injector::keyCode(xcb_keysym_t symbol)
{
    const xcb_setup_t* setup = xcb_get_setup(connection.get());
    if (!setup)
        return 0;
    const int first = setup->min_keycode;
    const int count = setup->max_keycode - first + 1;
    const auto cookie
        = xcb_get_keyboard_mapping(connection.get(), setup->min_keycode, static_cast<std::uint8_t>(count));
    const XcbReply<xcb_get_keyboard_mapping_reply_t> reply(
        xcb_get_keyboard_mapping_reply(connection.get(), cookie, nullptr));
    if (!reply)
        return 0;

    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    for (int key = 0; key < count; ++key) {
        if (symbols[key * reply->keysyms_per_keycode] == symbol)
            return static_cast<std::uint8_t>(first + key);
    }
    return 0;
}

void Injector::sync()
{
    const XcbReply<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
}

void Injector::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y)
{
    xcb_test_fake_input(connection.get(), type, detail, XCB_CURRENT_TIME, XCB_WINDOW_NONE, x, y, 0);
}
