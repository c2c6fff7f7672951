// The files of platform/macos at work: what they ask of AppKit, what they hand out, and that they
// keep and lose no reference. CFRetain and CFRelease are those of this system, which know nothing
// of Foundation objects; what is handed out is therefore given back by its own `release`.

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "platform/Workspace.h"
#include "platform/macos/Permissions.h"
#include "tests/macos/relays/StandIns.h"

namespace kivo::test {
namespace {

class Pool {
  public:
    Pool() : mPool([[NSAutoreleasePool alloc] init]) {}
    ~Pool() { [mPool drain]; }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

  private:
    NSAutoreleasePool* mPool;
};

template <typename Class>
Class* Object(CFTypeRef reference) {
    return static_cast<Class*>(const_cast<void*>(reference));
}

NSRunningApplication* MakeApplication(pid_t processID, NSString* bundleID) {
    NSRunningApplication* application = [[[NSRunningApplication alloc] init] autorelease];
    application->processID = processID;
    application->bundleID = bundleID;
    return application;
}

void Activate(NSRunningApplication* application) {
    NSDictionary* values = application == nil
                               ? [NSDictionary dictionary]
                               : [NSDictionary dictionaryWithObject:application
                                                             forKey:NSWorkspaceApplicationKey];
    [[[NSWorkspace sharedWorkspace] notificationCenter]
        postNotificationName:NSWorkspaceDidActivateApplicationNotification
                      object:nil
                    userInfo:values];
}

class Relays : public testing::Test {
  protected:
    Relays() { TheMac() = {}; }

    Pool mPool;
};

TEST_F(Relays, TheFrontApplicationIsHandedOutAndKept) {
    EXPECT_EQ(Workspace_CopyFrontmostApplication(), nullptr);
    TheMac().front = MakeApplication(42, @"org.example.One");
    const auto before = [TheMac().front retainCount];
    const WorkspaceApplicationRef front = Workspace_CopyFrontmostApplication();
    EXPECT_EQ(Object<NSRunningApplication>(front), TheMac().front);
    EXPECT_EQ([TheMac().front retainCount], before + 1);
    EXPECT_EQ(Workspace_GetProcessIdentifier(front), 42);
    [TheMac().front release];
}

TEST_F(Relays, ABundleIdentifierIsTheCallers) {
    NSRunningApplication* application = MakeApplication(1, @"org.example.One");
    const CFStringRef bundleID = Workspace_CopyBundleIdentifier(application);
    EXPECT_TRUE([Object<NSString>(bundleID) isEqual:@"org.example.One"]);
    EXPECT_EQ([Object<NSString>(bundleID) retainCount], 1U);
    [Object<NSString>(bundleID) release];
    EXPECT_EQ(Workspace_CopyBundleIdentifier(MakeApplication(1, nil)), nullptr);
}

TEST_F(Relays, TheInfoDictionaryIsThatOfTheBundle) {
    NSRunningApplication* application = MakeApplication(1, @"org.example.One");
    EXPECT_EQ(Workspace_CopyInfoDictionary(application), nullptr);
    application->place = [NSURL fileURLWithPath:@"/nowhere/at all.app"];
    EXPECT_EQ(Workspace_CopyInfoDictionary(application), nullptr);
}

TEST_F(Relays, RunningApplicationsAreThoseOfTheIdentifier) {
    NSRunningApplication* wanted = MakeApplication(2, @"b");
    TheMac().running = [NSArray arrayWithObjects:MakeApplication(1, @"a"), wanted, nil];
    const CFArrayRef found =
        Workspace_CopyRunningApplications(static_cast<CFStringRef>(static_cast<CFTypeRef>(@"b")));
    NSArray* array = Object<NSArray>(found);
    EXPECT_EQ([array count], 1U);
    EXPECT_EQ([array objectAtIndex:0], wanted);
    EXPECT_EQ([array retainCount], 1U);
    [array release];
}

TEST_F(Relays, ThePointerAndTheScreenAreHandedOnAsTheyAre) {
    TheMac().pointer = NSMakePoint(100.5, -200.25);
    EXPECT_EQ(Workspace_GetPointerLocation().x, 100.5);
    EXPECT_EQ(Workspace_GetPointerLocation().y, -200.25);
    TheMac().hasScreen = true;
    TheMac().screen = NSMakeRect(1, 2, 30, 40);
    CGRect frame = {};
    ASSERT_TRUE(Workspace_GetMainScreenFrame(&frame));
    EXPECT_EQ(frame.origin.x, 1);
    EXPECT_EQ(frame.origin.y, 2);
    EXPECT_EQ(frame.size.width, 30);
    EXPECT_EQ(frame.size.height, 40);
}

/// Who was told of whom.
std::vector<std::pair<void*, WorkspaceApplicationRef>> sTold;

void Tell(WorkspaceApplicationRef application, void* info) {
    sTold.emplace_back(info, application);
}

void TellOnce(WorkspaceApplicationRef application, void* info) {
    Workspace_StopObservingActivations(info);
    Tell(application, info);
}

class Activations : public Relays {
  protected:
    Activations() { sTold.clear(); }
    ~Activations() override {
        for (int& observer : mObservers)
            Workspace_StopObservingActivations(&observer);
    }

