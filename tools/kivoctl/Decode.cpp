#include "tools/kivoctl/Decode.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

using Bytes = std::span<const UInt8>;

/// As much of a payload as is shown when nobody can read it.
constexpr size_t kMostBytesInWords = 32;
constexpr size_t kMostBytesInJson = 4096;

/// What the daemon tells at first when no application was in front as it started.
constexpr UInt32 kNobodySignature = 0;

Message Named(SInt32 code, const char* name) {
    Message message;
    message.fields["code"] = MessageCodeText(code);
    message.fields["name"] = name;
    return message;
}

/// A 32-bit value that was copied into the message as it lay in memory.
std::optional<UInt32> ReadNative32(Bytes payload) {
    UInt32 value = 0;
    if (payload.size() < sizeof value) return std::nullopt;
    std::memcpy(&value, payload.data(), sizeof value);
    return value;
}

/// The text up to the terminating 0, which must be there, as UTF-8.
std::optional<std::string> ReadText(Bytes payload) {
    const auto end = std::find(payload.begin(), payload.end(), UInt8{0});
    if (end == payload.end()) return std::nullopt;
    return FromSystemEncoding({reinterpret_cast<const char*>(payload.data()),
                               static_cast<size_t>(end - payload.begin())});
}

bool DecodeIdentity(Bytes payload, const char* words, Message* message) {
    const auto identity = ReadNative32(payload);
    if (!identity) return false;
    const std::string text = MessageCodeText(static_cast<SInt32>(*identity));
    message->fields["identity"] = text;
    message->words = words;
    if (*identity != kIdentityCode) message->words += " under the unknown identity " + text;
    return true;
}

bool DecodeConnect(Bytes payload, Message* message) {
    return DecodeIdentity(payload, "the daemon has connected", message);
}

bool DecodeDisconnect(Bytes payload, Message* message) {
    return DecodeIdentity(payload, "the daemon is going away", message);
}

bool DecodeSignature(Bytes payload, Message* message) {
    const auto signature = ReadNative32(payload);
    if (!signature) return false;
    if (*signature == kNobodySignature) {
        message->fields["signature"] = nullptr;
        message->words = "no application is in front yet";
        return true;
    }
    const std::string text = MessageCodeText(static_cast<SInt32>(*signature));
    message->fields["signature"] = text;
    message->words = "front application has the signature " + text;
    return true;
}

bool DecodeBundleIdentifier(Bytes payload, Message* message) {
    const auto identifier = ReadText(payload);
    if (!identifier) return false;
    message->fields["bundleIdentifier"] = *identifier;
    message->words = "front application is " + Printable(*identifier);
    return true;
}

bool DecodeLanguage(Bytes payload, Message* message) {
    const auto language = ReadText(payload);
    if (!language) return false;
    message->fields["language"] = *language;
    message->words = "language is " + Printable(*language);
    return true;
}

bool DecodeStatusRequest(Bytes, Message* message) {
    message->words = "the daemon asks for the controller's status";
    return true;
}

std::string KeyWords(const KeyEvent& event) {
    std::array<char, 16> code{};
    std::snprintf(code.data(), code.size(), " (0x%02x)", event.keyCode);
    std::string words = "key " + std::string(KeyName(event.keyCode)) + code.data();
    const char* joint = " with ";
    for (const std::string_view modifier : ModifierNames(event.flags)) {
        words.append(std::exchange(joint, "+")).append(modifier);
    }
    return words + (event.isDown ? " pressed" : " released");
}

void DescribeKey(const KeyEvent& event, Message* message) {
    message->words = KeyWords(event);
    message->fields["keyCode"] = event.keyCode;
    message->fields["key"] = KeyName(event.keyCode);
    message->fields["flags"] = event.flags;
    message->fields["modifiers"] = ModifierNames(event.flags);
    message->fields["down"] = event.isDown;
}

bool DecodeKeyEvent(Bytes payload, Message* message) {
    const auto event = ReadKeyEvent(payload);
    if (event) DescribeKey(*event, message);
    return event.has_value();
}

/// How to read one code. `decode` fills in what the payload says, or says that it cannot be read.
struct Decoder {
    SInt32 code;
    const char* name;
    bool (*decode)(Bytes payload, Message* message);
};

constexpr std::array kDecoders = {
    Decoder{kMessageConnect, "connected", DecodeConnect},
    Decoder{kMessageDisconnect, "disconnected", DecodeDisconnect},
    Decoder{kMessageFrontSignature, "frontApplication", DecodeSignature},
    Decoder{kMessageFrontBundleID, "frontApplication", DecodeBundleIdentifier},
    Decoder{kMessageLanguage, "language", DecodeLanguage},
    Decoder{kMessageStatus, "statusRequest", DecodeStatusRequest},
    Decoder{kMessageKeyEvent, "key", DecodeKeyEvent},
};

Message ShowBytes(SInt32 code, const char* name, const char* complaint, Bytes payload) {
    Message message = Named(code, name);
    message.fields["size"] = payload.size();
    message.fields["hex"] = Hex(payload.first(std::min(payload.size(), kMostBytesInJson)));
    message.words = complaint + MessageCodeText(code) + ", " + std::to_string(payload.size()) +
                    (payload.size() == 1 ? " byte" : " bytes");
    if (payload.empty()) return message;
    const Bytes shown = payload.first(std::min(payload.size(), kMostBytesInWords));
    message.words += ": " + Hex(shown, " ");
    if (shown.size() < payload.size()) message.words += " ...";
    return message;
}

}  // namespace

Message DecodeNotification(SInt32 code, Bytes payload) {
    const auto decoder = FindEntry(kDecoders, code, &Decoder::code);
    if (decoder == kDecoders.end()) return ShowBytes(code, "unknown", "unknown message ", payload);
    Message message = Named(code, decoder->name);
    if (decoder->decode(payload, &message)) return message;
    message = ShowBytes(code, decoder->name, "unreadable message ", payload);
    message.fields["unreadable"] = true;
    return message;
}

Message DescribeKeyEvent(const KeyEvent& event, bool isSwallowed) {
    Message message = Named(kMessageKeyEvent, "key");
    DescribeKey(event, &message);
    message.fields["swallowed"] = isSwallowed;
    message.words += isSwallowed ? ": swallowed" : ": let through";
    return message;
}

Message DescribeStatusRequest(UInt32 units, UInt32 channels) {
    Message message = DecodeNotification(kMessageStatus, {});
    message.fields["units"] = units;
    message.fields["channels"] = channels;
    message.words +=
        ": answered units " + std::to_string(units) + ", channels " + std::to_string(channels);
    return message;
}

}  // namespace kivo::ctl
