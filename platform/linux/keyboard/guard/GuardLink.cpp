#include "keyboard/guard/GuardLink.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <new>

#include <Workspace.h>
#include "keyboard/guard/Packets.h"

namespace kivo::keyboard {
namespace {

std::string Failure(const std::string& what, int error) {
    return what + " failed: " + std::strerror(error);
}

/// The guard's program, from where this one is: <prefix>/bin beside <prefix>/libexec.
std::string GuardProgram() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return self.parent_path().parent_path() / "libexec/kivo/kivo-guard";
}

}  // namespace

GuardLink::~GuardLink() {
    if (mPage != nullptr) munmap(mPage, sizeof(GuardPage));
}

std::string GuardLink::Start() {
    if (IsRunning()) return {};
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) {
        return Failure("making a socket pair", errno);
    }
    mSocket = FileDescriptor(pair[0]);
    const FileDescriptor socketOfGuard(pair[1]);
    std::string failure = Spawn(socketOfGuard.Get());
    if (failure.empty()) failure = MakePage();
    if (!failure.empty()) mSocket.Close();
    return failure;
}

std::string GuardLink::Spawn(int socketOfGuard) {
    const std::string program = GuardProgram();
    // A copy above the guard's number: spawning leaves a descriptor that is copied onto itself
    // closed on exec.
    const FileDescriptor source(fcntl(socketOfGuard, F_DUPFD_CLOEXEC, kGuardSocket + 1));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, source.Get(), kGuardSocket);
    char name[] = "kivo-guard";
    char* arguments[] = {name, nullptr};
    const int error =
        posix_spawn(&mProcess, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::string() : Failure("starting " + program, error);
}

std::string GuardLink::MakePage() {
    const FileDescriptor memory(memfd_create("kivo-guard", MFD_CLOEXEC));
    if (!memory || ftruncate(memory.Get(), sizeof(GuardPage)) != 0) {
        return Failure("making memory to share with the guard", errno);
    }
    void* const place =
        mmap(nullptr, sizeof(GuardPage), PROT_READ | PROT_WRITE, MAP_SHARED, memory.Get(), 0);
    if (place == MAP_FAILED) return Failure("mapping memory to share with the guard", errno);
    if (mPage != nullptr) munmap(mPage, sizeof(GuardPage));
    mPage = new (place) GuardPage;
    const int descriptor = memory.Get();
    const bool isSent = Send({.order = GuardOrder::kTakePage}, {&descriptor, 1});
    return isSent ? std::string() : "the guard ended as soon as it was started";
}

bool GuardLink::WatchX11(const std::string& display, std::uint32_t resource) {
    GuardMessage message{.order = GuardOrder::kWatchX11, .number = resource};
    display.copy(message.text.data(), message.text.size() - 1);
    return Send(message);
}

bool GuardLink::WatchDevice(std::uint32_t number, int device, int clone) {
    const std::array<int, 2> descriptors{device, clone};
    return Send({.order = GuardOrder::kWatchDevice, .number = number}, descriptors);
}

bool GuardLink::ForgetDevice(std::uint32_t number) {
    return Send({.order = GuardOrder::kForgetDevice, .number = number});
}

bool GuardLink::Arm(bool isArmed) {
    if (IsRunning()) Beat();
    return Send({.order = isArmed ? GuardOrder::kArm : GuardOrder::kDisarm});
}

bool GuardLink::Free() {
    return Send({.order = GuardOrder::kFree});
}

GuardLink::News GuardLink::Read(std::uint32_t* number) {
    if (!IsRunning()) return News::kNone;
    GuardReport report{};
    std::vector<FileDescriptor> none;
    const ssize_t size =
        ReceivePacket(mSocket.Get(), std::as_writable_bytes(std::span(&report, 1)), &none);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return News::kNone;
    if (size != sizeof report) {
        mSocket.Close();
        waitpid(mProcess, nullptr, WNOHANG);
        return News::kGone;
    }
    if (report.news == GuardNews::kRefused) {
        NSLog(CFSTR("A keyboard is not held, because the guard cannot connect to it"));
        return Read(number);
    }
    *number = report.number;
    return report.news == GuardNews::kReady ? News::kReady : News::kFreed;
}

/// A guard that has got some orders and not others would free the wrong things, should it go on.
bool GuardLink::Send(const GuardMessage& message, std::span<const int> descriptors) {
    if (!IsRunning()) return false;
    if (SendPacket(mSocket.Get(), std::as_bytes(std::span(&message, 1)), descriptors)) return true;
    kill(mProcess, SIGKILL);
    return false;
}

}  // namespace kivo::keyboard
