#include <CoreFoundation/CoreFoundation.h>
#include <CoreFoundation/MessageFrame.h>
#include <CoreFoundation/PortServer.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "platform/CFRef.h"
#include "tests/support/PeerProcess.h"

// Clients of a message port, good and bad, that speak the protocol themselves. Whatever a bad one
// does, a good one is answered.

namespace {

using namespace std::chrono_literals;
using kivo::FileDescriptor;
using kivo::Frame;
using kivo::FrameHeader;
using kivo::FrameKind;
using kivo::FrameReader;
using kivo::OutgoingFrame;
using Bytes = std::vector<uint8_t>;

/// A port that answers with the payload, in the main loop.
class EchoPort {
  public:
    EchoPort() {
        CFMessagePortContext context{0, this, nullptr, nullptr, nullptr};
        mPort = kivo::Adopt(
            CFMessagePortCreateLocal(nullptr, CFSTR("echo"), Receive, &context, nullptr));
        const auto source = kivo::Adopt(CFMessagePortCreateRunLoopSource(nullptr, mPort.Get(), 0));
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source.Get(), kCFRunLoopDefaultMode);
    }
    ~EchoPort() { CFMessagePortInvalidate(mPort.Get()); }
    EchoPort(const EchoPort&) = delete;
    EchoPort& operator=(const EchoPort&) = delete;

    std::vector<SInt32> received;
    std::function<void()> whenReceived;

  private:
    static CFDataRef Receive(CFMessagePortRef, SInt32 msgid, CFDataRef data, void* info) {
        auto* self = static_cast<EchoPort*>(info);
        self->received.push_back(msgid);
        if (self->whenReceived) self->whenReceived();
        return CFDataCreate(nullptr, CFDataGetBytePtr(data), CFDataGetLength(data));
    }

    kivo::CFRef<CFMessagePortRef> mPort;
};

void RunBriefly(double seconds = 0.01) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, false);
}

/// A client that writes what it likes.
class Client {
  public:
    Client() : mSocket(kivo::ConnectToPort("echo")) { EXPECT_TRUE(mSocket); }

