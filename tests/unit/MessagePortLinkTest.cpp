#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/CFRef.h"
#include "tests/support/PeerProcess.h"
#include "tests/support/VirtualClock.h"

// The connection under a remote port: half-sent messages, stopped and killed owners, virtual time.

namespace {

using kivo::CFRef;
using kivo::test::PeerProcess;
using kivo::test::PeerRoleRegistration;

CFRef<CFDataRef> Data(const std::string& bytes) {
    return kivo::Adopt(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                    static_cast<CFIndex>(bytes.size())));
}

std::string TextOf(CFDataRef data) {
    return {reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
            static_cast<size_t>(CFDataGetLength(data))};
}

SInt32 Send(CFMessagePortRef port, const std::string& text, double timeout = 0.02) {
    return CFMessagePortSendRequest(port, 1, Data(text).Get(), timeout, 0, nullptr, nullptr);
}

/// The reply's text behind the status.
std::string Ask(CFMessagePortRef port, const std::string& text, double patience = 5,
                double sendTimeout = 1) {
    CFDataRef reply = nullptr;
    const SInt32 status = CFMessagePortSendRequest(port, 1, Data(text).Get(), sendTimeout, patience,
                                                   kCFRunLoopDefaultMode, &reply);
    const auto owned = kivo::Adopt(reply);
    return std::to_string(status) + (reply == nullptr ? "" : " " + TextOf(reply));
}

/// A port of this process that keeps what it receives and echoes.
class LocalPort {
  public:
    explicit LocalPort(const char* name) {
        CFMessagePortContext context{0, this, nullptr, nullptr, nullptr};
        mPort = kivo::Adopt(CFMessagePortCreateLocal(nullptr, __CFStringMakeConstantString(name),
                                                     Receive, &context, nullptr));
        const auto source = kivo::Adopt(CFMessagePortCreateRunLoopSource(nullptr, mPort.Get(), 0));
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source.Get(), kCFRunLoopDefaultMode);
    }
    ~LocalPort() { CFMessagePortInvalidate(mPort.Get()); }
    LocalPort(const LocalPort&) = delete;
    LocalPort& operator=(const LocalPort&) = delete;

    std::vector<std::string> received;
    std::function<void(const std::string&)> whenReceived;

  private:
    static CFDataRef Receive(CFMessagePortRef, SInt32, CFDataRef data, void* info) {
        auto* self = static_cast<LocalPort*>(info);
        self->received.push_back(TextOf(data));
        if (self->whenReceived) self->whenReceived(self->received.back());
        return Data(self->received.back()).Release();
    }

    CFRef<CFMessagePortRef> mPort;
};

CFRef<CFMessagePortRef> Remote(const char* name) {
    return kivo::Adopt(CFMessagePortCreateRemote(nullptr, __CFStringMakeConstantString(name)));
}

using Texts = std::vector<std::string>;

TEST(HalfSentMessage, IsDroppedAndTheLinkGoesOnInOrder) {
    LocalPort local("half");
    const auto remote = Remote("half");
    ASSERT_EQ(Send(remote.Get(), "first"), kCFMessagePortSuccess);
    EXPECT_EQ(Send(remote.Get(), std::string(8 << 20, 'x')), kCFMessagePortSendTimeout);
    ASSERT_EQ(Send(remote.Get(), "second"), kCFMessagePortSuccess);
    EXPECT_EQ(Send(remote.Get(), std::string(8 << 20, 'y')), kCFMessagePortSendTimeout);
    ASSERT_EQ(Send(remote.Get(), "third"), kCFMessagePortSuccess);
    EXPECT_EQ(Ask(remote.Get(), "fourth"), "0 fourth");
    EXPECT_EQ(local.received, (Texts{"first", "second", "third", "fourth"}));
    EXPECT_TRUE(CFMessagePortIsValid(remote.Get()));
}

TEST(HalfSentMessage, LeavesAnOuterRequestItsReply) {
    LocalPort local("outer");
    const auto remote = Remote("outer");
    SInt32 nested = 0;
    local.whenReceived = [&](const std::string& text) {
        if (text == "outer") nested = Send(remote.Get(), std::string(8 << 20, 'x'));
    };
    EXPECT_EQ(Ask(remote.Get(), "outer"), "0 outer");
    EXPECT_EQ(nested, kCFMessagePortSendTimeout);
    EXPECT_EQ(Ask(remote.Get(), "after"), "0 after");
}

TEST(HalfSentMessage, ToADeadOwnerLeavesAnEndedPort) {
    auto local = std::make_unique<LocalPort>("gone");
    const auto remote = Remote("gone");
    EXPECT_EQ(Send(remote.Get(), std::string(8 << 20, 'x')), kCFMessagePortSendTimeout);
    local.reset();
    EXPECT_EQ(Send(remote.Get(), "late"), kCFMessagePortTransportError);
    EXPECT_FALSE(CFMessagePortIsValid(remote.Get()));
}

TEST(SendTimeout, IsCountedOnTheLoopsClock) {
    const kivo::test::VirtualClock clock;
    LocalPort local("virtual");
    const auto remote = Remote("virtual");
    while (Send(remote.Get(), std::string(1000, 'x'), 0) == kCFMessagePortSuccess) {
    }
    const auto before = clock.Now();
    EXPECT_EQ(Send(remote.Get(), "late", 0.0109), kCFMessagePortSendTimeout);
    EXPECT_EQ(clock.Now() - before, std::chrono::milliseconds(10)) << "whole milliseconds";
    EXPECT_EQ(Send(remote.Get(), "late", 0.0009), kCFMessagePortSendTimeout);
    EXPECT_EQ(clock.Now() - before, std::chrono::milliseconds(10)) << "less does not wait";
    EXPECT_EQ(Send(remote.Get(), "late", -1), kCFMessagePortSendTimeout);
}

