// Holds a keyboard for a moment; fails when somebody else holds it. Asked again and again by cases
// that wait, for which an interpreter takes too long to start in the emulator.
//
//     try-to-hold NODE

#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>

int main(int, char** argv) {
    // Closed when the program ends, which ends the grab.
    const int device = open(argv[1], O_RDWR | O_NONBLOCK);
    return device >= 0 && ioctl(device, EVIOCGRAB, 1) == 0 ? 0 : 1;
}