    int Socket() const { return mSocket.Get(); }
    /// As much as the kernel takes.
    bool Send(const Bytes& bytes) const {
        return send(Socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
               static_cast<ssize_t>(bytes.size());
    }
    bool Send(FrameKind kind, SInt32 msgid, const Bytes& payload = {}) const {
        OutgoingFrame frame({kind, ++sConversation, msgid, static_cast<uint32_t>(payload.size())},
                            payload);
        return frame.Send(Socket()) == OutgoingFrame::Progress::kDone;
    }
    void CloseSending() const { shutdown(Socket(), SHUT_WR); }
    void Close() { mSocket.Close(); }

    /// Runs the loop until a reply has come or the port has closed the connection.
    std::optional<Bytes> Reply() {
        for (int i = 0; i < 1000; ++i) {
            if (mReader.Check() == FrameReader::State::kFrame) {
                const Frame frame = mReader.Take();
                return Bytes(frame.payload.begin(), frame.payload.end());
            }
            const auto space = mReader.Space();
            const ssize_t count = recv(Socket(), space.data(), space.size(), MSG_DONTWAIT);
            if (count == 0 || (count < 0 && errno != EAGAIN)) return std::nullopt;
            if (count > 0) mReader.Commit(static_cast<size_t>(count));
            if (count < 0) RunBriefly(0.001);
        }
        ADD_FAILURE() << "neither a reply nor an end";
        return std::nullopt;
    }
    bool IsClosedByPort() { return !Reply(); }
    bool IsServed(const Bytes& payload = {1, 2, 3}) {
        return Send(FrameKind::kRequest, 1, payload) && Reply() == payload;
    }

  private:
    static inline uint32_t sConversation = 0;
    FileDescriptor mSocket;
    FrameReader mReader;
};

Bytes HeaderBytes(const FrameHeader& header) {
    const auto bytes = kivo::EncodeHeader(header);
    return {bytes.begin(), bytes.end()};
}

long ResidentKilobytes() {
    long pages = 0;
    long resident = 0;
    FILE* file = fopen("/proc/self/statm", "r");
    if (file == nullptr || fscanf(file, "%ld %ld", &pages, &resident) != 2) ADD_FAILURE();
    if (file != nullptr) fclose(file);
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

TEST(PortClients, AreServedInOrder) {
    EchoPort port;
    Client client;
    for (SInt32 code = 0; code < 500; ++code)
        ASSERT_TRUE(client.Send(FrameKind::kOneWay, code));
    EXPECT_TRUE(client.IsServed());
    ASSERT_EQ(port.received.size(), 501U);
    for (SInt32 code = 0; code < 500; ++code) {
        EXPECT_EQ(port.received[static_cast<size_t>(code)], code);
    }
}

TEST(PortClients, MayWriteByteByByte) {
    EchoPort port;
    Client client;
    Bytes bytes = HeaderBytes({FrameKind::kRequest, 1, 7, 2});
    bytes.insert(bytes.end(), {8, 9});
    for (const uint8_t byte : bytes) {
        EXPECT_TRUE(port.received.empty());
        ASSERT_TRUE(client.Send(Bytes{byte}));
        RunBriefly(0);
        RunBriefly(0);
    }
    EXPECT_EQ(client.Reply(), (Bytes{8, 9}));
}

TEST(PortClients, ThatSendNonsenseAreClosed) {
    EchoPort port;
    Client good;
    for (const Bytes& nonsense :
         {Bytes(16, 0), Bytes(16, 255), HeaderBytes({FrameKind::kReply, 1, 1, 0}),
          HeaderBytes({FrameKind::kRequest, 1, 1, kivo::kLongestPayload + 1}),
          HeaderBytes({FrameKind::kRequest, 1, 1, UINT32_MAX})}) {
        Client bad;
        ASSERT_TRUE(bad.Send(nonsense));
        EXPECT_TRUE(bad.IsClosedByPort());
        EXPECT_TRUE(good.IsServed());
    }
    EXPECT_EQ(port.received.size(), 5U);
}

TEST(PortClients, ThatStallInAFrameHoldNobodyUp) {
    EchoPort port;
    std::vector<Client> stalled(50);
    for (const Client& client : stalled) {
        ASSERT_TRUE(client.Send(HeaderBytes({FrameKind::kRequest, 1, 1, kivo::kLongestPayload})));
        ASSERT_TRUE(client.Send(Bytes(100)));
    }
    const long before = ResidentKilobytes();
    Client good;
    EXPECT_TRUE(good.IsServed());
    EXPECT_LT(ResidentKilobytes() - before, 50 * 1024) << "what is declared is not yet taken";
}

TEST(PortClients, ThatAreSilentDoNotMakeTheLoopSpin) {
    EchoPort port;
    std::vector<Client> silent(100);
    RunBriefly();
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    RunBriefly(0.2);
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 3);
    EXPECT_LT(after.ru_utime.tv_usec - before.ru_utime.tv_usec + after.ru_stime.tv_usec -
                  before.ru_stime.tv_usec,
              50000);
}

TEST(PortClients, ThatVanishAreForgotten) {
    EchoPort port;
    for (int i = 0; i < 50; ++i) {
        Client waiting;
        ASSERT_TRUE(waiting.Send(FrameKind::kRequest, 1));
        Client cutOff;
        ASSERT_TRUE(cutOff.Send(HeaderBytes({FrameKind::kRequest, 1, 2, 100})));
    }
    Client good;
    EXPECT_TRUE(good.IsServed());
    EXPECT_EQ(port.received.size(), 51U) << "whole messages of the dead count, half ones do not";
}

TEST(PortClients, ThatFloodTakeTurnsWithOthers) {
    EchoPort port;
    Client flood;
    Bytes messages;
    for (int i = 0; i < 2000; ++i) {
        const Bytes header = HeaderBytes({FrameKind::kOneWay, 0, 99, 0});
        messages.insert(messages.end(), header.begin(), header.end());
    }
    ASSERT_TRUE(flood.Send(messages));
    Client good;
    EXPECT_TRUE(good.IsServed());
    const auto turn = std::find(port.received.begin(), port.received.end(), 1);
    EXPECT_LT(turn - port.received.begin(), 5) << "the good one waited for the flood";
}

TEST(PortClients, WithLongMessagesTakeTurnsWithOthers) {
    EchoPort port;
    const pid_t sender = fork();
    if (sender == 0) {
        const FileDescriptor socket = kivo::ConnectToPort("echo");
        const Bytes payload(64 << 20);
        OutgoingFrame frame({FrameKind::kOneWay, 0, 5, 64 << 20}, payload);
        while (frame.Send(socket.Get()) == OutgoingFrame::Progress::kBlocked) {
            pollfd polled{socket.Get(), POLLOUT, 0};
            poll(&polled, 1, -1);
        }
        _exit(0);
    }
    Client good;
    int served = 0;
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (std::find(port.received.begin(), port.received.end(), 5) == port.received.end()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
        ASSERT_TRUE(good.IsServed());
        ++served;
    }
    // It comes in at least 64 turns; an answer may take more than one of them.
    EXPECT_GT(served, 20) << "at most a MiB a turn";
    waitpid(sender, nullptr, 0);
}

TEST(PortClients, ThatDoNotReadTheirRepliesWaitAlone) {
    EchoPort port;
    Client deaf;
    const Bytes payload(100000, 7);
    int sent = 0;
    while (sent < 200 && deaf.Send(FrameKind::kRequest, 4, payload)) {
        ++sent;
        RunBriefly(0.001);
    }
    EXPECT_LT(sent, 200) << "the port stops reading";
    Client good;
    EXPECT_TRUE(good.IsServed());
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    RunBriefly(0.1);
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 3) << "nor does it spin";
    EXPECT_EQ(deaf.Reply(), payload) << "and goes on when they are read";
    EXPECT_EQ(deaf.Reply(), payload);
}

