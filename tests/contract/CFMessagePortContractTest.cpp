// What Core Foundation's message ports promise, in the platform's own names: Apple's documentation
// of CFMessagePort and the behaviour of its published source.

#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/PeerProcess.h"

namespace {

using kivo::test::Listen;
using kivo::test::PeerProcess;
using kivo::test::PeerRoleRegistration;
using kivo::test::Report;

const CFStringRef kPrivateMode = CFSTR("a private mode");

CFStringRef MakeString(const std::string& text) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

CFDataRef MakeData(const std::string& bytes) {
    return CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                        static_cast<CFIndex>(bytes.size()));
}

std::string TextOf(CFDataRef data) {
    if (data == nullptr) return "(null)";
    return {reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
            static_cast<size_t>(CFDataGetLength(data))};
}

/// A name of the test's own: where names belong to a session, tests must not meet.
std::string UniqueName(const std::string& suffix) {
    return "kivo-contract-" + std::to_string(getpid()) + "-" + suffix;
}

class Stopwatch {
  public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    }

  private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

/// A local port in the default mode of the calling thread's loop, with a C++ callback.
class LocalPort {
  public:
    using Handler = std::function<CFDataRef(SInt32, const std::string&)>;

    explicit LocalPort(const std::string& name, Handler whatToDo = {},
                       CFStringRef mode = kCFRunLoopDefaultMode)
        : handler(std::move(whatToDo)) {
        CFMessagePortContext context{0, this, nullptr, nullptr, nullptr};
        const CFStringRef string = MakeString(name);
        port = CFMessagePortCreateLocal(nullptr, string, Receive, &context, nullptr);
        CFRelease(string);
        if (port == nullptr) return;
        source = CFMessagePortCreateRunLoopSource(nullptr, port, 0);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source, mode);
    }
    ~LocalPort() {
        if (port == nullptr) return;
        CFMessagePortInvalidate(port);
        CFRelease(source);
        CFRelease(port);
    }
    LocalPort(const LocalPort&) = delete;
    LocalPort& operator=(const LocalPort&) = delete;

    Handler handler;
    std::vector<std::string> received;
    CFMessagePortRef port = nullptr;
    CFRunLoopSourceRef source = nullptr;

  private:
    static CFDataRef Receive(CFMessagePortRef, SInt32 msgid, CFDataRef data, void* info) {
        auto* self = static_cast<LocalPort*>(info);
        EXPECT_NE(data, nullptr);
        self->received.push_back(TextOf(data));
        return self->handler ? self->handler(msgid, self->received.back()) : nullptr;
    }
};

/// A remote port, or none.
class RemotePort {
  public:
    explicit RemotePort(const std::string& name) {
        const CFStringRef string = MakeString(name);
        port = CFMessagePortCreateRemote(nullptr, string);
        CFRelease(string);
    }
    ~RemotePort() {
        if (port != nullptr) CFRelease(port);
    }
    RemotePort(const RemotePort&) = delete;
    RemotePort& operator=(const RemotePort&) = delete;

    SInt32 SendOneWay(SInt32 msgid, const std::string& text, double timeout = 1) const {
        const CFDataRef data = MakeData(text);
        const SInt32 status =
            CFMessagePortSendRequest(port, msgid, data, timeout, 0, nullptr, nullptr);
        CFRelease(data);
        return status;
    }

    /// The reply's text behind the status: "0 text".
    std::string Ask(SInt32 msgid, const std::string& text, double patience = 5,
                    CFStringRef mode = kCFRunLoopDefaultMode) const {
        const CFDataRef data = MakeData(text);
        CFDataRef reply = nullptr;
        const SInt32 status =
            CFMessagePortSendRequest(port, msgid, data, 1, patience, mode, &reply);
        const std::string answer = std::to_string(status) + " " + TextOf(reply);
        if (reply != nullptr) CFRelease(reply);
        CFRelease(data);
        return answer;
    }

    CFMessagePortRef port = nullptr;
};

/// Runs the default mode until something holds, for ten seconds at most.
bool RunUntil(const std::function<bool()>& holds) {
    const Stopwatch watch;
    while (!holds()) {
        if (watch.Seconds() > 10) return false;
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, true);
    }
    return true;
}

// The other process: owns the port that its argument names and does what the message code says.

