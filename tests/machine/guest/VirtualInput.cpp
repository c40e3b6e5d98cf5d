#include "machine/guest/VirtualInput.h"

#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

VirtualInput::VirtualInput(const std::string& name)
    : device(open("/dev/uinput", O_WRONLY | O_CLOEXEC))
{
    bool succeeds = device >= 0;
    for (const int type : { EV_KEY, EV_REL, EV_REP })
        succeeds = succeeds && ioctl(device, UI_SET_EVBIT, type) == 0;
    for (int code = 1; code <= BTN_TASK; ++code) {
        if (code < KEY_MICMUTE || code >= BTN_LEFT)
            succeeds = succeeds && ioctl(device, UI_SET_KEYBIT, code) == 0;
    }
    for (const int axis : { REL_X, REL_Y, REL_WHEEL })
        succeeds = succeeds && ioctl(device, UI_SET_RELBIT, axis) == 0;
    uinput_setup setup {};
    setup.id = { BUS_VIRTUAL, 1, 1, 1 };
    name.copy(setup.name, sizeof setup.name - 1);
    if (!succeeds || ioctl(device, UI_DEV_SETUP, &setup) != 0 || ioctl(device, UI_DEV_CREATE) != 0)
        std::abort();
}

VirtualInput::~VirtualInput() { close(device); }

void VirtualInput::send(std::uint16_t type, std::uint16_t code, std::int32_t value)
{
    input_event event {};
    event.type = type;
    event.code = code;
    event.value = value;
    if (write(device, &event, sizeof event) != sizeof event)
        std::abort();
}

void VirtualInput::finish() { send(EV_SYN, SYN_REPORT, 0); }
