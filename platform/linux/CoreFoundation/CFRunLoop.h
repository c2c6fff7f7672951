#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDate.h>

/// Run loops, their sources and timers: Apple's names, the subset in use. Observers and blocks are
/// left out.
///
/// Each thread has one loop, made at its first use. Adding, removing, Stop and WakeUp are safe
/// from any thread; a loop is run by its own thread only, and its callbacks come there.

typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef struct __CFRunLoopTimer* CFRunLoopTimerRef;

/// A mode is named by a string; equal strings name the same mode.
typedef CFStringRef CFRunLoopMode;

typedef CF_ENUM(SInt32, CFRunLoopRunResult) {
    /// The mode has neither sources nor timers.
    kCFRunLoopRunFinished = 1,
    kCFRunLoopRunStopped = 2,
    kCFRunLoopRunTimedOut = 3,
    kCFRunLoopRunHandledSource = 4
};

#ifdef __cplusplus
extern "C" {
#endif

extern const CFRunLoopMode kCFRunLoopDefaultMode;
/// Stands for all common modes, those of the future included, when something is added, removed or
/// looked for. Recognised by its address; it cannot be run.
extern const CFRunLoopMode kCFRunLoopCommonModes;

CFTypeID CFRunLoopGetTypeID(void);
/// The calling thread's loop; lent, lives as long as the thread.
CFRunLoopRef CFRunLoopGetCurrent(void);
CFRunLoopRef CFRunLoopGetMain(void);
/// The mode of the innermost run, or null when the loop is not running. Create rule.
CFRunLoopMode CFRunLoopCopyCurrentMode(CFRunLoopRef runLoop);
/// Makes a mode common: it gets all items of the common modes, now and later. For ever.
void CFRunLoopAddCommonMode(CFRunLoopRef runLoop, CFRunLoopMode mode);

/// Runs the default mode until it is stopped or the mode is empty. The main thread's loop counts
/// as never empty in a common mode.
void CFRunLoopRun(void);
/// Runs one mode for at most `seconds`; zero or less makes one pass that does not wait. May be
/// called from within a callback of the loop.
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled);
Boolean CFRunLoopIsWaiting(CFRunLoopRef runLoop);
/// Ends the loop's present wait, or the next one if it is not waiting.
void CFRunLoopWakeUp(CFRunLoopRef runLoop);
/// Ends the innermost active run; nothing, not even later, when the loop is not running.
void CFRunLoopStop(CFRunLoopRef runLoop);

Boolean CFRunLoopContainsSource(CFRunLoopRef runLoop, CFRunLoopSourceRef source,
                                CFRunLoopMode mode);
/// Retains the source for as long as it is in the mode. Ignored when it is there or invalid.
void CFRunLoopAddSource(CFRunLoopRef runLoop, CFRunLoopSourceRef source, CFRunLoopMode mode);
void CFRunLoopRemoveSource(CFRunLoopRef runLoop, CFRunLoopSourceRef source, CFRunLoopMode mode);

Boolean CFRunLoopContainsTimer(CFRunLoopRef runLoop, CFRunLoopTimerRef timer, CFRunLoopMode mode);
/// Retains the timer for as long as it is in the mode. Ignored when it is there or invalid, or
/// belongs to another loop.
void CFRunLoopAddTimer(CFRunLoopRef runLoop, CFRunLoopTimerRef timer, CFRunLoopMode mode);
void CFRunLoopRemoveTimer(CFRunLoopRef runLoop, CFRunLoopTimerRef timer, CFRunLoopMode mode);

typedef struct {
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
    Boolean (*equal)(const void* info1, const void* info2);
    CFHashCode (*hash)(const void* info);
    void (*schedule)(void* info, CFRunLoopRef runLoop, CFRunLoopMode mode);
    void (*cancel)(void* info, CFRunLoopRef runLoop, CFRunLoopMode mode);
    void (*perform)(void* info);
} CFRunLoopSourceContext;

CFTypeID CFRunLoopSourceGetTypeID(void);
/// A source that its owner signals (version 0, the only one supported here; another gives null).
/// The context is copied and its info retained with `retain`. Create rule.
CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef allocator, CFIndex order,
                                         CFRunLoopSourceContext* context);
CFIndex CFRunLoopSourceGetOrder(CFRunLoopSourceRef source);
/// Takes the source out of all loops for ever and releases its info. Idempotent.
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);
Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source);
void CFRunLoopSourceGetContext(CFRunLoopSourceRef source, CFRunLoopSourceContext* context);
/// Has the source performed in the next pass; does not wake a loop that sleeps.
void CFRunLoopSourceSignal(CFRunLoopSourceRef source);

typedef struct {
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
} CFRunLoopTimerContext;

typedef void (*CFRunLoopTimerCallBack)(CFRunLoopTimerRef timer, void* info);

CFTypeID CFRunLoopTimerGetTypeID(void);
/// A timer that fires at `fireDate` and, when `interval` is above 0, every `interval` seconds from
/// then on. It keeps its phase; fires that were missed are skipped. A date that has passed means
/// now. A one-shot is invalid after its callback. `flags` and `order` are ignored. Create rule.
CFRunLoopTimerRef CFRunLoopTimerCreate(CFAllocatorRef allocator, CFAbsoluteTime fireDate,
                                       CFTimeInterval interval, CFOptionFlags flags, CFIndex order,
                                       CFRunLoopTimerCallBack callout,
                                       CFRunLoopTimerContext* context);
/// During the callback still the date of the present fire; 0 once invalid.
CFAbsoluteTime CFRunLoopTimerGetNextFireDate(CFRunLoopTimerRef timer);
void CFRunLoopTimerSetNextFireDate(CFRunLoopTimerRef timer, CFAbsoluteTime fireDate);
CFTimeInterval CFRunLoopTimerGetInterval(CFRunLoopTimerRef timer);
Boolean CFRunLoopTimerDoesRepeat(CFRunLoopTimerRef timer);
CFIndex CFRunLoopTimerGetOrder(CFRunLoopTimerRef timer);
/// Takes the timer out of its loop for ever and releases its info. Idempotent.
void CFRunLoopTimerInvalidate(CFRunLoopTimerRef timer);
Boolean CFRunLoopTimerIsValid(CFRunLoopTimerRef timer);
void CFRunLoopTimerGetContext(CFRunLoopTimerRef timer, CFRunLoopTimerContext* context);

#ifdef __cplusplus
}
#endif
