#include "desktop/x11/Relay.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kivo::desktop::x11 {
namespace {

/// Longer than any reply of use, and shorter than what an empty socket pair takes.
constexpr std::size_t kLongestPacket = 128 * 1024;
constexpr std::size_t kHeadSize = 32;

bool WouldWait() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

/// The length of the packet that begins with `head`: X Window System Protocol, appendix B.
std::size_t PacketLength(const char* head) {
    constexpr unsigned char kReply = 1;
    xcb_generic_reply_t packet;
    std::memcpy(&packet, head, sizeof packet);
    const bool isLong =
        packet.response_type == kReply || (packet.response_type & 0x7F) == XCB_GE_GENERIC;
    return kHeadSize + (isLong ? std::size_t{packet.length} * 4 : 0);
}

}  // namespace

std::unique_ptr<Relay> Relay::TakePlaceOf(int descriptor) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0) {
        return nullptr;
    }
    const int server = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    const bool replaced = server >= 0 && dup3(ends[0], descriptor, O_CLOEXEC) >= 0;
    close(ends[0]);
    if (replaced) return std::unique_ptr<Relay>(new Relay(server, ends[1]));
    close(ends[1]);
    if (server >= 0) close(server);
    return nullptr;
}

Relay::~Relay() {
    close(mServer);
    close(mInner);
}

void Relay::Send() {
    TakeFromXCB();
    std::size_t sent = 0;
    while (sent < mUnsent.size() && !mIsBroken) {
        const ssize_t count =
            send(mServer, mUnsent.data() + sent, mUnsent.size() - sent, MSG_NOSIGNAL);
        if (count > 0) {
            sent += static_cast<std::size_t>(count);
        } else if (WouldWait()) {
            break;
        } else {
            mIsBroken = true;
        }
    }
    mUnsent.erase(mUnsent.begin(), mUnsent.begin() + static_cast<std::ptrdiff_t>(sent));
}

void Relay::TakeFromXCB() {
    char piece[16384];
    ssize_t count = sizeof piece;
    while (count == sizeof piece) {
        count = recv(mInner, piece, sizeof piece, 0);
        if (count > 0) mUnsent.insert(mUnsent.end(), piece, piece + count);
    }
}

bool Relay::Receive() {
    int unread = 0;
    ioctl(mInner, SIOCOUTQ, &unread);
    if (unread > 0) return true;
    TakeFromServer();
    const std::size_t whole = WholePackets();
    if (whole == 0) return false;
    const ssize_t handed = send(mInner, mReceived.data(), whole, MSG_NOSIGNAL);
    if (handed != static_cast<ssize_t>(whole)) mIsBroken = true;
    mReceived.erase(mReceived.begin(), mReceived.begin() + static_cast<std::ptrdiff_t>(whole));
    return !mIsBroken;
}

void Relay::TakeFromServer() {
    char piece[16384];
    while (mReceived.size() < kLongestPacket && !mIsBroken) {
        const ssize_t count = recv(mServer, piece, sizeof piece, 0);
        if (count > 0) {
            const std::size_t skipped = std::min(static_cast<std::size_t>(count), mToSkip);
            mToSkip -= skipped;
            mReceived.insert(mReceived.end(), piece + skipped, piece + count);
            if (static_cast<std::size_t>(count) < sizeof piece) return;
        } else if (count < 0 && WouldWait()) {
            return;
        } else {
            mIsBroken = true;
        }
    }
}

std::size_t Relay::WholePackets() {
    std::size_t whole = 0;
    while (mReceived.size() - whole >= kHeadSize) {
        std::size_t length = PacketLength(mReceived.data() + whole);
        if (length > kLongestPacket) {
            DropData(whole, length);
            length = kHeadSize;
        }
        if (whole + length > mReceived.size() || whole + length > kLongestPacket) break;
        whole += length;
    }
    return whole;
}

void Relay::DropData(std::size_t begin, std::size_t length) {
    xcb_generic_reply_t head;
    std::memcpy(&head, mReceived.data() + begin, sizeof head);
    xcb_generic_error_t error{};
    error.error_code = XCB_ALLOC;
    error.sequence = head.sequence;
    std::memcpy(mReceived.data() + begin, &error, kHeadSize);
    const std::size_t data = length - kHeadSize;
    const std::size_t received = std::min(data, mReceived.size() - begin - kHeadSize);
    const auto first = mReceived.begin() + static_cast<std::ptrdiff_t>(begin + kHeadSize);
    mReceived.erase(first, first + static_cast<std::ptrdiff_t>(received));
    mToSkip = data - received;
}

}  // namespace kivo::desktop::x11
