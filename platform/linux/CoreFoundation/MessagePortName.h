#pragma once

// Inside of the layer only: where message ports lie and who owns a name. docs/message-ports.md says
// the same for other languages.

#include <CoreFoundation/FileDescriptor.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace kivo {

/// The names of a port's files begin with this; the name is taken as its UTF-8 bytes.
std::string PortFileStem(std::string_view name);

/// The folder of this user's ports.
class PortFolder {
  public:
    /// Opens the folder, and makes it first if `mayMake`. None when it is missing or not private;
    /// the latter is said on standard error.
    static std::optional<PortFolder> Open(bool mayMake);

    int Descriptor() const { return mDescriptor.Get(); }
    /// A path to a file of the folder that fits into a socket address. Only while this lives.
    std::string SocketPath(const std::string& file) const;

  private:
    PortFolder(FileDescriptor descriptor, std::string path)
        : mDescriptor(std::move(descriptor)), mPath(std::move(path)) {}

    FileDescriptor mDescriptor;
    std::string mPath;
};

/// A name that this process owns, with the socket that listens under it.
class OwnedPortName {
  public:
    /// Takes a name; none when another process, or this one, owns it or a file cannot be made.
    static std::optional<OwnedPortName> Take(std::string_view name);
    OwnedPortName(OwnedPortName&&) = default;
    OwnedPortName& operator=(OwnedPortName&&) = delete;
    /// Gives the name back: the socket's file goes first, so that whoever takes the name next never
    /// loses its own.
    ~OwnedPortName();

    int Listener() const { return mListener.Get(); }

  private:
    OwnedPortName(PortFolder folder, std::string file, FileDescriptor lock)
        : mFolder(std::move(folder)), mFile(std::move(file)), mLock(std::move(lock)) {}
    bool Listen();
    bool BindListener(const std::string& file);

    PortFolder mFolder;
    std::string mFile;
    FileDescriptor mLock;
    FileDescriptor mListener;
    ino_t mSocketInode = 0;
};

/// The process at the other end of a connection.
struct PortPeer {
    uid_t user;
    pid_t process;
};
std::optional<PortPeer> PeerOf(int socket);

/// A connected non-blocking socket, or none when nobody listens under the name or somebody who is
/// not this user does. Does not wait.
FileDescriptor ConnectToPort(std::string_view name);

}  // namespace kivo
