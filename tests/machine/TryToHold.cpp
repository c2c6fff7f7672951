// Holds a keyboard for a moment; fails when somebody else holds it. Asked again and again by cases
// that wait, for which an interpreter takes too long to start in the emulator. Leaves the lights as
// they were.
//
//     try-to-hold NODE

#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>

#include "keyboard/evdev/Grab.h"

int main(int, char** argv) {
    const int device = open(argv[1], O_RDWR | O_NONBLOCK);
    if (device < 0 || ioctl(device, EVIOCGRAB, 1) != 0) return 1;
    kivo::keyboard::evdev::EndGrab(device);
    return 0;
}