    int mObservers[2] = {};
};

TEST_F(Activations, EachIsToldWithItsApplication) {
    NSRunningApplication* application = MakeApplication(1, @"a");
    Workspace_ObserveActivations(Tell, &mObservers[0]);
    Activate(application);
    Activate(nil);
    ASSERT_EQ(sTold.size(), 2U);
    EXPECT_EQ(Object<NSRunningApplication>(sTold[0].second), application);
    EXPECT_EQ(sTold[1].second, nullptr);
}

TEST_F(Activations, NobodyIsToldWhoHasStopped) {
    Workspace_ObserveActivations(Tell, &mObservers[0]);
    Workspace_ObserveActivations(Tell, &mObservers[1]);
    Workspace_StopObservingActivations(&mObservers[0]);
    Activate(MakeApplication(1, @"a"));
    ASSERT_EQ(sTold.size(), 1U);
    EXPECT_EQ(sTold[0].first, &mObservers[1]);
}

TEST_F(Activations, OneMayStopWhenItIsTold) {
    Workspace_ObserveActivations(TellOnce, &mObservers[0]);
    Workspace_ObserveActivations(Tell, &mObservers[1]);
    Activate(MakeApplication(1, @"a"));
    EXPECT_EQ(sTold.size(), 2U);
    Activate(MakeApplication(2, @"b"));
    EXPECT_EQ(sTold.size(), 3U);
}

TEST_F(Activations, NoneKeepsAReference) {
    NSRunningApplication* application = MakeApplication(1, @"a");
    const auto before = [application retainCount];
    {
        const Pool pool;
        Workspace_ObserveActivations(TellOnce, &mObservers[0]);
        Activate(application);
    }
    EXPECT_EQ([application retainCount], before);
}

/// What is written to the log about permissions in a process of its own.
void ReportTwice(bool mayRead, bool mayListen) {
    TheMac().mayRead = mayRead;
    TheMac().mayListen = mayListen;
    ReportMissingPermissions();
    ReportMissingPermissions();
    std::exit(0);
}

using Permissions = Relays;

TEST_F(Permissions, WhatIsMissingIsNamedOnce) {
    EXPECT_EXIT(ReportTwice(false, false), testing::ExitedWithCode(0),
                "^[^\n]*not allowed: Accessibility and Input Monitoring\\.[^\n]*\n$");
    EXPECT_EXIT(ReportTwice(false, true), testing::ExitedWithCode(0),
                "^[^\n]*not allowed: Accessibility\\.[^\n]*\n$");
    EXPECT_EXIT(ReportTwice(true, false), testing::ExitedWithCode(0),
                "^[^\n]*not allowed: Input Monitoring\\.[^\n]*\n$");
}

TEST_F(Permissions, NothingIsWrittenWhereNothingIsMissing) {
    EXPECT_EXIT(ReportTwice(true, true), testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace kivo::test
