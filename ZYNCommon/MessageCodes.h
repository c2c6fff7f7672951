#pragma once

#include <CoreFoundation/CFBase.h>

#include <array>
#include <string>

/// The names and numbers by which daemon and control center know each other.
namespace kivo {

/// A message code from its four characters, the first in the most significant byte.
consteval SInt32 MessageCode(const char (&characters)[5]) {
    UInt32 code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code << 8 | static_cast<unsigned char>(characters[i]);
    }
    return static_cast<SInt32>(code);
}

/// The daemon's port, where requests arrive.
inline constexpr char kDriverPortName[] = "Kivo_MessagePort_KIVB";
/// The control center's port, where notifications arrive. It must exist when the daemon starts.
inline constexpr char kControlCenterPortName[] = "KivoDriver";

inline constexpr char kDriverBundleIdentifier[] = "com.zynwerks.kivo.driver";
inline constexpr char kControlCenterBundleIdentifier[] = "com.zynwerks.kivo.controlcenter";

// Daemon to control center.
inline constexpr SInt32 kMessageConnect = MessageCode("KiCt");         // 0x4B694374
inline constexpr SInt32 kMessageDisconnect = MessageCode("KiDC");      // 0x4B694443
inline constexpr SInt32 kMessageFrontSignature = MessageCode("KiFA");  // 0x4B694641
inline constexpr SInt32 kMessageFrontBundleID = MessageCode("KiFI");   // 0x4B694649
inline constexpr SInt32 kMessageLanguage = MessageCode("ZSLg");        // 0x5A534C67
inline constexpr SInt32 kMessageStatus = MessageCode("Stus");          // 0x53747573
inline constexpr SInt32 kMessageKeyEvent = MessageCode("eETC");        // 0x65455443

// Control center to daemon.
inline constexpr SInt32 kMessageEventTap = MessageCode("eTap");      // 0x65546170
inline constexpr SInt32 kMessagePointer = MessageCode("ZGlM");       // 0x5A476C4D
inline constexpr SInt32 kMessageTargetWindow = MessageCode("ZTWP");  // 0x5A545750
inline constexpr SInt32 kMessageWindow = MessageCode("ZWiP");        // 0x5A576950

enum class MessageDirection { kDriverToControlCenter, kControlCenterToDriver };

/// What a message is, for logs and tools.
struct MessageDescription {
    SInt32 code;
    MessageDirection direction;
    bool hasReplyData;
    const char* meaning;
};

/// Every code that crosses the two ports.
extern const std::array<MessageDescription, 11> kMessages;

/// The entry of `kMessages` for a code; null for an unknown one.
const MessageDescription* DescribeMessage(SInt32 code);

/// A code as its four characters, "KiCt"; as "0x00000041" when one of them is not printable ASCII.
std::string MessageCodeText(SInt32 code);

}  // namespace kivo