enum Code : SInt32 { kEcho = 1, kNull, kSlow, kDie, kInvalidate, kAppend, kReportAll };

struct PeerState {
    CFMessagePortRef port = nullptr;
    std::string appended;
};

CFDataRef PeerReceive(CFMessagePortRef port, SInt32 msgid, CFDataRef data, void* info) {
    auto* state = static_cast<PeerState*>(info);
    switch (msgid) {
        case kEcho:
            return MakeData(TextOf(data));
        case kSlow:
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            return MakeData("late");
        case kDie:
            raise(SIGKILL);
            return nullptr;
        case kInvalidate:
            CFMessagePortInvalidate(port);
            return nullptr;
        case kAppend:
            state->appended += TextOf(data);
            return nullptr;
        case kReportAll:
            return MakeData(state->appended);
        default:
            return nullptr;
    }
}

int OwnPort(const std::string& name) {
    PeerState state;
    CFMessagePortContext context{0, &state, nullptr, nullptr, nullptr};
    Boolean shouldFree = false;
    state.port =
        CFMessagePortCreateLocal(nullptr, MakeString(name), PeerReceive, &context, &shouldFree);
    if (state.port == nullptr) {
        Report(shouldFree ? "taken, free info" : "taken");
        return 0;
    }
    CFRunLoopAddSource(CFRunLoopGetCurrent(),
                       CFMessagePortCreateRunLoopSource(nullptr, state.port, 0),
                       kCFRunLoopCommonModes);
    Report("ready");
    CFRunLoopRun();
    return 0;
}
const PeerRoleRegistration kOwner("owner", OwnPort);

/// Owns the port but serves it only after a line from the test.
int OwnPortAsleep(const std::string& name) {
    PeerState state;
    CFMessagePortContext context{0, &state, nullptr, nullptr, nullptr};
    state.port =
        CFMessagePortCreateLocal(nullptr, MakeString(name), PeerReceive, &context, nullptr);
    CFRunLoopAddSource(CFRunLoopGetCurrent(),
                       CFMessagePortCreateRunLoopSource(nullptr, state.port, 0),
                       kCFRunLoopCommonModes);
    Report("ready");
    Listen();
    CFRunLoopRun();
    return 0;
}
const PeerRoleRegistration kSleeper("sleeper", OwnPortAsleep);

/// The port of another process, ready.
class PeerPort {
  public:
    explicit PeerPort(const std::string& suffix, const std::string& role = "owner")
        : name(UniqueName(suffix)), process(role, name) {
        EXPECT_EQ(process.Hear(), "ready");
    }
    std::string name;
    PeerProcess process;
};

// Creating local ports.

TEST(CreateLocal, MakesAPortWithItsName) {
    const std::string name = UniqueName("named");
    LocalPort local(name);
    ASSERT_NE(local.port, nullptr);
    EXPECT_FALSE(CFMessagePortIsRemote(local.port));
    EXPECT_TRUE(CFMessagePortIsValid(local.port));
    const CFStringRef expected = MakeString(name);
    EXPECT_TRUE(CFEqual(CFMessagePortGetName(local.port), expected));
    EXPECT_EQ(CFGetTypeID(local.port), CFMessagePortGetTypeID());
    CFRelease(expected);
}

int sRetained = 0;
int sReleased = 0;
const void* CountRetain(const void* info) {
    ++sRetained;
    return info;
}
void CountRelease(const void*) {
    ++sReleased;
}
CFDataRef IgnoreMessage(CFMessagePortRef, SInt32, CFDataRef, void*) {
    return nullptr;
}

TEST(CreateLocal, HandsBackTheValidPortOfTheNameInTheProcess) {
    sRetained = 0;
    const std::string name = UniqueName("same");
    LocalPort first(name);
    const CFStringRef string = MakeString(name);
    int other = 0;
    CFMessagePortContext context{0, &other, CountRetain, CountRelease, nullptr};
    Boolean shouldFree = false;
    const CFIndex before = CFGetRetainCount(first.port);
    CFMessagePortRef second =
        CFMessagePortCreateLocal(nullptr, string, IgnoreMessage, &context, &shouldFree);
    EXPECT_EQ(second, first.port);
    EXPECT_EQ(CFGetRetainCount(first.port), before + 1);
    EXPECT_TRUE(shouldFree);
    EXPECT_EQ(sRetained, 0);
    CFMessagePortContext kept{};
    CFMessagePortGetContext(second, &kept);
    EXPECT_EQ(kept.info, &first);
    CFRelease(second);
    CFRelease(string);
}

