#include "ZYNCommon/MessageCodes.h"

#include <algorithm>
#include <cstdio>

namespace kivo {

static_assert(kMessageConnect == 0x4B694374 && kMessageDisconnect == 0x4B694443);
static_assert(kMessageFrontSignature == 0x4B694641 && kMessageFrontBundleID == 0x4B694649);
static_assert(kMessageLanguage == 0x5A534C67 && kMessageStatus == 0x53747573);
static_assert(kMessageKeyEvent == 0x65455443 && kMessageEventTap == 0x65546170);
static_assert(kMessagePointer == 0x5A476C4D && kMessageTargetWindow == 0x5A545750);
static_assert(kMessageWindow == 0x5A576950);

namespace {
constexpr auto kOut = MessageDirection::kDriverToControlCenter;
constexpr auto kIn = MessageDirection::kControlCenterToDriver;
}  // namespace

const std::array<MessageDescription, 11> kMessages = {{
    {kMessageConnect, kOut, false, "driver connected"},
    {kMessageDisconnect, kOut, false, "driver is going away"},
    {kMessageFrontSignature, kOut, false, "front application changed, by signature"},
    {kMessageFrontBundleID, kOut, false, "front application changed, by bundle identifier"},
    {kMessageLanguage, kOut, false, "language of the driver"},
    {kMessageStatus, kOut, true, "status asked for"},
    {kMessageKeyEvent, kOut, true, "key event"},
    {kMessageEventTap, kIn, false, "switch keyboard forwarding"},
    {kMessagePointer, kIn, true, "pointer location"},
    {kMessageTargetWindow, kIn, true, "target window of a list"},
    {kMessageWindow, kIn, true, "window by title"},
}};

const MessageDescription* DescribeMessage(SInt32 code) {
    const auto* found = std::find_if(kMessages.begin(), kMessages.end(),
                                     [code](const auto& message) { return message.code == code; });
    return found == kMessages.end() ? nullptr : found;
}

std::string MessageCodeText(SInt32 code) {
    const auto value = static_cast<UInt32>(code);
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(value >> shift & 0xFF);
    }
    const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
    if (std::all_of(text.begin(), text.end(), isPrintable)) return text;

    char hex[sizeof "0x00000000"];
    std::snprintf(hex, sizeof hex, "0x%08X", value);
    return hex;
}

}  // namespace kivo
