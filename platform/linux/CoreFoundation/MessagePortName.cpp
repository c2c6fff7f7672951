#include <CoreFoundation/MessagePortName.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kivo {
namespace {

constexpr size_t kLongestStem = 80;
constexpr size_t kKeptOfLongStem = 56;
/// How much of a long message the kernel holds for a peer that is about to read it. More makes no
/// copy faster; the system may allow less.
constexpr int kSendBufferBytes = 256 * 1024;

uint64_t Fnv1a(std::string_view bytes) {
    uint64_t hash = 0xcbf29ce484222325;
    for (const char c : bytes) {
        hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001b3;
    }
    return hash;
}

bool StandsForItself(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

/// A number in hexadecimal, with leading zeros.
std::string Hex(uint64_t value, size_t digits, const char* alphabet) {
    std::string text(digits, '0');
    for (size_t i = digits; i-- > 0; value >>= 4)
        text[i] = alphabet[value & 15];
    return text;
}

/// Whether a folder is one, this user's, and closed to all others.
bool IsPrivateFolder(const struct stat& status) {
    return S_ISDIR(status.st_mode) && status.st_uid == geteuid() && (status.st_mode & 077) == 0;
}

std::string FolderPath() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') {
        return std::string(runtime) + "/kivo-message-ports";
    }
    const std::string user = std::to_string(geteuid());
    const std::string perUser = "/run/user/" + user;
    struct stat status {};
    if (lstat(perUser.c_str(), &status) == 0 && IsPrivateFolder(status)) {
        return perUser + "/kivo-message-ports";
    }
    return "/tmp/kivo-message-ports-" + user;
}

/// Once a process: every attempt fails alike.
void ReportUnusableFolder(const std::string& path) {
    static std::atomic<bool> isReported{false};
    if (isReported.exchange(true)) return;
    std::fprintf(stderr,
                 "message ports: cannot use %s: it has to be a folder of this user with mode 0700; "
                 "correct or remove it\n",
                 path.c_str());
}

sockaddr_un SocketAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), std::min(path.size(), sizeof address.sun_path - 1));
    return address;
}

/// Opens and locks the lock file; none when somebody else holds it.
FileDescriptor Lock(int folder, const std::string& file) {
    for (;;) {
        FileDescriptor lock(
            openat(folder, file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock || flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) return FileDescriptor();
        struct stat opened {};
        struct stat present {};
        const bool isThere = fstatat(folder, file.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0;
        if (fstat(lock.Get(), &opened) != 0) return FileDescriptor();
        // Somebody cleaned the folder meanwhile: a lock on a removed file excludes nobody.
        if (isThere && opened.st_ino == present.st_ino && opened.st_dev == present.st_dev) {
            return lock;
        }
    }
}

}  // namespace

std::string PortFileStem(std::string_view name) {
    std::string stem;
    for (const char c : name) {
        if (StandsForItself(c) && !(c == '.' && stem.empty())) {
            stem += c;
        } else {
            stem += "%" + Hex(static_cast<uint8_t>(c), 2, "0123456789ABCDEF");
        }
    }
    if (stem.size() <= kLongestStem) return stem;
    return stem.substr(0, kKeptOfLongStem) + "~" + Hex(Fnv1a(name), 16, "0123456789abcdef");
}

std::optional<PortFolder> PortFolder::Open(bool mayMake) {
    std::string path = FolderPath();
    if (mayMake) mkdir(path.c_str(), 0700);
    FileDescriptor folder(open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (folder && fstat(folder.Get(), &status) == 0 && IsPrivateFolder(status)) {
        return PortFolder(std::move(folder), std::move(path));
    }
    if (folder || errno == ELOOP || errno == ENOTDIR) ReportUnusableFolder(path);
    return std::nullopt;
}

std::string PortFolder::SocketPath(const std::string& file) const {
    std::string path = mPath + "/" + file;
    if (path.size() < sizeof(sockaddr_un::sun_path)) return path;
    return "/proc/self/fd/" + std::to_string(mDescriptor.Get()) + "/" + file;
}

std::optional<OwnedPortName> OwnedPortName::Take(std::string_view name) {
    auto folder = PortFolder::Open(true);
    if (!folder) return std::nullopt;
    const std::string stem = PortFileStem(name);
    FileDescriptor lock = Lock(folder->Descriptor(), stem + ".lock");
    if (!lock) return std::nullopt;
    OwnedPortName owned(std::move(*folder), stem + ".port", std::move(lock));
    if (!owned.Listen()) return std::nullopt;
    return owned;
}

/// Puts a socket that listens under the name, in place of what a dead owner left there. Until then
/// it has another name, so that nobody finds one that refuses him.
bool OwnedPortName::Listen() {
    const std::string unfinished = "." + mFile + ".new";
    const int folder = mFolder.Descriptor();
    unlinkat(folder, unfinished.c_str(), 0);
    struct stat status {};
    if (!BindListener(unfinished) || fchmodat(folder, unfinished.c_str(), 0600, 0) != 0 ||
        listen(mListener.Get(), SOMAXCONN) != 0 ||
        fstatat(folder, unfinished.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        renameat(folder, unfinished.c_str(), folder, mFile.c_str()) != 0) {
        unlinkat(folder, unfinished.c_str(), 0);
        return false;
    }
    mSocketInode = status.st_ino;
    return true;
}

bool OwnedPortName::BindListener(const std::string& file) {
    mListener = FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = SocketAddress(mFolder.SocketPath(file));
    return mListener &&
           bind(mListener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

OwnedPortName::~OwnedPortName() {
    if (!mLock || mSocketInode == 0) return;
    struct stat status {};
    const int folder = mFolder.Descriptor();
    if (fstatat(folder, mFile.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        status.st_ino == mSocketInode) {
        unlinkat(folder, mFile.c_str(), 0);
    }
}

std::optional<PortPeer> PeerOf(int socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return std::nullopt;
    return PortPeer{credentials.uid, credentials.pid};
}

FileDescriptor ConnectToPort(std::string_view name) {
    const auto folder = PortFolder::Open(false);
    if (!folder) return FileDescriptor();
    FileDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = SocketAddress(folder->SocketPath(PortFileStem(name) + ".port"));
    if (!connection || connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address),
                               sizeof address) != 0) {
        return FileDescriptor();
    }
    const auto peer = PeerOf(connection.Get());
    if (!peer || peer->user != geteuid()) return FileDescriptor();
    setsockopt(connection.Get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof kSendBufferBytes);
    return connection;
}

}  // namespace kivo