TEST(CreateLocal, SaysThatInfoIsUsedOnlyForANewPort) {
    const CFStringRef name = MakeString(UniqueName("new"));
    Boolean shouldFree = true;
    CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, name, IgnoreMessage, nullptr, &shouldFree);
    EXPECT_FALSE(shouldFree);
    CFMessagePortInvalidate(port);
    CFRelease(port);
    CFRelease(name);
}

TEST(CreateLocal, FailsWhileAnotherProcessOwnsTheName) {
    PeerPort peer("taken");
    sRetained = 0;
    const CFStringRef name = MakeString(peer.name);
    CFMessagePortContext context{0, nullptr, CountRetain, CountRelease, nullptr};
    Boolean shouldFree = false;
    EXPECT_EQ(CFMessagePortCreateLocal(nullptr, name, IgnoreMessage, &context, &shouldFree),
              nullptr);
    EXPECT_TRUE(shouldFree);
    EXPECT_EQ(sRetained, 0);
    peer.process.Kill();
    CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, name, IgnoreMessage, nullptr, &shouldFree);
    EXPECT_NE(port, nullptr) << "the name is free as soon as its owner is dead";
    CFMessagePortInvalidate(port);
    CFRelease(port);
    CFRelease(name);
}

TEST(CreateLocal, IsRefusedInOtherProcessesWhileThisOneLives) {
    const std::string name = UniqueName("ours");
    LocalPort local(name);
    PeerProcess other("owner", name);
    EXPECT_EQ(other.Hear(), "taken, free info");
}

TEST(CreateLocal, CutsNamesAt128Bytes) {
    const std::string prefix = UniqueName("long-");
    const std::string cut = prefix + std::string(127 - prefix.size(), 'n');
    LocalPort local(cut + "\xC3\xA4 tail");  // the umlaut would end at byte 129
    ASSERT_NE(local.port, nullptr);
    const CFStringRef expected = MakeString(cut);
    EXPECT_TRUE(CFEqual(CFMessagePortGetName(local.port), expected));
    RemotePort remote(cut);
    EXPECT_NE(remote.port, nullptr);
    CFRelease(expected);
}

TEST(CreateLocal, WithoutANameMakesAPortThatCanBeNamedLater) {
    CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, nullptr, IgnoreMessage, nullptr, nullptr);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(CFMessagePortGetName(port), nullptr);
    EXPECT_TRUE(CFMessagePortIsValid(port));
    const std::string name = UniqueName("later");
    const CFStringRef string = MakeString(name);
    EXPECT_TRUE(CFMessagePortSetName(port, string));
    EXPECT_TRUE(CFEqual(CFMessagePortGetName(port), string));
    RemotePort remote(name);
    EXPECT_NE(remote.port, nullptr);
    EXPECT_FALSE(CFMessagePortSetName(remote.port, string));
    CFMessagePortInvalidate(port);
    CFRelease(port);
    CFRelease(string);
}

TEST(CreateLocal, NamesDifferByCase) {
    LocalPort lower(UniqueName("case"));
    LocalPort upper(UniqueName("CASE"));
    EXPECT_NE(lower.port, nullptr);
    EXPECT_NE(upper.port, nullptr);
    EXPECT_NE(lower.port, upper.port);
}

TEST(CreateLocal, NamesMayHoldAnyCharacter) {
    const std::string name = UniqueName("a/b c\xC3\xBC..%2F\xF0\x9F\x98\x80");
    LocalPort local(name);
    ASSERT_NE(local.port, nullptr);
    RemotePort remote(name);
    EXPECT_NE(remote.port, nullptr);
}

TEST(RunLoopSource, IsAlwaysTheSameOne) {
    LocalPort local(UniqueName("source"));
    const CFRunLoopSourceRef again = CFMessagePortCreateRunLoopSource(nullptr, local.port, 7);
    EXPECT_EQ(again, local.source);
    EXPECT_EQ(CFRunLoopSourceGetOrder(again), 0);
    CFRelease(again);
}

