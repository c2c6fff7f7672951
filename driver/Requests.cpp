// The dispatcher: each request by its code, its payload checked before it is decoded.

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/Truncation.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "driver/CZYN_UserSpaceDriver.h"

/// A request's bytes, copied out of the message: the rest of a record list that its sender cut off
/// reads as the zero bytes behind them.
class CZYN_UserSpaceDriver::RequestBytes {
  public:
    explicit RequestBytes(CFDataRef data)
        : mLength(data == nullptr ? 0 : static_cast<UInt32>(CFDataGetLength(data))) {
        if (mLength == 0) return;
        mOwned.reset(new unsigned char[mLength + kivo::kZeroBytesAfterPayload]);
        CFDataGetBytes(data, CFRangeMake(0, mLength), mOwned.get());
        std::fill_n(mOwned.get() + mLength, kivo::kZeroBytesAfterPayload, 0);
    }

    const unsigned char* Bytes() const { return mOwned ? mOwned.get() : kEmpty.data(); }
    std::size_t Length() const { return mLength; }

  private:
    static constexpr std::array<unsigned char, 4> kEmpty = {};

    std::size_t mLength;
    std::unique_ptr<unsigned char[]> mOwned;
};

struct CZYN_UserSpaceDriver::RequestHandler {
    SInt32 code;
    CFDataRef (CZYN_UserSpaceDriver::*answer)(const RequestBytes& request);
};

const CZYN_UserSpaceDriver::RequestHandler CZYN_UserSpaceDriver::kRequestHandlers[] = {
    {kivo::kMessageEventTap, &CZYN_UserSpaceDriver::AnswerTapSwitch},
    {kivo::kMessagePointer, &CZYN_UserSpaceDriver::AnswerPointer},
    {kivo::kMessageTargetWindow, &CZYN_UserSpaceDriver::AnswerTargetWindow},
    {kivo::kMessageWindow, &CZYN_UserSpaceDriver::AnswerWindow},
};

namespace {

CFDataRef CreateReply(SMessageSpec& spec) {
    const unsigned char* bytes = spec.Serialize();
    return CFDataCreate(kCFAllocatorDefault, bytes, spec.SerialBufferSize());
}

}  // namespace

CFDataRef CZYN_UserSpaceDriver::MessageCallback(CFMessagePortRef, SInt32 msgid, CFDataRef data,
                                                void*) {
    const std::size_t lentBefore = mLentWindowLists.size();
    const SServerSpec heldForTheCall;
    const RequestBytes request(data);
    CFDataRef reply = nullptr;
    for (const RequestHandler& handler : kRequestHandlers) {
        if (handler.code == msgid) reply = (this->*handler.answer)(request);
    }
    mLentWindowLists.resize(lentBefore);
    return reply;
}

CFDataRef CZYN_UserSpaceDriver::AnswerTapSwitch(const RequestBytes& request) {
    if (request.Length() == 0) return nullptr;
    mTapEnabled = (request.Bytes()[0] & kivo::kYesBit) != 0;
    Workspace_SetKeyboardForwardingWanted(mTapEnabled);
    return nullptr;
}

CFDataRef CZYN_UserSpaceDriver::AnswerPointer(const RequestBytes&) {
    CGPoint point = {0, 0};
    GetGlobalMouse(&point);
    SPointSpec spec(kivo::TruncateToInt32(point.x), kivo::TruncateToInt32(point.y));
    return CreateReply(spec);
}

CFDataRef CZYN_UserSpaceDriver::AnswerTargetWindow(const RequestBytes& request) {
    using Request = STargetWindowRequestSpec;
    if (!kivo::PayloadIsComplete<Request>(request.Bytes(), request.Length())) return nullptr;
    Request spec;
    spec.Deserialize(request.Bytes());
    unsigned int targetIndex = 0;
    CGPoint position = {0, 0};
    CGSize size = {0, 0};
    if (!GetPosAndSizeForTargetWindow(spec.records.get(), spec.recordCount, targetIndex, position,
                                      size)) {
        return nullptr;
    }
    STargetPointSizeSpec answer(targetIndex, position, size);
    return CreateReply(answer);
}

CFDataRef CZYN_UserSpaceDriver::AnswerWindow(const RequestBytes& request) {
    using Request = SWindowRequestSpec;
    if (!kivo::PayloadIsComplete<Request>(request.Bytes(), request.Length())) return nullptr;
    Request spec;
    spec.Deserialize(request.Bytes());
    CGPoint position = {0, 0};
    CGSize size = {0, 0};
    if (!GetPosAndSizeForWindowName(spec.title, spec.partialMatch, position, size)) return nullptr;
    SPointSizeSpec answer(position, size);
    return CreateReply(answer);
}
