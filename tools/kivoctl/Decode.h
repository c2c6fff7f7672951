#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <span>

#include "tools/kivoctl/KeyEvent.h"
#include "tools/kivoctl/Message.h"

namespace kivo::ctl {

/// What a message from the daemon says. The fields begin with "code" and "name"; a payload that
/// cannot be read, and that of an unknown code, is there as "size" and "hex" (of the first 4,096
/// bytes). Never throws for what is in the payload.
Message DecodeNotification(SInt32 code, std::span<const UInt8> payload);

/// The same for a key event that has been read, with what became of it.
Message DescribeKeyEvent(const KeyEvent& event, bool isSwallowed);

/// The same for the question after the controller's status, with what was answered.
Message DescribeStatusRequest(UInt32 units, UInt32 channels);

}  // namespace kivo::ctl
