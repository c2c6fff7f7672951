#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "PublicUtility/CACFMessagePort.h"

namespace kivo::test {

using Bytes = std::vector<unsigned char>;

/// The bytes of a text without its terminating zero.
Bytes BytesOf(const std::string& text);
Bytes BytesOf(CFDataRef data);

/// A control center in this process: owns the port "KivoDriver", keeps what it receives and
/// answers as told. `whenReceived` runs inside the callback, for what happens while the daemon
/// waits.
class ScriptedControlCenter {
  public:
    struct Message {
        SInt32 code;
        Bytes payload;
    };

    ScriptedControlCenter();
    ~ScriptedControlCenter();
    ScriptedControlCenter(const ScriptedControlCenter&) = delete;
    ScriptedControlCenter& operator=(const ScriptedControlCenter&) = delete;

    std::vector<Message> received;
    std::map<SInt32, Bytes> replies;  ///< a code without an entry gets an empty reply
    std::function<void(const Message&)> whenReceived;

    /// Lives on without ever looking at a message again, as a program that hangs.
    void StopListening();

    /// The payloads that came under a code, oldest first.
    std::vector<Bytes> PayloadsOf(SInt32 code) const;
    std::vector<SInt32> Codes() const;

  private:
    static CFDataRef ReceiveEntry(CFMessagePortRef, SInt32 code, CFDataRef data, void* self);

    CACFLocalMessagePort mPort;
};

}  // namespace kivo::test