TEST(RunLoopSource, ExistsNeitherForRemoteNorForInvalidPorts) {
    const std::string name = UniqueName("no-source");
    LocalPort local(name);
    RemotePort remote(name);
    EXPECT_EQ(CFMessagePortCreateRunLoopSource(nullptr, remote.port, 0), nullptr);
    CFMessagePortInvalidate(local.port);
    EXPECT_EQ(CFMessagePortCreateRunLoopSource(nullptr, local.port, 0), nullptr);
    EXPECT_FALSE(CFRunLoopSourceIsValid(local.source));
}

// Creating remote ports.

TEST(CreateRemote, GivesNullWithoutAnOwner) {
    RemotePort remote(UniqueName("nobody"));
    EXPECT_EQ(remote.port, nullptr);
}

TEST(CreateRemote, GivesTheSameObjectAgain) {
    PeerPort peer("cached");
    RemotePort first(peer.name);
    RemotePort second(peer.name);
    ASSERT_NE(first.port, nullptr);
    EXPECT_EQ(first.port, second.port);
    EXPECT_TRUE(CFMessagePortIsRemote(first.port));
}

TEST(CreateRemote, GivesNullOnceAfterTheOwnerHasChanged) {
    PeerPort peer("restarted");
    RemotePort first(peer.name);
    ASSERT_NE(first.port, nullptr);
    peer.process.Kill();
    PeerProcess successor("owner", peer.name);
    ASSERT_EQ(successor.Hear(), "ready");
    RemotePort atOnce(peer.name);
    EXPECT_EQ(atOnce.port, nullptr);
    RemotePort then(peer.name);
    ASSERT_NE(then.port, nullptr);
    EXPECT_EQ(then.Ask(kEcho, "new"), "0 new");
    EXPECT_FALSE(CFMessagePortIsValid(first.port));
}

// Sending.

TEST(SendRequest, BringsTheReply) {
    PeerPort peer("echo");
    RemotePort remote(peer.name);
    EXPECT_EQ(remote.Ask(kEcho, "hello"), "0 hello");
    EXPECT_EQ(remote.Ask(kEcho, std::string("\0x\0", 3)), "0 " + std::string("\0x\0", 3));
}

TEST(SendRequest, CarriesLongMessagesBothWays) {
    PeerPort peer("long");
    RemotePort remote(peer.name);
    for (const size_t size : {4079U, 4080U, 4081U, 65536U, 300000U, 9000001U}) {
        std::string text(size, '\0');
        for (size_t i = 0; i < size; ++i)
            text[i] = static_cast<char>('a' + i * 7 % 23);
        EXPECT_EQ(remote.Ask(kEcho, text), "0 " + text) << size;
    }
}

TEST(SendRequest, GivesAnEmptyReplyForNull) {
    PeerPort peer("null");
    RemotePort remote(peer.name);
    EXPECT_EQ(remote.Ask(kNull, "x"), "0 ");
}

TEST(SendRequest, SendsNullDataAsEmpty) {
    const std::string name = UniqueName("null-data");
    LocalPort local(name);
    RemotePort remote(name);
    EXPECT_EQ(
        CFMessagePortSendRequest(remote.port, 1, nullptr, 1, 1, kCFRunLoopDefaultMode, nullptr),
        kCFMessagePortSuccess);
    EXPECT_EQ(local.received, std::vector<std::string>{""});
}

TEST(SendRequest, PassesAnyMessageCode) {
    const std::string name = UniqueName("code");
    std::vector<SInt32> codes;
    LocalPort local(name, [&](SInt32 msgid, const std::string&) -> CFDataRef {
        codes.push_back(msgid);
        return nullptr;
    });
    RemotePort remote(name);
    const std::vector<SInt32> sent = {0, -1, INT32_MIN, INT32_MAX, 0x5A476C4D};
    for (const SInt32 code : sent)
        EXPECT_EQ(remote.Ask(code, ""), "0 ");
    EXPECT_EQ(codes, sent);
}

