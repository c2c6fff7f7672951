#pragma once

#include <CoreFoundation/CFBase.h>

/// Seconds.
typedef double CFTimeInterval;
/// Seconds since 2001-01-01 00:00:00 UTC.
typedef CFTimeInterval CFAbsoluteTime;

#ifdef __cplusplus
extern "C" {
#endif

/// The wall clock. It follows changes of the system's time; timers do not.
CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

#ifdef __cplusplus
}
#endif
