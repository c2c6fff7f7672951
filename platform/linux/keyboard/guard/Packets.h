#pragma once

#include <sys/types.h>

#include <cstddef>
#include <span>
#include <vector>

#include "CoreFoundation/FileDescriptor.h"

/// Packets with descriptors over a local socket.
namespace kivo::keyboard {

/// Sends one packet; false when the peer is gone or cannot take it now.
bool SendPacket(int socket, std::span<const std::byte> bytes, std::span<const int> descriptors);

/// Receives one packet into `bytes` and its descriptors into `descriptors`, without waiting. As
/// recv: its size, 0 at the end, -1 with errno set.
ssize_t ReceivePacket(int socket, std::span<std::byte> bytes,
                      std::vector<FileDescriptor>* descriptors);

}  // namespace kivo::keyboard
