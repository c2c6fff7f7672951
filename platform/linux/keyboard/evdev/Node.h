#pragma once

#include <linux/input.h>

#include <bitset>
#include <cstdint>

#include "CoreFoundation/FileDescriptor.h"

/// What daemon and guard ask of a keyboard's node that is open.
namespace kivo::keyboard::evdev {

using Keys = std::bitset<KEY_CNT>;

/// Opens the same node once more, as a reader of its own; `flags` are those of open(2). Invalid
/// with errno set when this process may not.
FileDescriptor OpenAgain(int descriptor, int flags);

/// The keys that are down. The kernel takes the key events before its answer out of what is to be
/// read from `descriptor`.
Keys AskWhatIsDown(int descriptor);

/// Has the keyboard itself press and release a key, in one go. The kernel passes on only what
/// changes; whoever has the key down takes the press for nothing new.
void TypeKey(int descriptor, std::uint16_t code);

/// Gives a keyboard's events back to everybody. The kernel has its text console switch the lights
/// then, as those of a keyboard that just came; they are switched back to what the session has.
/// False when it was not grabbed through this descriptor.
bool EndGrab(int descriptor);

/// The same for good: whoever has `descriptor` can do nothing more with it, whatever it is in the
/// middle of. `other` is the keyboard's too, and open for writing.
void Revoke(int descriptor, int other);

}  // namespace kivo::keyboard::evdev
