// guest-remapper DEVICE: takes a keyboard for itself and plays another one that does the same, as programs do
// that give keys another meaning.

#include "machine/guest/VirtualInput.h"

#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

int main(int, char* arguments[])
{
    const int keyboard = open(arguments[1], O_RDONLY | O_CLOEXEC);
    if (keyboard < 0 || ioctl(keyboard, EVIOCGRAB, 1) != 0)
        return 1;
    VirtualInput remapped("remapped");
    std::cout << "ready" << std::endl;
    input_event event {};
    while (read(keyboard, &event, sizeof event) == sizeof event) {
        if (event.type == EV_KEY && event.value != 2)
            remapped.send(event.type, event.code, event.value);
        if (event.type == EV_SYN)
            remapped.finish();
    }
}
