#pragma once

#include <ApplicationServices/CGEventTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CGEventSourceGetTypeID(void);
/// Create rule; null for a state that there is not.
CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID stateID);
CGEventSourceStateID CGEventSourceGetSourceStateID(CGEventSourceRef source);

#ifdef __cplusplus
}
#endif
