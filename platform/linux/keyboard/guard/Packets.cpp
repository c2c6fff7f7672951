#include "keyboard/guard/Packets.h"

#include <sys/socket.h>

#include <array>
#include <cstring>

namespace kivo::keyboard {
namespace {

constexpr std::size_t kMostDescriptors = 2;

union ControlBuffer {
    cmsghdr alignment;
    std::array<char, CMSG_SPACE(kMostDescriptors * sizeof(int))> bytes;
};

}  // namespace

bool SendPacket(int socket, std::span<const std::byte> bytes, std::span<const int> descriptors) {
    iovec part{const_cast<std::byte*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    ControlBuffer control{};
    if (!descriptors.empty()) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
    }
    return sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(bytes.size());
}

ssize_t ReceivePacket(int socket, std::span<std::byte> bytes,
                      std::vector<FileDescriptor>* descriptors) {
    iovec part{bytes.data(), bytes.size()};
    ControlBuffer control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    const ssize_t size = recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    const cmsghdr* const header = size > 0 ? CMSG_FIRSTHDR(&message) : nullptr;
    if (header == nullptr || header->cmsg_type != SCM_RIGHTS) return size;
    const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header) + i * sizeof descriptor, sizeof descriptor);
        descriptors->emplace_back(descriptor);
    }
    return size;
}

}  // namespace kivo::keyboard
