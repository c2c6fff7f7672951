#pragma once

#include <sched.h>

namespace kivo::bench {

/// Where the processes of the benchmark run. On a machine with more cores than processes each has
/// a core to itself, and to hand something over wakes another core. Where there are few, the
/// scheduler puts two that take turns on one core, or not, and keeps to it for as long as they
/// live: the figures of one run then say little about the next. So each is given its core.
///
/// Keeps this process, and those that it starts, on the first of its cores from now on.
void StayOnFirstCore();

/// While it lives processes are started on another core; on the same when there is no other, and
/// nothing changes for who has not called `StayOnFirstCore`.
class OnOtherCore {
  public:
    OnOtherCore();
    ~OnOtherCore();
    OnOtherCore(const OnOtherCore&) = delete;
    OnOtherCore& operator=(const OnOtherCore&) = delete;

  private:
    cpu_set_t mBefore;
};

}  // namespace kivo::bench
