#include "tests/support/VirtualClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace kivo::test {

VirtualClock::VirtualClock() {
    LoopClock::Install(this);
}

VirtualClock::~VirtualClock() {
    LoopClock::Install(nullptr);
}

CFAbsoluteTime VirtualClock::AbsoluteNow() const {
    return std::chrono::duration<double>(mNow).count();
}

int VirtualClock::Wait(std::span<pollfd> descriptors, std::optional<LoopInstant> deadline) {
    const int ready = poll(descriptors.data(), descriptors.size(), 0);
    if (ready > 0) return ready;
    if (!deadline)
        throw std::logic_error("the run loop waits for ever: nothing can happen any more");
    mNow = std::max(mNow, *deadline);
    return 0;
}

}  // namespace kivo::test
