// What platform/Workspace.h promises on either system, whatever desktop there is, or none.

#include "platform/Workspace.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <thread>

#include "platform/CFRef.h"

namespace {

using kivo::Adopt;

/// Calls `callback` on the main run loop, `delay` seconds from now.
void Later(double delay, CFRunLoopTimerCallBack callback) {
    const auto timer = Adopt(CFRunLoopTimerCreate(nullptr, CFAbsoluteTimeGetCurrent() + delay, 0, 0,
                                                  0, callback, nullptr));
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer.Get(), kCFRunLoopDefaultMode);
}

TEST(MainLoopContract, AStopBeforeTheRunEndsIt) {
    Workspace_StopMainLoop();
    Workspace_RunMainLoop();
}

TEST(MainLoopContract, AStopEndsOneRunOnly) {
    static bool sIsLater;
    sIsLater = false;
    Workspace_StopMainLoop();
    Workspace_RunMainLoop();
    Later(0.02, [](CFRunLoopTimerRef, void*) {
        sIsLater = true;
        Workspace_StopMainLoop();
    });
    Workspace_RunMainLoop();
    EXPECT_TRUE(sIsLater);
}

TEST(MainLoopContract, ASignalHandlerEndsTheRun) {
    std::signal(SIGUSR1, [](int) { Workspace_StopMainLoop(); });
    static std::thread sKiller;
    static pthread_t sMain;
    sMain = pthread_self();
    Later(0, [](CFRunLoopTimerRef, void*) {
        sKiller = std::thread([] { pthread_kill(sMain, SIGUSR1); });
    });
    Workspace_RunMainLoop();
    sKiller.join();
}

TEST(MainLoopContract, ANestedRunGoesToItsOwnEnd) {
    static CFRunLoopRunResult sNested;
    sNested = {};
    Later(0, [](CFRunLoopTimerRef, void*) {
        Workspace_StopMainLoop();
        sNested = CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, false);
    });
    Workspace_RunMainLoop();
    EXPECT_EQ(sNested, kCFRunLoopRunTimedOut);
}

TEST(MainLoopContract, AnOrdinaryStopDoesNotEndIt) {
    static bool sIsLater;
    sIsLater = false;
    Later(0, [](CFRunLoopTimerRef, void*) { CFRunLoopStop(CFRunLoopGetMain()); });
    Later(0.02, [](CFRunLoopTimerRef, void*) {
        sIsLater = true;
        Workspace_StopMainLoop();
    });
    Workspace_RunMainLoop();
    EXPECT_TRUE(sIsLater);
}

TEST(WorkspaceContract, WhoIsInFrontHasAProcessAndPerhapsABundle) {
    const auto front = Adopt(Workspace_CopyFrontmostApplication());
    if (!front) return;  // nobody, or no desktop
    const pid_t process = Workspace_GetProcessIdentifier(front.Get());
    EXPECT_TRUE(process > 0 || process == -1);
    const auto bundleID = Adopt(Workspace_CopyBundleIdentifier(front.Get()));
    if (bundleID) {
        EXPECT_EQ(CFGetTypeID(bundleID.Get()), CFStringGetTypeID());
    }
    const auto info = Adopt(Workspace_CopyInfoDictionary(front.Get()));
    if (info) {
        EXPECT_EQ(CFGetTypeID(info.Get()), CFDictionaryGetTypeID());
    }
}

TEST(WorkspaceContract, NobodyRunsUnderANameThatNobodyHas) {
    const auto running =
        Adopt(Workspace_CopyRunningApplications(CFSTR("com.zynwerks.kivo.nobody")));
    EXPECT_TRUE(!running || CFArrayGetCount(running.Get()) == 0);
    EXPECT_EQ(Workspace_CopyRunningApplications(nullptr), nullptr);
}

TEST(WorkspaceContract, TheMainScreenHasASize) {
    CGRect frame = {{-1, -2}, {-3, -4}};
    if (Workspace_GetMainScreenFrame(&frame)) {
        EXPECT_GT(frame.size.width, 0);
        EXPECT_GT(frame.size.height, 0);
    } else {
        EXPECT_EQ(frame.size.height, -4);
    }
}

TEST(WorkspaceContract, ObservingMayBeEndedAtAnyTime) {
    int one = 0;
    int other = 0;
    const auto ignore = [](WorkspaceApplicationRef, void*) {};
    Workspace_StopObservingActivations(&one);
    Workspace_ObserveActivations(ignore, &one);
    Workspace_ObserveActivations(ignore, &other);
    Workspace_StopObservingActivations(&one);
    Workspace_StopObservingActivations(&one);
    Workspace_StopObservingActivations(&other);
}

}  // namespace
