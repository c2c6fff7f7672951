#pragma once

#include <CoreFoundation/CFBase.h>

/// Points in time: Apple's names, the subset in use. From any thread.

/// Seconds.
typedef double CFTimeInterval;
/// Seconds since 2001-01-01 00:00:00 UTC.
typedef CFTimeInterval CFAbsoluteTime;

typedef const struct __CFDate* CFDateRef;

#ifdef __cplusplus
extern "C" {
#endif

/// Seconds from 1970-01-01 to the origin of CFAbsoluteTime, both 00:00:00 UTC.
extern const CFTimeInterval kCFAbsoluteTimeIntervalSince1970;

/// The wall clock. It follows changes of the system's time; timers do not.
CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

CFTypeID CFDateGetTypeID(void);
/// Create rule.
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate);

#ifdef __cplusplus
}
#endif
