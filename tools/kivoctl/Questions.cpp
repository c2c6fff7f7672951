#include "tools/kivoctl/Questions.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Targets.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

using Bytes = std::span<const UInt8>;

CFRef<CFDataRef> MakeData(Bytes bytes) {
    return Adopt(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
}

Message Named(const char* name) {
    Message message;
    message.fields["name"] = name;
    return message;
}

/// Throws Failure kBroken when the reply is too short for its spec.
template <typename Spec>
void ReadReply(Bytes reply, Spec* spec) {
    if (!PayloadIsComplete<Spec>(reply.data(), reply.size())) {
        throw Failure(ExitCode::kBroken, "the daemon's answer is cut off after " +
                                             std::to_string(reply.size()) +
                                             " bytes: are daemon and kivoctl of one version?");
    }
    spec->Deserialize(reply.data());
}

Answer NotFound(const char* name, std::string words) {
    Message message = Named(name);
    message.words = std::move(words);
    message.fields["found"] = false;
    return {std::move(message), ExitCode::kNotFound};
}

template <typename Spec>
void DescribeFrame(const Spec& spec, Message* message) {
    message->fields["x"] = spec.x;
    message->fields["y"] = spec.y;
    message->fields["width"] = spec.width;
    message->fields["height"] = spec.height;
    message->words += "at " + std::to_string(spec.x) + ", " + std::to_string(spec.y) + ", size " +
                      std::to_string(spec.width) + " x " + std::to_string(spec.height);
}

std::vector<std::string> PlainWords(std::span<const Argument> arguments) {
    std::vector<std::string> words;
    for (const Argument& argument : arguments) {
        if (argument.option.empty()) words.push_back(argument.value);
    }
    return words;
}

// Pointer.

Answer ReadPointer(Bytes reply) {
    SPointSpec point;
    ReadReply(reply, &point);
    Message message = Named("pointer");
    message.fields["x"] = point.x;
    message.fields["y"] = point.y;
    message.words = "pointer at " + std::to_string(point.x) + ", " + std::to_string(point.y);
    return {std::move(message), ExitCode::kAnswered};
}

Question AskForPointer(std::span<const Argument> arguments) {
    if (!PlainWords(arguments).empty()) throw UsageFailure("pointer takes no words");
    return {kMessagePointer, MakeData({}), "asking where the pointer is", "", ReadPointer};
}

// Window.

Answer ReadWindow(Bytes reply, const std::string& title) {
    if (reply.empty()) {
        return NotFound("window", "no window was found for the title \"" + title + '"');
    }
    SPointSizeSpec frame;
    ReadReply(reply, &frame);
    Message message = Named("window");
    message.fields["found"] = true;
    message.words = "window ";
    DescribeFrame(frame, &message);
    return {std::move(message), ExitCode::kAnswered};
}

Question AskForWindow(std::span<const Argument> arguments) {
    const std::vector<std::string> words = PlainWords(arguments);
    if (words.size() != 1) throw UsageFailure("window takes one title; put it in quotes");
    // Titles travel as UTF-8 whatever the system encoding is; this only checks them.
    static_cast<void>(MakeString(words[0], "the title"));
    std::string title = words[0];
    SWindowRequestSpec spec(title, HasOption(arguments, "partial"));
    const unsigned char* const bytes = spec.Serialize();
    return {kMessageWindow, MakeData({bytes, spec.SerialBufferSize()}), "asking for the window", "",
            [shown = Printable(title)](Bytes reply) { return ReadWindow(reply, shown); }};
}

// Target.

std::string ReadAll(const std::string& name) {
    if (name == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
    std::ifstream file(name, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad()) throw UsageFailure("cannot read the file " + name);
    return text;
}

/// KEY or KEY=ALT; the first "=" counts.
Target ParseTarget(const std::string& word) {
    Target target;
    const size_t equals = word.find('=');
    target.titleKey = word.substr(0, equals);
    if (equals != std::string::npos) target.altTitle = word.substr(equals + 1);
    return target;
}

void AddTargets(const Argument& argument, std::vector<Target>* targets) {
    if (argument.option.empty()) {
        targets->push_back(ParseTarget(argument.value));
    } else if (argument.option == "key") {
        targets->emplace_back().titleKey = argument.value;
    } else if (argument.option == "alt") {
        if (targets->empty()) throw UsageFailure("--alt belongs behind the --key it goes with");
        targets->back().altTitle = argument.value;
    } else if (argument.option == "file") {
        std::vector<Target> read = ReadTargets(ReadAll(argument.value), argument.value);
        std::move(read.begin(), read.end(), std::back_inserter(*targets));
    }
}

Answer ReadTarget(Bytes reply, const std::vector<std::string>& keys) {
    if (reply.empty()) {
        return NotFound("target", "no window of the front application is one of the targets");
    }
    STargetPointSizeSpec frame;
    ReadReply(reply, &frame);
    if (frame.targetIndex >= keys.size()) {
        throw Failure(ExitCode::kBroken, "the daemon answered with target " +
                                             std::to_string(frame.targetIndex) + " of " +
                                             std::to_string(keys.size()));
    }
    const std::string& key = keys[frame.targetIndex];
    Message message = Named("target");
    message.fields["found"] = true;
    message.fields["index"] = frame.targetIndex;
    message.fields["titleKey"] = key;
    message.words = "target " + std::to_string(frame.targetIndex) + " \"" + Printable(key) + "\" ";
    DescribeFrame(frame, &message);
    return {std::move(message), ExitCode::kAnswered};
}

Question AskForTarget(std::span<const Argument> arguments) {
    std::vector<Target> targets;
    for (const Argument& argument : arguments)
        AddTargets(argument, &targets);
    std::vector<std::string> keys;
    for (const Target& target : targets)
        keys.push_back(target.titleKey);
    const bool hasAlternate = std::any_of(targets.begin(), targets.end(), [](const Target& target) {
        return target.altTitle.has_value();
    });
    return {kMessageTargetWindow, EncodeTargets(targets), "asking for the target window",
            hasAlternate ? "; this happens when a record's alternate window is not open" : "",
            [keys = std::move(keys)](Bytes reply) { return ReadTarget(reply, keys); }};
}

// Tap.

Question SwitchTap(std::span<const Argument> arguments) {
    const std::vector<std::string> words = PlainWords(arguments);
    if (words.size() != 1 || (words[0] != "on" && words[0] != "off")) {
        throw UsageFailure("tap takes the word on or off");
    }
    const bool isOn = words[0] == "on";
    const UInt8 payload = isOn ? kYesBit : 0;
    const auto read = [isOn](Bytes) {
        Message message = Named("tap");
        message.fields["on"] = isOn;
        message.words = isOn ? "keyboard forwarding is on" : "keyboard forwarding is off";
        return Answer{std::move(message), ExitCode::kAnswered};
    };
    return {kMessageEventTap, MakeData({&payload, 1}), "switching keyboard forwarding", "", read};
}

}  // namespace

const std::vector<QuestionKind>& QuestionKinds() {
    static const std::vector<QuestionKind> kinds = {
        {"pointer", {}, AskForPointer},
        {"window", {{"partial", false}}, AskForWindow},
        {"target", {{"key", true}, {"alt", true}, {"file", true}}, AskForTarget},
        {"tap", {}, SwitchTap},
    };
    return kinds;
}

const QuestionKind* FindQuestionKind(std::string_view name) {
    const auto kind = FindEntry(QuestionKinds(), name, &QuestionKind::name);
    return kind == QuestionKinds().end() ? nullptr : &*kind;
}

}  // namespace kivo::ctl
