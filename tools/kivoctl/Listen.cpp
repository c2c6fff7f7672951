#include "tools/kivoctl/Listen.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/UBuffer.h"
#include "platform/Advice.h"
#include "tools/kivoctl/Ask.h"
#include "tools/kivoctl/Decode.h"
#include "tools/kivoctl/Failure.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

constexpr std::array kListenOptions = {
    OptionRule{"json", false},    OptionRule{"commands", false}, OptionRule{"keys", false},
    OptionRule{"swallow", true},  OptionRule{"ask", true},       OptionRule{"units", true},
    OptionRule{"channels", true}, OptionRule{"until", true},     OptionRule{"count", true},
    OptionRule{"timeout", true},
};

/// Takes whatever can travel, though the daemon keeps 16 bits only: authors may want to see that.
UInt32 ParseUnits(std::string_view text, std::string_view what) {
    return static_cast<UInt32>(ParseNumber(text, 0xFFFFFFFF, what));
}

void TakeOption(const Argument& argument, ListenOptions* options) {
    const auto& [option, value] = argument;
    if (option.empty()) throw UsageFailure("listen takes no words, such as \"" + value + '"');
    if (option == "json") options->json = true;
    if (option == "commands") options->commands = true;
    if (option == "keys") options->showKeys = true;
    if (option == "swallow") options->swallow = SwallowRule::Parse(value);
    if (option == "ask") options->adviser = value;
    if (option == "units") options->units = ParseUnits(value, "the number of units");
    if (option == "channels") options->channels = ParseUnits(value, "the number of channels");
    if (option == "until") options->untilCode = ParseCode(value);
    if (option == "count") options->count = ParseNumber(value, 1'000'000'000, "the count");
    if (option == "timeout") options->timeoutSeconds = ParseSeconds(value, "the time-out");
}

/// The mode in which a session waits for an answer: messages of the daemon are served, further
/// commands are not.
CFRunLoopMode AskingMode() {
    return CFSTR("com.zynwerks.kivo.kivoctl.asking");
}

CFRef<CFDataRef> MakeReply(std::span<const UInt8> bytes) {
    return Adopt(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
}

bool ReadsStandardInput(const Argument& argument) {
    return argument.option == "file" && argument.value == "-";
}

Message DescribeFailure(const Failure& failure) {
    Message message;
    message.fields["name"] = "error";
    message.fields["status"] = static_cast<int>(failure.Status());
    message.fields["text"] = failure.what();
    message.words = std::string("error: ") + failure.what();
    return message;
}

}  // namespace

ListenOptions ParseListenOptions(std::span<const std::string> words) {
    ListenOptions options;
    for (const Argument& argument : ParseArguments(kListenOptions, words)) {
        TakeOption(argument, &options);
    }
    if (options.count == 0) throw UsageFailure("the count must be above 0");
    return options;
}

Listener::Listener(const ListenOptions& options, Printer* printer)
    : mOptions(options), mPrinter(printer) {
    if (!mOptions.adviser.empty()) mAdviser.emplace(mOptions.adviser);
    TakePort();
}

Listener::~Listener() = default;

void Listener::TakePort() {
    const CFRef<CFStringRef> name = MakeString(kControlCenterPortName, "the port name");
    mPort = std::make_unique<CACFLocalMessagePort>(name.Get(), MessageEntry, nullptr, this);
    if (mPort->IsValid()) {
        CFRunLoopAddCommonMode(CFRunLoopGetCurrent(), AskingMode());
        CFRunLoopAddSource(CFRunLoopGetCurrent(), mPort->GetRunLoopSource(), kCFRunLoopCommonModes);
        return;
    }
    if (IsPortOwned(kControlCenterPortName)) {
        throw Failure(ExitCode::kNameTaken,
                      "another program owns the port \"KivoDriver\": end that control center or "
                      "kivoctl listen first; questions such as `kivoctl pointer` work beside it");
    }
    throw Failure(ExitCode::kBroken, std::string("the port \"KivoDriver\" cannot be made: ") +
                                         advice::kMakeThePortPossible);
}

void Listener::AnnouncePort() {
    Message message;
    message.fields["name"] = "listening";
    message.fields["port"] = kControlCenterPortName;
    message.fields["daemon"] = IsPortOwned(kDriverPortName);
    message.words = "listening as the control center";
    if (message.fields["daemon"]) {
        message.words +=
            "; the daemon that is running looked for one when it started, and tells nothing "
            "until it is restarted";
    }
    Print(message);
}

ExitCode Listener::Run() {
    const ExitCode end = ListenToTheEnd();
    GiveKeysBack();
    return end;
}

/// Nobody answers from now on, and the daemon would swallow every key.
void Listener::GiveKeysBack() {
    const std::array off{Argument{"", "off"}};
    constexpr double kPatienceSeconds = 1;
    try {
        const Answer answer =
            Ask(FindQuestionKind("tap")->build(off), kPatienceSeconds, AskingMode());
        if (mIsForwarding) Print(answer.message);
    } catch (const Failure&) {
        // Without a daemon there are no keys to give back.
    }
}

ExitCode Listener::ListenToTheEnd() {
    using Clock = std::chrono::steady_clock;
    const Inbox inbox(mOptions.commands ? STDIN_FILENO : -1,
                      [this](const Inbox::Event& event) { TakeEvent(event); });
    AnnouncePort();
    constexpr double kForeverSeconds = 1e9;
    const auto start = Clock::now();
    while (!mEnd) {
        const double passed = std::chrono::duration<double>(Clock::now() - start).count();
        const double left = mOptions.timeoutSeconds.value_or(kForeverSeconds) - passed;
        if (left <= 0) {
            const bool wasAwaited = mOptions.untilCode || mOptions.count;
            return wasAwaited ? ExitCode::kNoAnswer : ExitCode::kAnswered;
        }
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, left, true);
    }
    return *mEnd;
}