TEST(SendRequest, OneWayReturnsWithoutTheReceiverRunning) {
    PeerPort peer("asleep", "sleeper");
    RemotePort remote(peer.name);
    CFDataRef untouched = reinterpret_cast<CFDataRef>(&peer);
    const CFDataRef data = MakeData("x");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(CFMessagePortSendRequest(remote.port, kAppend, data, 1, 1, nullptr, &untouched),
                  kCFMessagePortSuccess);
    }
    EXPECT_EQ(untouched, reinterpret_cast<CFDataRef>(&peer));
    CFRelease(data);
    peer.process.Say("go");
    EXPECT_EQ(remote.Ask(kReportAll, ""), "0 xxxxx");
}

TEST(SendRequest, KeepsTheOrderOfOneSender) {
    PeerPort peer("order");
    RemotePort remote(peer.name);
    std::string expected;
    for (char c = 'a'; c <= 'z'; ++c) {
        expected += std::string(1, c);
        ASSERT_EQ(remote.SendOneWay(kAppend, std::string(1, c)), 0);
    }
    EXPECT_EQ(remote.Ask(kReportAll, ""), "0 " + expected);
}

TEST(SendRequest, TimesOutWhenTheQueueStaysFull) {
    PeerPort peer("full", "sleeper");
    RemotePort remote(peer.name);
    const std::string chunk(1000, 'x');
    size_t taken = 0;
    SInt32 status = 0;
    for (; taken < 100000 && status == 0; ++taken)
        status = remote.SendOneWay(kAppend, chunk, 0.05);
    EXPECT_EQ(status, kCFMessagePortSendTimeout);
    const Stopwatch watch;
    EXPECT_EQ(remote.SendOneWay(kAppend, chunk, 0.05), kCFMessagePortSendTimeout);
    EXPECT_GE(watch.Seconds(), 0.0499);
    EXPECT_LT(watch.Seconds(), 2);
    EXPECT_EQ(remote.SendOneWay(kAppend, chunk, 0), kCFMessagePortSendTimeout);
    peer.process.Say("go");
    const std::string all = remote.Ask(kReportAll, "");
    EXPECT_EQ(all.size(), 2 + (taken - 1) * chunk.size()) << "what timed out is not delivered";
}

TEST(SendRequest, TimesOutWithoutAReply) {
    PeerPort peer("no-reply", "sleeper");
    RemotePort remote(peer.name);
    CFDataRef untouched = reinterpret_cast<CFDataRef>(&peer);
    const Stopwatch watch;
    EXPECT_EQ(CFMessagePortSendRequest(remote.port, kEcho, nullptr, 1, 0.05, kCFRunLoopDefaultMode,
                                       &untouched),
              kCFMessagePortReceiveTimeout);
    EXPECT_GE(watch.Seconds(), 0.05);
    EXPECT_LT(watch.Seconds(), 2);
    EXPECT_EQ(untouched, reinterpret_cast<CFDataRef>(&peer));
    EXPECT_EQ(
        CFMessagePortSendRequest(remote.port, kEcho, nullptr, 1, 0, kCFRunLoopDefaultMode, nullptr),
        kCFMessagePortReceiveTimeout);
}

TEST(SendRequest, NeverMixesALateReplyUpWithTheNext) {
    PeerPort peer("late");
    RemotePort remote(peer.name);
    EXPECT_EQ(remote.Ask(kSlow, "", 0.02), "-2 (null)");
    EXPECT_EQ(remote.Ask(kEcho, "mine"), "0 mine");
    EXPECT_EQ(remote.Ask(kEcho, "mine too"), "0 mine too");
}

TEST(SendRequest, FailsAtOnceWhenThePeerDiesWhileWeWait) {
    PeerPort peer("dies");
    RemotePort remote(peer.name);
    const Stopwatch watch;
    EXPECT_EQ(remote.Ask(kDie, ""), "-5 (null)");
    EXPECT_LT(watch.Seconds(), 2.5);
    EXPECT_EQ(remote.Ask(kEcho, ""), "-3 (null)");
    EXPECT_EQ(remote.SendOneWay(kEcho, ""), kCFMessagePortIsInvalid);
}

TEST(SendRequest, NoticesTheDeathInAPrivateModeToo) {
    PeerPort peer("dies-privately");
    RemotePort remote(peer.name);
    const Stopwatch watch;
    EXPECT_EQ(remote.Ask(kDie, "", 5, kPrivateMode), "-5 (null)");
    EXPECT_LT(watch.Seconds(), 2.5);
}