TEST(ReplyTimeout, IsCountedOnTheLoopsClock) {
    const kivo::test::VirtualClock clock;
    LocalPort local("patience");
    const auto remote = Remote("patience");
    CFRunLoopRef loop = CFRunLoopGetCurrent();
    CFRunLoopAddCommonMode(loop, CFSTR("waiting"));
    const auto before = clock.Now();
    EXPECT_EQ(
        CFMessagePortSendRequest(remote.Get(), 1, nullptr, 1, 0.01, CFSTR("waiting"), nullptr),
        kCFMessagePortReceiveTimeout);
    EXPECT_EQ(clock.Now() - before, std::chrono::milliseconds(10));
}

TEST(ReplyTimeout, HoldsWhileOthersAreServed) {
    kivo::test::VirtualClock clock;
    LocalPort flooded("flooded");
    const auto toFlooded = Remote("flooded");
    flooded.whenReceived = [&](const std::string& text) {
        clock.Advance(std::chrono::milliseconds(3));
        if (text == "again") Send(toFlooded.Get(), "again");
    };
    ASSERT_EQ(Send(toFlooded.Get(), "again"), kCFMessagePortSuccess);
    const auto before = clock.Now();
    CFMessagePortContext context{};
    const auto deaf = kivo::Adopt(CFMessagePortCreateLocal(
        nullptr, CFSTR("deaf"),
        [](CFMessagePortRef, SInt32, CFDataRef, void*) -> CFDataRef { return nullptr; }, &context,
        nullptr));
    EXPECT_EQ(Ask(Remote("deaf").Get(), "?", 0.01), "-2");
    EXPECT_LE(clock.Now() - before, std::chrono::milliseconds(13));
    flooded.whenReceived = {};
    CFMessagePortInvalidate(deaf.Get());
}

int Echo(const std::string& name) {
    LocalPort local(name.c_str());
    kivo::test::Report("ready");
    CFRunLoopRun();
    return 0;
}
const PeerRoleRegistration kEcho("echo", Echo);

TEST(StoppedOwner, TakesMessagesUntilTheSocketIsFull) {
    PeerProcess peer("echo", "stopped");
    ASSERT_EQ(peer.Hear(), "ready");
    const auto remote = Remote("stopped");
    peer.Signal(SIGSTOP);
    int taken = 0;
    while (Send(remote.Get(), std::string(24, 'x'), 0.01) == kCFMessagePortSuccess)
        ++taken;
    EXPECT_GT(taken, 5);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask(remote.Get(), "x", 0.01, 0.01), "-1");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    peer.Signal(SIGCONT);
    EXPECT_EQ(Ask(remote.Get(), "awake"), "0 awake");
}

TEST(KilledOwner, IsNoticedByTheMainLoopAndReplacedByASuccessor) {
    static int sEnds;
    sEnds = 0;
    PeerProcess peer("echo", "killed");
    ASSERT_EQ(peer.Hear(), "ready");
    const auto remote = Remote("killed");
    CFMessagePortSetInvalidationCallBack(remote.Get(), [](CFMessagePortRef, void*) { ++sEnds; });
    peer.Kill();
    PeerProcess successor("echo", "killed");
    ASSERT_EQ(successor.Hear(), "ready");
    for (int i = 0; i < 1000 && sEnds == 0; ++i) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    }
    EXPECT_EQ(sEnds, 1);
    const auto next = Remote("killed");
    ASSERT_TRUE(next) << "the loop has forgotten the dead one already";
    EXPECT_EQ(Ask(next.Get(), "new"), "0 new");
}

TEST(LateReplies, AreTakenInWhenNobodyWaits) {
    PeerProcess peer("echo", "late");
    ASSERT_EQ(peer.Hear(), "ready");
    const auto remote = Remote("late");
    for (int i = 0; i < 1500; ++i) {
        ASSERT_NE(Ask(remote.Get(), "x", 0), "-1") << i;
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
    }
    EXPECT_EQ(Ask(remote.Get(), "y"), "0 y");
}

TEST(Threads, MayAskDifferentPortsAtOnce) {
    PeerProcess one("echo", "thread-one");
    PeerProcess two("echo", "thread-two");
    ASSERT_EQ(one.Hear() + two.Hear(), "readyready");
    const auto ask = [](const char* name) {
        const auto remote = Remote(name);
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(Ask(remote.Get(), std::to_string(i)), "0 " + std::to_string(i));
        }
    };
    std::thread other([&] { ask("thread-two"); });
    ask("thread-one");
    other.join();
}

TEST(Threads, MaySendToOnePortAtOnce) {
    LocalPort local("shared");
    const auto remote = Remote("shared");
    std::vector<std::thread> senders;
    for (int i = 0; i < 4; ++i) {
        senders.emplace_back([&] {
            for (int j = 0; j < 200; ++j) {
                EXPECT_EQ(Send(remote.Get(), std::string(5000, 'x'), 10), kCFMessagePortSuccess);
            }
        });
    }
    while (local.received.size() < 800) {
        ASSERT_NE(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10, true), kCFRunLoopRunTimedOut);
    }
    for (std::thread& sender : senders)
        sender.join();
    for (const std::string& text : local.received)
        ASSERT_EQ(text.size(), 5000U);
}

}  // namespace