TEST(PortClients, MayStopSendingAndStillGetTheirReplies) {
    EchoPort port;
    Client client;
    const Bytes longPayload(1000000, 3);
    std::thread sender([&] {
        for (const Bytes& payload : {Bytes{1}, longPayload, Bytes{2}}) {
            OutgoingFrame frame({FrameKind::kRequest, 1, 1, static_cast<uint32_t>(payload.size())},
                                payload);
            while (frame.Send(client.Socket()) == OutgoingFrame::Progress::kBlocked) {
                pollfd polled{client.Socket(), POLLOUT, 0};
                poll(&polled, 1, -1);
            }
        }
        client.CloseSending();
    });
    EXPECT_EQ(client.Reply(), Bytes{1});
    EXPECT_TRUE(client.Reply() == longPayload);
    EXPECT_EQ(client.Reply(), Bytes{2});
    EXPECT_TRUE(client.IsClosedByPort());
    sender.join();
}

TEST(PortClients, OfOneProcessKeepTheirOrderOverConnections) {
    EchoPort port;
    for (int round = 0; round < 20; ++round) {
        Client first;
        for (SInt32 code = 0; code < 5; ++code)
            first.Send(FrameKind::kOneWay, round * 10 + code);
        first.Send(HeaderBytes({FrameKind::kOneWay, 0, 1000, 100}));
        first.CloseSending();
        Client second;
        second.Send(FrameKind::kOneWay, round * 10 + 9);
        EXPECT_TRUE(second.IsServed());
    }
    std::vector<SInt32> expected;
    for (int round = 0; round < 20; ++round) {
        for (const SInt32 code : {0, 1, 2, 3, 4, 9})
            expected.push_back(round * 10 + code);
        expected.push_back(1);
    }
    EXPECT_EQ(port.received, expected);
}

