#pragma once

// Stands for the part of AppKit that platform/macos uses, so that its files can be run where there
// is no macOS. The Foundation is GNUstep's. Each class says what the test has told it to.

#import <Foundation/Foundation.h>

extern NSString* const NSWorkspaceDidActivateApplicationNotification;
extern NSString* const NSWorkspaceApplicationKey;

@interface NSRunningApplication : NSObject {
  @public
    pid_t processID;
    NSString* bundleID;
    NSURL* place;
}
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)bundleIdentifier;
- (pid_t)processIdentifier;
- (NSString*)bundleIdentifier;
- (NSURL*)bundleURL;
@end

@interface NSWorkspace : NSObject
+ (NSWorkspace*)sharedWorkspace;
- (NSRunningApplication*)frontmostApplication;
- (NSNotificationCenter*)notificationCenter;
@end

@interface NSEvent : NSObject
+ (NSPoint)mouseLocation;
@end

@interface NSScreen : NSObject
+ (NSScreen*)mainScreen;
- (NSRect)frame;
@end
