// Key events: each one is shown to the control center, which lets it through or swallows it.

#include <cstring>

#include "ZYNCommon/DesignedRetention.h"
#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "driver/CZYN_UserSpaceDriver.h"

namespace {

kivo::KeyEventRecord RecordOf(CGEventType type, CGEventRef event) {
    kivo::KeyEventRecord record;
    record.keyCode =
        static_cast<UInt16>(CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode));
    record.flags = CGEventGetFlags(event);
    record.keyDown = type == kCGEventKeyDown ? 1 : 0;
    return record;
}

}  // namespace

CGEventRef CZYN_UserSpaceDriver::EventTapCallBackEntry(CGEventTapProxy, CGEventType type,
                                                       CGEventRef event, void*) {
    if (sSelf == nullptr || !sSelf->mTapEnabled) return event;
    try {
        return sSelf->IsLetThrough(type, event) ? event : nullptr;
    } catch (...) {  // only a failed allocation can come here: no answer, so the event is swallowed
        return nullptr;
    }
}

bool CZYN_UserSpaceDriver::IsLetThrough(CGEventType type, CGEventRef event) {
    const kivo::KeyEventRecord record = RecordOf(type, event);
    unsigned char bytes[sizeof record];
    std::memcpy(bytes, &record, sizeof record);
    CFDataRef reply = nullptr;
    const SInt32 status = SendMessage(kivo::kMessageKeyEvent, bytes, sizeof bytes, true, &reply);
    if (status != 0 || reply == nullptr || CFDataGetLength(reply) == 0) {
        if (reply != nullptr) CFRelease(reply);
        return false;
    }
    UInt8 verdict = 0;
    CFDataGetBytes(reply, CFRangeMake(0, 1), &verdict);
    if ((verdict & kivo::kYesBit) == 0) {
        kivo::RetainByDesign(kivo::DesignedRetention::kSwallowedKeyReply, reply);
        return false;
    }
    CFRelease(reply);
    return true;
}