TEST(PortClients, MayComeByTheHundred) {
    EchoPort port;
    std::vector<Client> clients(500);
    for (Client& client : clients)
        ASSERT_TRUE(client.Send(FrameKind::kRequest, 1, {42}));
    for (Client& client : clients)
        EXPECT_EQ(client.Reply(), Bytes{42});
}

TEST(PortClients, MayGoAndComeAgainByTheHundred) {
    EchoPort port;
    const auto start = std::chrono::steady_clock::now();
    std::vector<Client> former(400);
    RunBriefly();
    former.clear();
    // All of these wait until the former ones are served to their end.
    std::vector<Client> clients(400);
    for (Client& client : clients)
        ASSERT_TRUE(client.Send(FrameKind::kRequest, 1, {42}));
    for (Client& client : clients)
        EXPECT_EQ(client.Reply(), Bytes{42});
    // What each end costs must not grow with the number of those who wait.
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

/// A limit of open files, for the time of a test.
class FileLimit {
  public:
    explicit FileLimit(rlim_t limit) {
        getrlimit(RLIMIT_NOFILE, &mFormer);
        rlimit lower = mFormer;
        lower.rlim_cur = limit;
        setrlimit(RLIMIT_NOFILE, &lower);
    }
    ~FileLimit() { setrlimit(RLIMIT_NOFILE, &mFormer); }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

  private:
    rlimit mFormer{};
};

/// Connects in vain until it is killed, from another process.
pid_t StartSilentClients(int count) {
    const pid_t child = fork();
    if (child != 0) return child;
    std::vector<FileDescriptor> sockets;
    for (int i = 0; i < count; ++i)
        sockets.push_back(kivo::ConnectToPort("echo"));
    pause();
    _exit(0);
}

TEST(PortClients, BeyondTheLimitPushOutTheSilentOnes) {
    const FileLimit limit(256);  // leaves 128 connections
    EchoPort port;
    Client good;
    EXPECT_TRUE(good.IsServed());
    const pid_t crowd = StartSilentClients(200);
    for (int i = 0; i < 40; ++i) {
        RunBriefly(0.005);
        ASSERT_TRUE(good.IsServed()) << "the crowd pushes out its own";
    }
    Client late;
    EXPECT_TRUE(late.IsServed());
    kill(crowd, SIGKILL);
    waitpid(crowd, nullptr, 0);
    EXPECT_TRUE(good.IsServed());
}

/// Connects, leaves a message and goes, over and over until it is killed, from another process.
pid_t StartTalkativeClients() {
    const pid_t child = fork();
    if (child != 0) return child;
    OutgoingFrame message({FrameKind::kOneWay, 0, 1, 0}, {});
    for (;;) {
        OutgoingFrame again = message;
        again.Send(kivo::ConnectToPort("echo").Get());
    }
}

TEST(PortClients, BeyondTheLimitKeepTheirPlaceAmongTalkativeOnes) {
    const FileLimit limit(256);
    EchoPort port;
    Client good;
    EXPECT_TRUE(good.IsServed());
    const pid_t crowd = StartTalkativeClients();
    for (int i = 0; i < 40; ++i) {
        std::this_thread::sleep_for(10ms);  // The kernel takes in more than there is room for.
        ASSERT_TRUE(good.IsServed()) << "the crowd goes first";
    }
    kill(crowd, SIGKILL);
    waitpid(crowd, nullptr, 0);
}

TEST(PortClients, AreRefusedWithoutSpinningWhenThereAreNoDescriptors) {
    EchoPort port;
    Client good;
    EXPECT_TRUE(good.IsServed());
    std::vector<FileDescriptor> others;
    const FileLimit limit(64);
    for (int i = 0; i < 64; ++i)
        others.emplace_back(dup(STDERR_FILENO));
    const pid_t crowd = StartSilentClients(20);
    rusage before{};
    rusage after{};
    RunBriefly(0.1);
    getrusage(RUSAGE_THREAD, &before);
    RunBriefly(0.2);
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LT(after.ru_utime.tv_usec - before.ru_utime.tv_usec + after.ru_stime.tv_usec -
                  before.ru_stime.tv_usec,
              50000);
    EXPECT_TRUE(good.IsServed());
    kill(crowd, SIGKILL);
    waitpid(crowd, nullptr, 0);
}

TEST(PortClients, MayNotBeOfAnotherUser) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    EchoPort port;
    const pid_t child = fork();
    if (child == 0) {
        // Lets the other user through to the socket, so that only its credentials are in its way.
        const auto folder = kivo::PortFolder::Open(false);
        if (!folder || chmod(getenv("XDG_RUNTIME_DIR"), 0777) != 0) _exit(100);
        if (fchdir(open((std::string(getenv("XDG_RUNTIME_DIR")) + "/kivo-message-ports").c_str(),
                        O_RDONLY)) != 0) {
            _exit(101);
        }
        chmod("echo.port", 0666);
        chmod(".", 0755);
        const int socketOfOther = socket(AF_UNIX, SOCK_STREAM, 0);
        if (setgid(65534) != 0 || setuid(65534) != 0) _exit(102);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string("echo.port").copy(address.sun_path, sizeof address.sun_path - 1);
        if (connect(socketOfOther, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            _exit(103);
        }
        OutgoingFrame frame({FrameKind::kRequest, 1, 1, 0}, {});
        frame.Send(socketOfOther);
        char byte = 0;
        _exit(recv(socketOfOther, &byte, 1, 0) > 0 ? 1 : 0);
    }
    int status = -1;
    for (int i = 0; i < 1000 && waitpid(child, &status, WNOHANG) == 0; ++i)
        RunBriefly(0.005);
    chmod((std::string(getenv("XDG_RUNTIME_DIR")) + "/kivo-message-ports").c_str(), 0700);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(port.received.empty());
}

TEST(PortClients, MayBeServedWhileServingAnother) {
    EchoPort port;
    Client outer;
    Client inner;
    bool isNested = false;
    port.whenReceived = [&] {
        if (std::exchange(isNested, true)) return;
        EXPECT_TRUE(inner.IsServed());
    };
    EXPECT_TRUE(outer.IsServed());
    EXPECT_EQ(port.received.size(), 2U);
}

TEST(PortClients, MayVanishWhileBeingServed) {
    EchoPort port;
    Client client;
    port.whenReceived = [&] {
        client.Close();
        RunBriefly(0.005);
    };
    ASSERT_TRUE(client.Send(FrameKind::kRequest, 1));
    RunBriefly(0.02);
    EXPECT_EQ(port.received.size(), 1U);
    port.whenReceived = {};
    Client good;
    EXPECT_TRUE(good.IsServed());
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KIVO_MEMORY_IS_KEPT
#endif
#endif

#ifndef KIVO_MEMORY_IS_KEPT  // the sanitizers keep what was freed
TEST(PortClients, LongMessagesLeaveNoMemoryBehind) {
    EchoPort port;
    RunBriefly();
    const long before = ResidentKilobytes();
    Client sender;
    const pid_t child = fork();
    if (child == 0) {
        const Bytes payload(32 << 20, 1);
        OutgoingFrame frame({FrameKind::kOneWay, 0, 1, 32 << 20}, payload);
        while (frame.Send(sender.Socket()) == OutgoingFrame::Progress::kBlocked) {
            pollfd polled{sender.Socket(), POLLOUT, 0};
            poll(&polled, 1, -1);
        }
        _exit(0);
    }
    while (port.received.empty())
        RunBriefly(0.01);
    waitpid(child, nullptr, 0);
    RunBriefly(1.2);
    EXPECT_LT(ResidentKilobytes() - before, 8 * 1024);
}
#endif

}  // namespace
