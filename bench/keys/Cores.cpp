#include "bench/keys/Cores.h"

#include <optional>

namespace kivo::bench {
namespace {

/// The core for those that are handed something; none before anybody is given a core.
std::optional<int>& OtherCore() {
    static std::optional<int> core;
    return core;
}

void StayOn(int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

}  // namespace

void StayOnFirstCore() {
    cpu_set_t cores;
    sched_getaffinity(0, sizeof cores, &cores);
    int first = 0;
    while (!CPU_ISSET(first, &cores)) {
        ++first;
    }
    int other = CPU_SETSIZE - 1;
    while (!CPU_ISSET(other, &cores)) {
        --other;
    }
    OtherCore() = other;
    StayOn(first);
}

OnOtherCore::OnOtherCore() {
    sched_getaffinity(0, sizeof mBefore, &mBefore);
    if (OtherCore()) StayOn(*OtherCore());
}

OnOtherCore::~OnOtherCore() {
    sched_setaffinity(0, sizeof mBefore, &mBefore);
}

}  // namespace kivo::bench
