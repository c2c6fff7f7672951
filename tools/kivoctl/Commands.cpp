#include "tools/kivoctl/Commands.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "tools/kivoctl/Arguments.h"
#include "tools/kivoctl/Ask.h"
#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Help.h"
#include "tools/kivoctl/Listen.h"
#include "tools/kivoctl/Midi.h"
#include "tools/kivoctl/Printer.h"
#include "tools/kivoctl/Questions.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

using Words = std::span<const std::string>;

constexpr OptionRule kJson{"json", false};
constexpr OptionRule kTimeout{"timeout", true};

Form FormOf(std::span<const Argument> arguments) {
    return HasOption(arguments, "json") ? Form::kJson : Form::kWords;
}

ExitCode Print(const Answer& answer, Form form) {
    Printer printer(stdout, form, Stamp::kNone);
    printer.Print(answer.message);
    printer.CheckWritten();
    return answer.status;
}

ExitCode RunQuestion(std::string_view name, Words words) {
    const QuestionKind& kind = *FindQuestionKind(name);
    std::vector<OptionRule> rules = kind.options;
    rules.insert(rules.end(), {kJson, kTimeout});
    const std::vector<Argument> arguments = ParseArguments(rules, words);
    double timeoutSeconds = kDefaultTimeoutSeconds;
    for (const Argument& argument : arguments) {
        if (argument.option == "timeout") {
            timeoutSeconds = ParseSeconds(argument.value, "the time-out");
        }
    }
    const Question question = kind.build(arguments);
    return Print(Ask(question, timeoutSeconds, kCFRunLoopDefaultMode), FormOf(arguments));
}

ExitCode RunStatus(std::string_view, Words words) {
    const std::vector<Argument> arguments = ParseArguments({&kJson, 1}, words);
    if (HasOption(arguments, "")) {
        throw UsageFailure("status takes no words outside of a session");
    }
    return Print(TellStatus(), FormOf(arguments));
}

ExitCode RunMidi(std::string_view, Words words) {
    const std::vector<Argument> arguments = ParseArguments({&kJson, 1}, words);
    if (HasOption(arguments, "")) {
        throw UsageFailure("midi takes no words");
    }
    return Print(DescribeMidi(ListMidiDevices()), FormOf(arguments));
}

ExitCode RunListen(std::string_view name, Words words) {
    ListenOptions options = ParseListenOptions(words);
    if (name == "session") options.commands = true;
    Printer printer(stdout, options.json ? Form::kJson : Form::kWords, Stamp::kTime);
    const ExitCode status = Listener(options, &printer).Run();
    printer.CheckWritten();
    return status;
}

struct Command {
    std::string_view name;
    ExitCode (*run)(std::string_view name, Words words);
    const char* help;
};

constexpr std::array kCommands = {
    Command{"pointer", RunQuestion, kHelpPointer}, Command{"window", RunQuestion, kHelpWindow},
    Command{"target", RunQuestion, kHelpTarget},   Command{"tap", RunQuestion, kHelpTap},
    Command{"status", RunStatus, kHelpStatus},     Command{"listen", RunListen, kHelpListen},
    Command{"session", RunListen, kHelpSession},   Command{"midi", RunMidi, kHelpMidi},
};

ExitCode Say(const char* text) {
    std::fputs(text, stdout);
    return ExitCode::kAnswered;
}

ExitCode Complain(const std::string& text, ExitCode status) {
    std::fprintf(stderr, "kivoctl: %s\n", text.c_str());
    return status;
}

bool AsksForHelp(Words words) {
    const auto optionsEnd = std::find(words.begin(), words.end(), "--");
    return std::find(words.begin(), optionsEnd, "--help") != optionsEnd;
}

ExitCode RunCommand(const Command& command, Words words) {
    if (AsksForHelp(words)) return Say(command.help);
    try {
        return command.run(command.name, words);
    } catch (const UsageFailure& failure) {
        return Complain(std::string(failure.what()) + "; see `kivoctl " +
                            std::string(command.name) + " --help`",
                        failure.Status());
    } catch (const Failure& failure) {
        return Complain(failure.what(), failure.Status());
    } catch (const std::exception& error) {
        return Complain(error.what(), ExitCode::kBroken);
    }
}

}  // namespace

ExitCode RunCommandLine(Words words) {
    if (words.empty()) {
        return Complain("say what to do; see `kivoctl --help`", ExitCode::kUsage);
    }
    if (words[0] == "--help" || words[0] == "-h") return Say(kHelp);
    if (words[0] == "--version") return Say("kivoctl " KIVO_VERSION "\n");
    const auto command = FindEntry(kCommands, words[0], &Command::name);
    if (command == kCommands.end()) {
        return Complain("there is no command \"" + Printable(words[0]) + "\"; see `kivoctl --help`",
                        ExitCode::kUsage);
    }
    return RunCommand(*command, words.subspan(1));
}

}  // namespace kivo::ctl
