#pragma once

#include_next <AppKit/AppKit.h>

extern "C" {

extern NSString* const NSWorkspaceDidActivateApplicationNotification;
extern NSString* const NSWorkspaceApplicationKey;

}  // extern "C"