TEST(SendRequest, FailsWhenThePeersPortIsInvalidatedWithOursQueued) {
    PeerPort peer("invalidates");
    RemotePort remote(peer.name);
    ASSERT_EQ(remote.SendOneWay(kInvalidate, ""), 0);
    EXPECT_TRUE(remote.Ask(kEcho, "") == "-5 (null)" || !CFMessagePortIsValid(remote.port));
}

TEST(SendRequest, FailsInTransportWhenTheDeathWasNotNoticedYet) {
    PeerPort peer("dead");
    RemotePort remote(peer.name);
    peer.process.Kill();
    EXPECT_EQ(remote.SendOneWay(kEcho, ""), kCFMessagePortTransportError);
}

TEST(SendRequest, FailsOnAnInvalidPort) {
    PeerPort peer("invalid");
    RemotePort remote(peer.name);
    CFMessagePortInvalidate(remote.port);
    EXPECT_EQ(remote.Ask(kEcho, ""), "-3 (null)");
}

TEST(SendRequest, ServesTheWaitingModeMeanwhile) {
    PeerPort peer("meanwhile", "sleeper");
    const std::string ownName = UniqueName("own");
    LocalPort local(ownName);
    RemotePort remote(peer.name);
    RemotePort own(ownName);
    ASSERT_EQ(own.SendOneWay(1, "served"), 0);
    EXPECT_EQ(remote.Ask(kEcho, "", 0.05, kPrivateMode), "-2 (null)");
    EXPECT_TRUE(local.received.empty()) << "the other modes are not run";
    EXPECT_EQ(remote.Ask(kEcho, "", 0.05), "-2 (null)");
    EXPECT_EQ(local.received, std::vector<std::string>{"served"});
}

TEST(SendRequest, ReachesAPortOfTheSameThread) {
    const std::string name = UniqueName("self");
    LocalPort local(name, [](SInt32, const std::string& text) { return MakeData(text + "!"); });
    RemotePort remote(name);
    EXPECT_EQ(remote.Ask(1, "me"), "0 me!");
    EXPECT_EQ(remote.Ask(1, "me", 0.02, kPrivateMode), "-2 (null)");
}

TEST(SendRequest, MayBeNestedInTheSamePortsCallback) {
    const std::string name = UniqueName("nested");
    RemotePort* self = nullptr;
    LocalPort local(name, [&](SInt32 depth, const std::string& text) {
        return depth == 0 ? MakeData(text) : MakeData(self->Ask(depth - 1, text + "."));
    });
    RemotePort remote(name);
    self = &remote;
    EXPECT_EQ(remote.Ask(3, "x"), "0 0 0 0 x...");
}

TEST(SendRequest, SwallowsAStopWhileItWaits) {
    PeerPort peer("stop");
    const std::string ownName = UniqueName("stopper");
    LocalPort local(ownName, [](SInt32, const std::string&) -> CFDataRef {
        CFRunLoopStop(CFRunLoopGetCurrent());
        return nullptr;
    });
    RemotePort own(ownName);
    RemotePort remote(peer.name);
    ASSERT_EQ(own.SendOneWay(1, ""), 0);
    EXPECT_EQ(remote.Ask(kSlow, ""), "0 late");
    EXPECT_EQ(local.received.size(), 1U);
}

TEST(SendRequest, CannotWaitInTheCommonModes) {
    PeerPort peer("common");
    RemotePort remote(peer.name);
    const Stopwatch watch;
    EXPECT_EQ(remote.Ask(kNull, "", 0.05, kCFRunLoopCommonModes), "-2 (null)");
    EXPECT_GE(watch.Seconds(), 0.05);
}

TEST(SendRequest, WorksFromAnotherThread) {
    PeerPort peer("thread");
    RemotePort remote(peer.name);
    std::string answer;
    std::thread([&] { answer = remote.Ask(kEcho, "from afar"); }).join();
    EXPECT_EQ(answer, "0 from afar");
}

// Receiving.

TEST(Callback, TakesOneMessageAnIteration) {
    // What earlier tests of the process left over, such as the ends of their peers.
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
    const std::string name = UniqueName("one");
    LocalPort local(name);
    RemotePort remote(name);
    for (const char* text : {"a", "b", "c"})
        ASSERT_EQ(remote.SendOneWay(1, text), 0);
    for (size_t count = 1; count <= 3; ++count) {
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 5, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(local.received.size(), count);
    }
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true), kCFRunLoopRunTimedOut);
}

