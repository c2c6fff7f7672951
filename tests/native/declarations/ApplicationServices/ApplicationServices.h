#pragma once

#include_next <ApplicationServices/ApplicationServices.h>

extern "C" {

Boolean AXIsProcessTrusted(void);
bool CGPreflightListenEventAccess(void);

}  // extern "C"
