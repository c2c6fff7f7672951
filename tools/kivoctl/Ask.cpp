#include "tools/kivoctl/Ask.h"

#include <array>
#include <cstdio>
#include <memory>
#include <utility>

#include "PublicUtility/CACFMessagePort.h"
#include "ZYNCommon/MessageCodes.h"
#include "platform/Advice.h"
#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

/// The port of that name; null when nobody owns it.
std::unique_ptr<CACFRemoteMessagePort> FindPort(const char* name) {
    const CFRef<CFStringRef> string = MakeString(name, "the port name");
    auto port = std::make_unique<CACFRemoteMessagePort>(string.Get(), nullptr);
    if (port->IsValid()) return port;
    // A process remembers the ports it has found, and the first search after the owner was
    // replaced only notices that the remembered one is dead.
    port = std::make_unique<CACFRemoteMessagePort>(string.Get(), nullptr);
    if (!port->IsValid()) return nullptr;
    return port;
}

/// What a status of CFMessagePortSendRequest means. `%s` stands for the time waited.
struct SendFailure {
    SInt32 status;
    ExitCode exitCode;
    const char* text;
};

constexpr std::array kSendFailures = {
    SendFailure{kCFMessagePortSendTimeout, ExitCode::kNoAnswer,
                "the daemon took no message within %s s (send time-out, status -1): it hangs or is "
                "stopped; --timeout gives it longer"},
    SendFailure{kCFMessagePortReceiveTimeout, ExitCode::kNoAnswer,
                "no answer within %s s (receive time-out, status -2): the daemon is busy, hangs or "
                "is stopped; --timeout gives it longer"},
    SendFailure{kCFMessagePortIsInvalid, ExitCode::kBroken,
                "the daemon has ended (port invalid, status -3): start it again"},
    SendFailure{kCFMessagePortTransportError, ExitCode::kBroken,
                "the message could not be sent (transport error, status -4): the daemon has just "
                "ended, or it refuses the message; try again"},
    SendFailure{kCFMessagePortBecameInvalidError, ExitCode::kBroken,
                "the daemon ended while answering (port became invalid, status -5)"},
};

std::string Insert(const char* text, double seconds) {
    std::array<char, 24> number{};
    std::snprintf(number.data(), number.size(), "%g", seconds);
    std::string result = text;
    if (const size_t at = result.find("%s"); at != std::string::npos) {
        result.replace(at, 2, number.data());
    }
    return result;
}

Failure ExplainStatus(SInt32 status, const Question& question, double timeoutSeconds) {
    const auto known = FindEntry(kSendFailures, status, &SendFailure::status);
    if (known == kSendFailures.end()) {
        return {ExitCode::kBroken, question.doing + ": sending failed with the unknown status " +
                                       std::to_string(status)};
    }
    std::string text = question.doing + ": " + Insert(known->text, timeoutSeconds);
    if (status == kCFMessagePortBecameInvalidError) text += question.hintWhenEnded;
    return {known->exitCode, text};
}

}  // namespace

bool IsPortOwned(const char* name) {
    return FindPort(name) != nullptr;
}

Answer Ask(const Question& question, double timeoutSeconds, CFRunLoopMode mode) {
    const auto daemon = FindPort(kDriverPortName);
    if (!daemon) {
        throw Failure(ExitCode::kNoDaemon,
                      std::string("no daemon is running: ") + advice::kStartTheDaemon);
    }
    CFRef<CFDataRef> reply;
    const SInt32 status = daemon->SendRequest(question.code, question.payload.Get(), timeoutSeconds,
                                              timeoutSeconds, mode, reply.Receive());
    if (status != kCFMessagePortSuccess) throw ExplainStatus(status, question, timeoutSeconds);
    return question.read(BytesOf(reply.Get()));
}

Answer TellStatus() {
    const bool hasDaemon = IsPortOwned(kDriverPortName);
    const bool hasControlCenter = IsPortOwned(kControlCenterPortName);
    Message message;
    message.fields["name"] = "status";
    message.fields["daemon"] = hasDaemon;
    message.fields["controlCenter"] = hasControlCenter;
    message.words = hasDaemon ? "a daemon is running" : "no daemon is running";
    message.words +=
        hasControlCenter ? "; a control center is running" : "; no control center is running";
    return {std::move(message), hasDaemon ? ExitCode::kAnswered : ExitCode::kNoDaemon};
}

}  // namespace kivo::ctl
