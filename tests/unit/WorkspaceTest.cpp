#include "platform/Workspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "platform/CFRef.h"
#include "tests/support/ScriptedDesktop.h"

namespace kivo::test {
namespace {

using desktop::Application;
using testing::ElementsAre;
using testing::IsEmpty;

Application Described(pid_t processID, const std::string& bundleID) {
    Application application;
    application.processID = processID;
    application.bundleID = bundleID;
    application.hasBundle = true;
    application.info = {{"CFBundleSignature", "ABCD"}};
    return application;
}

class WorkspaceTest : public testing::Test {
  protected:
    WorkspaceTest() {
        auto scripted = std::make_unique<ScriptedDesktop>();
        mDesktop = scripted.get();
        desktop::Install(std::move(scripted));
    }
    ~WorkspaceTest() override { desktop::Install(nullptr); }

    ScriptedDesktop* mDesktop = nullptr;
};

TEST_F(WorkspaceTest, NobodyInFrontIsNull) {
    EXPECT_EQ(Workspace_CopyFrontmostApplication(), nullptr);
}

TEST_F(WorkspaceTest, AnApplicationKeepsItsValues) {
    mDesktop->front = Described(42, "org.example.One");
    const auto front = Adopt(Workspace_CopyFrontmostApplication());
    mDesktop->front = std::nullopt;
    ASSERT_TRUE(front);
    EXPECT_EQ(CFGetRetainCount(front.Get()), 1);
    EXPECT_EQ(Workspace_GetProcessIdentifier(front.Get()), 42);
    const auto bundleID = Adopt(Workspace_CopyBundleIdentifier(front.Get()));
    EXPECT_TRUE(CFEqual(bundleID.Get(), CFSTR("org.example.One")));
    const auto info = Adopt(Workspace_CopyInfoDictionary(front.Get()));
    ASSERT_EQ(CFDictionaryGetCount(info.Get()), 1);
    EXPECT_TRUE(
        CFEqual(CFDictionaryGetValue(info.Get(), CFSTR("CFBundleSignature")), CFSTR("ABCD")));
}

TEST_F(WorkspaceTest, WhatAnApplicationDoesNotHaveIsNull) {
    mDesktop->front = Application();
    const auto front = Adopt(Workspace_CopyFrontmostApplication());
    EXPECT_EQ(Workspace_GetProcessIdentifier(front.Get()), -1);
    EXPECT_EQ(Workspace_CopyBundleIdentifier(front.Get()), nullptr);
    EXPECT_EQ(Workspace_CopyInfoDictionary(front.Get()), nullptr);
    mDesktop->front->hasBundle = true;
    const auto described = Adopt(Workspace_CopyFrontmostApplication());
    const auto info = Adopt(Workspace_CopyInfoDictionary(described.Get()));
    EXPECT_EQ(CFDictionaryGetCount(info.Get()), 0);
}

TEST_F(WorkspaceTest, RunningApplicationsComeInTheDesktopsOrder) {
    mDesktop->running = {Described(3, "a"), Described(1, "b"), Described(2, "a")};
    const auto found = Adopt(Workspace_CopyRunningApplications(CFSTR("a")));
    ASSERT_EQ(CFArrayGetCount(found.Get()), 2);
    EXPECT_EQ(Workspace_GetProcessIdentifier(CFArrayGetValueAtIndex(found.Get(), 0)), 3);
    EXPECT_EQ(Workspace_GetProcessIdentifier(CFArrayGetValueAtIndex(found.Get(), 1)), 2);
    const auto none = Adopt(Workspace_CopyRunningApplications(CFSTR("c")));
    EXPECT_TRUE(!none || CFArrayGetCount(none.Get()) == 0);
    EXPECT_EQ(Workspace_CopyRunningApplications(nullptr), nullptr);
}

TEST_F(WorkspaceTest, ThePointerCountsFromTheBottomOfThePrimaryScreen) {
    mDesktop->pointer = desktop::Point{100.5, 200};
    mDesktop->screen = desktop::Rect{0, 0, 1920, 1080};
    EXPECT_EQ(Workspace_GetPointerLocation().x, 100.5);
    EXPECT_EQ(Workspace_GetPointerLocation().y, 880);
    mDesktop->pointer = desktop::Point{-5, -10};
    EXPECT_EQ(Workspace_GetPointerLocation().y, 1090) << "on a screen above";
    mDesktop->screen = std::nullopt;
    EXPECT_EQ(Workspace_GetPointerLocation().y, 10);
    mDesktop->pointer = std::nullopt;
    EXPECT_EQ(Workspace_GetPointerLocation().x, 0);
    EXPECT_EQ(Workspace_GetPointerLocation().y, 0);
}

TEST_F(WorkspaceTest, TheMainScreenIsThePrimaryOne) {
    CGRect frame{{1, 2}, {3, 4}};
    mDesktop->screen = std::nullopt;
    EXPECT_FALSE(Workspace_GetMainScreenFrame(&frame));
    EXPECT_EQ(frame.size.height, 4) << "untouched";
    mDesktop->screen = desktop::Rect{0, 0, 1920, 1080};
    EXPECT_TRUE(Workspace_GetMainScreenFrame(&frame));
    EXPECT_EQ(frame.origin.x, 0);
    EXPECT_EQ(frame.size.width, 1920);
    EXPECT_EQ(frame.size.height, 1080);
}

/// Hears of activations, and may do something about them.
struct Observer {
    std::vector<pid_t> heard;
    std::function<void()> then = [] {};

    static void Hear(WorkspaceApplicationRef application, void* info) {
        auto& self = *static_cast<Observer*>(info);
        self.heard.push_back(Workspace_GetProcessIdentifier(application));
        self.then();
    }
    void Start() { Workspace_ObserveActivations(&Observer::Hear, this); }
    void Stop() { Workspace_StopObservingActivations(this); }
};

TEST_F(WorkspaceTest, ObserversHearOfEachActivationUntilTheyStop) {
    Observer one;
    Observer other;
    one.Start();
    other.Start();
    mDesktop->Activate(Described(1, ""));
    one.Stop();
    mDesktop->Activate(Described(2, ""));
    other.Stop();
    mDesktop->Activate(Described(3, ""));
    EXPECT_THAT(one.heard, ElementsAre(1));
    EXPECT_THAT(other.heard, ElementsAre(1, 2));
}

TEST_F(WorkspaceTest, AnObserverMayStopItselfOrOthersWhenItHears) {
    Observer one;
    Observer other;
    one.then = [&] {
        one.Stop();
        other.Stop();
    };
    one.Start();
    other.Start();
    mDesktop->Activate(Described(1, ""));
    mDesktop->Activate(Described(2, ""));
    EXPECT_THAT(one.heard, ElementsAre(1));
    EXPECT_THAT(other.heard, IsEmpty());
}

TEST_F(WorkspaceTest, AnObserverThatJoinsMeanwhileHearsOfTheNext) {
    Observer one;
    Observer other;
    one.then = [&] {
        if (one.heard.size() == 1) other.Start();
    };
    one.Start();
    mDesktop->Activate(Described(1, ""));
    mDesktop->Activate(Described(2, ""));
    EXPECT_THAT(other.heard, ElementsAre(2));
    one.Stop();
    other.Stop();
}

}  // namespace
}  // namespace kivo::test
