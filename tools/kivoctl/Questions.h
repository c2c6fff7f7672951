#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/CFRef.h"
#include "tools/kivoctl/Arguments.h"
#include "tools/kivoctl/Failure.h"
#include "tools/kivoctl/Message.h"

namespace kivo::ctl {

/// What came back, told, and what it means for a script.
struct Answer {
    Message message;
    ExitCode status;
};

/// One request to the daemon: what to send, and how to read what comes back.
struct Question {
    SInt32 code;
    CFRef<CFDataRef> payload;
    /// What is being done, for the texts of failures: "asking where the pointer is".
    std::string doing;
    /// Said after the failure when the daemon ended instead of answering; may be empty.
    std::string hintWhenEnded;
    /// Reads the reply, empty when the daemon sent no data. Throws Failure kBroken.
    std::function<Answer(std::span<const UInt8> reply)> read;
};

/// One of the kinds of question: the word that asks it, and what its command line may hold.
struct QuestionKind {
    std::string_view name;
    std::vector<OptionRule> options;
    /// Builds the question; nothing has been sent. Options that are not among the kind's own are
    /// passed over. Throws UsageFailure.
    Question (*build)(std::span<const Argument> arguments);
};

/// Every kind of question: pointer, window, target, tap.
const std::vector<QuestionKind>& QuestionKinds();

/// The kind of that name; null when there is none.
const QuestionKind* FindQuestionKind(std::string_view name);

}  // namespace kivo::ctl