TEST(Callback, IsSurroundedByRetainAndReleaseOfInfo) {
    sRetained = sReleased = 0;
    const std::string name = UniqueName("info");
    const CFStringRef string = MakeString(name);
    int info = 0;
    CFMessagePortContext context{0, &info, CountRetain, CountRelease, nullptr};
    CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, string, IgnoreMessage, &context, nullptr);
    EXPECT_EQ(sRetained, 1);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, port, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    RemotePort remote(name);
    EXPECT_EQ(remote.Ask(1, ""), "0 ");
    EXPECT_EQ(sRetained, 2);
    EXPECT_EQ(sReleased, 1);
    CFMessagePortInvalidate(port);
    EXPECT_EQ(sReleased, 2);
    CFMessagePortGetContext(port, &context);
    EXPECT_EQ(context.info, nullptr);
    CFRelease(source);
    CFRelease(port);
    CFRelease(string);
}

TEST(Callback, MayInvalidateItsOwnPort) {
    const std::string name = UniqueName("suicide");
    LocalPort* self = nullptr;
    LocalPort local(name, [&](SInt32, const std::string&) -> CFDataRef {
        CFMessagePortInvalidate(self->port);
        return MakeData("last words");
    });
    self = &local;
    RemotePort remote(name);
    ASSERT_EQ(remote.SendOneWay(1, "one"), 0);
    ASSERT_EQ(remote.SendOneWay(1, "two"), 0);
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, false);
    EXPECT_EQ(local.received.size(), 1U);
    EXPECT_FALSE(CFMessagePortIsValid(local.port));
}

// The end.

std::vector<std::string> sEnds;
void NoteEnd(CFMessagePortRef port, void* info) {
    sEnds.push_back(std::string(CFMessagePortIsRemote(port) ? "remote" : "local") +
                    (info != nullptr ? " with info" : ""));
}

TEST(Invalidate, RunsTheCallbackOnceAndFreesTheName) {
    sEnds.clear();
    const std::string name = UniqueName("end");
    LocalPort local(name);
    CFMessagePortSetInvalidationCallBack(local.port, NoteEnd);
    EXPECT_EQ(CFMessagePortGetInvalidationCallBack(local.port), NoteEnd);
    CFMessagePortInvalidate(local.port);
    CFMessagePortInvalidate(local.port);
    EXPECT_EQ(sEnds, std::vector<std::string>{"local with info"});
    EXPECT_FALSE(CFMessagePortIsValid(local.port));
    LocalPort successor(name);
    EXPECT_NE(successor.port, nullptr);
    EXPECT_NE(successor.port, local.port);
}

TEST(Invalidate, OfAnEndedPortRunsANewCallbackAtOnce) {
    sEnds.clear();
    LocalPort local(UniqueName("ended"));
    CFMessagePortInvalidate(local.port);
    CFMessagePortSetInvalidationCallBack(local.port, NoteEnd);
    EXPECT_EQ(sEnds, std::vector<std::string>{"local"});
}

TEST(Invalidate, EndsTheRemotePortsOfOtherProcesses) {
    sEnds.clear();
    PeerPort peer("end-remote");
    RemotePort remote(peer.name);
    CFMessagePortSetInvalidationCallBack(remote.port, NoteEnd);
    ASSERT_EQ(remote.SendOneWay(kInvalidate, ""), 0);
    EXPECT_TRUE(RunUntil([] { return !sEnds.empty(); }));
    EXPECT_EQ(sEnds, std::vector<std::string>{"remote"});
    EXPECT_FALSE(CFMessagePortIsValid(remote.port));
}

TEST(IsValid, AsksWhetherThePeerLives) {
    sEnds.clear();
    PeerPort peer("asked");
    RemotePort remote(peer.name);
    CFMessagePortSetInvalidationCallBack(remote.port, NoteEnd);
    EXPECT_TRUE(CFMessagePortIsValid(remote.port));
    peer.process.Kill();
    EXPECT_FALSE(CFMessagePortIsValid(remote.port));
    EXPECT_EQ(sEnds, std::vector<std::string>{"remote"}) << "before IsValid returns";
}

}  // namespace
