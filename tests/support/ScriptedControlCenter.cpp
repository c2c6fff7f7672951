#include "tests/support/ScriptedControlCenter.h"

namespace kivo::test {

Bytes BytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

Bytes BytesOf(CFDataRef data) {
    Bytes bytes(static_cast<std::size_t>(CFDataGetLength(data)));
    CFDataGetBytes(data, CFRangeMake(0, CFDataGetLength(data)), bytes.data());
    return bytes;
}

ScriptedControlCenter::ScriptedControlCenter()
    : mPort(CFSTR("KivoDriver"), ReceiveEntry, nullptr, this) {
    CFRunLoopAddSource(CFRunLoopGetCurrent(), mPort.GetRunLoopSource(), kCFRunLoopCommonModes);
}

ScriptedControlCenter::~ScriptedControlCenter() = default;

void ScriptedControlCenter::StopListening() {
    CFRunLoopRemoveSource(CFRunLoopGetCurrent(), mPort.GetRunLoopSource(), kCFRunLoopCommonModes);
}

std::vector<Bytes> ScriptedControlCenter::PayloadsOf(SInt32 code) const {
    std::vector<Bytes> payloads;
    for (const Message& message : received) {
        if (message.code == code) payloads.push_back(message.payload);
    }
    return payloads;
}

std::vector<SInt32> ScriptedControlCenter::Codes() const {
    std::vector<SInt32> codes;
    for (const Message& message : received)
        codes.push_back(message.code);
    return codes;
}

CFDataRef ScriptedControlCenter::ReceiveEntry(CFMessagePortRef, SInt32 code, CFDataRef data,
                                              void* context) {
    auto& self = *static_cast<ScriptedControlCenter*>(context);
    self.received.push_back({code, BytesOf(data)});
    if (self.whenReceived) self.whenReceived(Message(self.received.back()));
    const auto reply = self.replies.find(code);
    if (reply == self.replies.end()) return nullptr;
    return CFDataCreate(kCFAllocatorDefault, reply->second.data(),
                        static_cast<CFIndex>(reply->second.size()));
}

}  // namespace kivo::test
