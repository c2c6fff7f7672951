// Tells by its status whether somebody holds a keyboard: then nobody else hears what it sends.
// Asked again and again by cases that wait, for which an interpreter takes too long to start in the
// emulator. To try and hold it would keep it from who is just about to.
//
//     is-held NODE

#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

#include <array>

namespace {

/// Has the keyboard send what means nothing to a session; all that a test uses have such codes.
bool Send(int keyboard) {
    std::array<input_event, 2> events{};
    events[0].type = EV_MSC;
    events[0].code = MSC_SCAN;
    events[1].type = EV_SYN;
    return write(keyboard, events.data(), sizeof events) == sizeof events;
}

bool Hears(int keyboard) {
    input_event event{};
    while (read(keyboard, &event, sizeof event) == sizeof event) {
        if (event.type == EV_MSC) return true;
    }
    return false;
}

}  // namespace

int main(int, char** argv) {
    const int keyboard = open(argv[1], O_RDWR | O_NONBLOCK);
    if (keyboard < 0) return 2;
    return Send(keyboard) && !Hears(keyboard) ? 0 : 1;
}
