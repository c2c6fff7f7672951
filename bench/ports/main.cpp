#include <CFRef.h>
#include <CoreFoundation/CoreFoundation.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/Comparison.h"
#include "bench/ports/BusPeer.h"

/// Requests through a message port, both ends on their run loops and in two processes: over a bare
/// exchange of the same bytes on a socket of the same type, and over a method call through a bus.

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

/// A process of the benchmark, ended with it.
class Peer {
  public:
    /// Runs `body` in a new process and waits until it has written a byte to the descriptor it is
    /// given.
    explicit Peer(const std::function<void(int ready)>& body) {
        int ready[2];
        if (pipe(ready) != 0) Fail("pipe");
        mPid = fork();
        if (mPid == 0) {
            close(ready[0]);
            body(ready[1]);
            _exit(0);
        }
        close(ready[1]);
        char byte = 0;
        if (read(ready[0], &byte, 1) != 1) Fail("a process of the benchmark did not start");
        close(ready[0]);
    }
    ~Peer() {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

  private:
    pid_t mPid;
};

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
          mPeer([&](int ready) { Serve(path, size, ready); }),
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
        if (write(ready, "r", 1) != 1) Fail("write");
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
    Peer mPeer;
    int mSocket;
};

/// The port of another process that answers each request with a byte.
class PortOwner {
  public:
    PortOwner() : mPeer(Serve) {}

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
        if (write(ready, "r", 1) != 1) Fail("write");
        CFRunLoopRun();
    }

    Peer mPeer;
};

/// A request of a size to that port.
class PortRequest {
  public:
    explicit PortRequest(size_t size)
        : mPort(kivo::Adopt(CFMessagePortCreateRemote(nullptr, CFSTR("bench")))) {
        const std::vector<uint8_t> bytes(size, 1);
        mRequest = kivo::Adopt(CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(size)));
    }

    void operator()() {
        CFDataRef answer = nullptr;
        const SInt32 status = CFMessagePortSendRequest(mPort.Get(), 1, mRequest.Get(), 10, 10,
                                                       kCFRunLoopDefaultMode, &answer);
        if (status != kCFMessagePortSuccess || CFDataGetLength(answer) != 1) std::abort();
        CFRelease(answer);
    }

  private:
    kivo::CFRef<CFMessagePortRef> mPort;
    kivo::CFRef<CFDataRef> mRequest;
};

/// A bus of the benchmark's own.
class PrivateBus {
  public:
    explicit PrivateBus(const std::string& address)
        : mPeer([&](int ready) { Exec(address, ready); }) {}

  private:
    static void Exec(const std::string& address, int ready) {
        // It warns of limits that it may not raise, at each start.
        if (std::freopen("/dev/null", "w", stderr) == nullptr) Fail("/dev/null");
        const std::string listen = "--address=" + address;
        const std::string report = "--print-address=" + std::to_string(ready);
        execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nosyslog", "--nopidfile",
               listen.c_str(), report.c_str(), nullptr);
        Fail("dbus-daemon");
    }

    Peer mPeer;
};

/// A folder for the sockets, gone at the end.
class Folder {
  public:
    Folder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kivo-bench-XXXXXX").string();
        path = mkdtemp(pattern.data());
        setenv("XDG_RUNTIME_DIR", path.c_str(), 1);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::filesystem::path path;
};

}  // namespace

int main(int argc, char** argv) {
    const Folder folder;
    const std::string busAddress = "unix:path=" + (folder.path / "bus").string();
    // All processes first: this one has not used Core Foundation yet, and may fork.
    const PortOwner owner;
    BareExchange bareShort(folder.path / "short", kRequestBytes);
    BareExchange bareLong(folder.path / "long", kLongBytes);
    const PrivateBus bus(busAddress);
    const Peer busOwner([&](int ready) { kivo::bench::ServeOnBus(busAddress, ready); });
    kivo::bench::BusClient busClient(busAddress);
    const std::vector<uint8_t> request(kRequestBytes, 1);

    std::vector<kivo::bench::Comparison> comparisons;
    comparisons.push_back(kivo::bench::Compare("port_round_trip_vs_socket", 1.6, kShortRounds,
                                               PortRequest(kRequestBytes), bareShort));
    comparisons.push_back(kivo::bench::Compare("port_round_trip_vs_dbus", 0.5, kBusRounds,
                                               PortRequest(kRequestBytes),
                                               [&] { busClient.Call(request); }));
    comparisons.push_back(kivo::bench::Compare("port_8mib_vs_socket", 1.3, kLongRounds,
                                               PortRequest(kLongBytes), bareLong));
    if (argc > 1 && std::string(argv[1]) == "--json") {
        kivo::bench::PrintAsJSON(comparisons);
    } else {
        kivo::bench::PrintAsText(comparisons);
    }
    return 0;
}
