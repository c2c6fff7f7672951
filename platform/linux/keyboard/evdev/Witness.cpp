#include "keyboard/evdev/Witness.h"

#include <fcntl.h>
#include <unistd.h>

#include "keyboard/evdev/Node.h"

namespace kivo::keyboard::evdev {

Witness::Witness(int descriptor) : mDescriptor(OpenAgain(descriptor, O_RDONLY)) {}

void Witness::Listen() {
    mFirst.reset();
    input_event event{};
    while (read(mDescriptor.Get(), &event, sizeof event) == sizeof event) {
        if (!mFirst) mFirst = event;
        mLast = event;
    }
}

}  // namespace kivo::keyboard::evdev