CFDataRef Listener::MessageEntry(CFMessagePortRef, SInt32 code, CFDataRef data, void* info) {
    try {
        return static_cast<Listener*>(info)->TakeMessage(code, BytesOf(data)).Release();
    } catch (const std::exception&) {
        // Out of memory is all that is left; the message goes without a reply.
        return nullptr;
    }
}

CFRef<CFDataRef> Listener::TakeMessage(SInt32 code, std::span<const UInt8> payload) {
    CFRef<CFDataRef> reply;
    if (code == kMessageKeyEvent) {
        reply = AnswerKeyEvent(payload);
    } else if (code == kMessageStatus) {
        reply = AnswerStatusRequest();
    } else {
        Tell(DecodeNotification(code, payload));
    }
    EndWhenMet(code);
    return reply;
}

CFRef<CFDataRef> Listener::AnswerKeyEvent(std::span<const UInt8> payload) {
    const auto event = ReadKeyEvent(payload);
    const std::optional<bool> isLetThrough = event ? Judge(*event) : true;
    // Keys are what the user types: they are told only on demand.
    if (mOptions.showKeys) {
        Message message = event ? DescribeKeyEvent(*event, !isLetThrough.value_or(false))
                                : DecodeNotification(kMessageKeyEvent, payload);
        if (!isLetThrough) message.words += ", as the program gave no answer in time";
        Tell(message);
    } else {
        TellOfSilence(!isLetThrough);
    }
    mIsForwarding = true;
    if (!isLetThrough) return {};
    const UInt8 verdict = *isLetThrough ? kYesBit : 0;
    return MakeReply({&verdict, 1});
}

/// Nothing when whoever was asked did not answer: then the daemon gets no answer either.
std::optional<bool> Listener::Judge(const KeyEvent& event) {
    if (mOptions.swallow.Swallows(event)) return false;
    return mAdviser ? mAdviser->LetsThrough(event) : true;
}

