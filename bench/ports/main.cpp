// Requests through a message port, both ends on their run loops and in two processes: over a bare
// exchange of the same bytes on a socket of the same type, and over a method call through a bus.

#include <CFRef.h>
#include <CoreFoundation/CoreFoundation.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Program.h"
#include "bench/ports/BusPeer.h"
#include "tests/desktop/Process.h"

namespace kivo::bench {
namespace {

constexpr size_t kRequestBytes = 24;
constexpr size_t kLongBytes = 8 << 20;
constexpr int kShortRounds = 20000;
constexpr int kBusRounds = 10000;
constexpr int kLongRounds = 300;
/// That of a message port's connection.
constexpr int kSendBufferBytes = 256 * 1024;

[[noreturn]] void Fail(const char* what) {
    std::perror(what);
    std::exit(1);
}

void AwaitReady(test::Pipe& ready) {
    ready.CloseWriteEnd();
    if (ready.ReadLine().empty()) {
        throw std::runtime_error("a process of the benchmark does not start");
    }
}

/// Runs `body` in a process of its own, and returns when that has written a line to the descriptor
/// that it is given.
test::Process StartPeer(const std::function<void(int ready)>& body) {
    test::Pipe ready;
    test::Process peer([&] { body(ready.WriteEnd()); });
    AwaitReady(ready);
    return peer;
}

void ReportReady(int descriptor) {
    if (write(descriptor, "ready\n", 6) != 6) Fail("write");
}

void ReadAll(int socket, std::vector<uint8_t>& buffer) {
    for (size_t got = 0; got < buffer.size();) {
        const ssize_t count = recv(socket, buffer.data() + got, buffer.size() - got, 0);
        if (count <= 0) _exit(0);
        got += static_cast<size_t>(count);
    }
}

void WriteAll(int socket, const std::vector<uint8_t>& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0) Fail("send");
        sent += static_cast<size_t>(count);
    }
}

/// The floor: a request of a size and an answer of a byte through a stream socket with a name, by
/// blocking calls.
class BareExchange {
  public:
    BareExchange(const std::string& path, size_t size)
        : mRequest(size, 1),
          mAnswer(1),
          mPeer(StartPeer([&](int ready) { Serve(path, size, ready); })),
          mSocket(Open(path, false)) {
        setsockopt(mSocket, SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof kSendBufferBytes);
    }
    ~BareExchange() { close(mSocket); }
    BareExchange(const BareExchange&) = delete;
    BareExchange& operator=(const BareExchange&) = delete;

    void operator()() {
        WriteAll(mSocket, mRequest);
        ReadAll(mSocket, mAnswer);
    }

  private:
    static int Open(const std::string& path, bool isOwner) {
        const int opened = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        const auto* generic = reinterpret_cast<const sockaddr*>(&address);
        if (isOwner) {
            if (bind(opened, generic, sizeof address) != 0 || listen(opened, 1) != 0) Fail("bind");
        } else if (connect(opened, generic, sizeof address) != 0) {
            Fail("connect");
        }
        return opened;
    }

    static void Serve(const std::string& path, size_t size, int ready) {
        const int listener = Open(path, true);
        ReportReady(ready);
        const int client = accept(listener, nullptr, nullptr);
        std::vector<uint8_t> request(size);
        const std::vector<uint8_t> answer(1);
        for (;;) {
            ReadAll(client, request);
            WriteAll(client, answer);
        }
    }

    std::vector<uint8_t> mRequest;
    std::vector<uint8_t> mAnswer;
    test::Process mPeer;
    int mSocket;
};

/// The port of another process that answers each request with a byte.
class PortOwner {
  public:
    PortOwner() : mPeer(StartPeer(Serve)) {}

  private:
    static CFDataRef Answer(CFMessagePortRef, SInt32, CFDataRef data, void*) {
        return CFDataCreate(nullptr, CFDataGetBytePtr(data), 1);
    }
    static void Serve(int ready) {
        CFMessagePortRef port =
            CFMessagePortCreateLocal(nullptr, CFSTR("bench"), Answer, nullptr, nullptr);
        CFRunLoopAddSource(CFRunLoopGetCurrent(),
                           CFMessagePortCreateRunLoopSource(nullptr, port, 0),
                           kCFRunLoopCommonModes);
        ReportReady(ready);
        CFRunLoopRun();
    }

    test::Process mPeer;
};

/// A request of a size to that port.
class PortRequest {
  public:
    explicit PortRequest(size_t size)
        : mPort(Adopt(CFMessagePortCreateRemote(nullptr, CFSTR("bench")))) {
        const std::vector<uint8_t> bytes(size, 1);
        mRequest = Adopt(CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(size)));
    }

    void operator()() {
        CFDataRef answer = nullptr;
        const SInt32 status = CFMessagePortSendRequest(mPort.Get(), 1, mRequest.Get(), 10, 10,
                                                       kCFRunLoopDefaultMode, &answer);
        if (status != kCFMessagePortSuccess || CFDataGetLength(answer) != 1) std::abort();
        CFRelease(answer);
    }

  private:
    CFRef<CFMessagePortRef> mPort;
    CFRef<CFDataRef> mRequest;
};

/// A bus of the benchmark's own.
test::Process StartBus(const std::string& address) {
    test::Pipe ready;
    test::Process bus(
        {"dbus-daemon", "--session", "--nofork", "--nosyslog", "--nopidfile",
         "--address=" + address, "--print-address=" + std::to_string(ready.WriteEnd())},
        ready.WriteEnd());
    AwaitReady(ready);
    return bus;
}

std::vector<Comparison> Measure() {
    const std::filesystem::path folder = std::getenv("XDG_RUNTIME_DIR");
    const std::string busAddress = "unix:path=" + (folder / "bus").string();
    // All processes first: this one has not used Core Foundation yet, and may fork.
    const PortOwner owner;
    BareExchange bareShort(folder / "short", kRequestBytes);
    BareExchange bareLong(folder / "long", kLongBytes);
    const test::Process bus = StartBus(busAddress);
    const test::Process busOwner =
        StartPeer([&](int ready) { ServeOnBus(busAddress, [ready] { ReportReady(ready); }); });
    BusClient busClient(busAddress);
    const std::vector<uint8_t> request(kRequestBytes, 1);

    std::vector<Comparison> comparisons;
    comparisons.push_back(Compare("port_round_trip_vs_socket", 1.6, kShortRounds,
                                  PortRequest(kRequestBytes), bareShort));
    comparisons.push_back(Compare("port_round_trip_vs_dbus", 0.5, kBusRounds,
                                  PortRequest(kRequestBytes), [&] { busClient.Call(request); }));
    comparisons.push_back(
        Compare("port_8mib_vs_socket", 1.3, kLongRounds, PortRequest(kLongBytes), bareLong));
    return comparisons;
}

}  // namespace
}  // namespace kivo::bench

int main(int argc, char** argv) {
    return kivo::bench::RunProgram(argc, argv, kivo::bench::Measure);
}