/// Says when the program falls silent, once: what is typed then is lost, and nothing else shows it.
void Listener::TellOfSilence(bool isSilent) {
    if (std::exchange(mIsAdviserSilent, isSilent) || !isSilent) return;
    Print(DescribeFailure({ExitCode::kNoAnswer,
                           "the program of --ask gives no answer in time; "
                           "keys are swallowed until it does"}));
}

CFRef<CFDataRef> Listener::AnswerStatusRequest() {
    Tell(DescribeStatusRequest(mOptions.units, mOptions.channels));
    std::array<UInt8, kStatusReplySize> status{};
    UToBuffer::StoreLong(mOptions.units, &status[0]);
    UToBuffer::StoreLong(mOptions.channels, &status[4]);
    return MakeReply(status);
}

void Listener::Tell(const Message& message) {
    if (mEnd) return;
    Print(message);
    ++mTold;
}

void Listener::Print(const Message& message) {
    mPrinter->Print(message);
    if (mPrinter->IsBroken()) mEnd = ExitCode::kAnswered;
}

void Listener::EndWhenMet(SInt32 code) {
    if (mOptions.untilCode == code) mEnd = ExitCode::kAnswered;
    if (mOptions.count && mTold >= *mOptions.count) mEnd = ExitCode::kAnswered;
}

void Listener::TakeEvent(const Inbox::Event& event) {
    if (mEnd) return;
    switch (event.kind) {
        case Inbox::Kind::kSignal:
            mEnd = ExitCode::kAnswered;
            break;
        case Inbox::Kind::kEndOfInput:
            if (!mOptions.EndsByItself()) mEnd = ExitCode::kAnswered;
            break;
        case Inbox::Kind::kLine:
            TakeCommand(event.line);
            break;
    }
}

void Listener::TakeCommand(const std::string& line) {
    try {
        const std::vector<std::string> words = SplitLine(line);
        if (!words.empty()) Execute(words);
    } catch (const Failure& failure) {
        Print(DescribeFailure(failure));
    } catch (const std::exception& error) {
        Print(DescribeFailure({ExitCode::kBroken, error.what()}));
    }
}

void Listener::Execute(std::span<const std::string> words) {
    if (words[0] == "quit") {
        mEnd = ExitCode::kAnswered;
        return;
    }
    if (words[0] == "status") {
        ExecuteStatus(words.subspan(1));
        return;
    }
    const QuestionKind* const kind = FindQuestionKind(words[0]);
    if (kind == nullptr) {
        throw UsageFailure("there is no command \"" + Printable(words[0]) +
                           "\"; there are pointer, window, target, tap, status and quit");
    }
    const std::vector<Argument> arguments = ParseArguments(kind->options, words.subspan(1));
    if (std::any_of(arguments.begin(), arguments.end(), ReadsStandardInput)) {
        throw UsageFailure("standard input holds the commands; put the targets in a file");
    }
    const Question question = kind->build(arguments);
    Print(Ask(question, kDefaultTimeoutSeconds, AskingMode()).message);
    if (words[0] == "tap") mIsForwarding = words.back() == "on";
}

void Listener::ExecuteStatus(std::span<const std::string> words) {
    if (words.empty()) {
        Print(TellStatus().message);
        return;
    }
    if (words.size() != 2) throw UsageFailure("status takes the numbers of units and channels");
    const UInt32 units = ParseUnits(words[0], "the number of units");
    const UInt32 channels = ParseUnits(words[1], "the number of channels");
    mOptions.units = units;
    mOptions.channels = channels;
    Message message;
    message.fields["name"] = "statusSet";
    message.fields["units"] = units;
    message.fields["channels"] = channels;
    message.words = "status is answered with units " + std::to_string(units) + ", channels " +
                    std::to_string(channels) + " from now on";
    Print(message);
}

}  // namespace kivo::ctl
