#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kivo::ctl {

/// An option that a command knows, without its dashes.
struct OptionRule {
    std::string_view name;
    bool takesValue;
};

/// One thing on the command line, in the order given: an option, or a word when `option` is empty.
struct Argument {
    std::string_view option;
    std::string value;
};

/// Sorts words into options and plain words. Understands `--name`, `--name value`, `--name=value`
/// and `--`, after which everything is a plain word. The result refers to the rules' names.
/// Throws UsageFailure for an unknown option, a value that is missing and one that is too much.
std::vector<Argument> ParseArguments(std::span<const OptionRule> rules,
                                     std::span<const std::string> words);

/// Whether an option was given; without a name, whether there is a plain word.
bool HasOption(std::span<const Argument> arguments, std::string_view option);

/// Splits a line as a shell would: blanks part words, quotes of both kinds keep them together, a
/// backslash takes the next character as it is (not between single quotes), and a `#` at the start
/// of a word begins a comment. Throws UsageFailure for a quote that is not closed.
std::vector<std::string> SplitLine(std::string_view line);

/// Reads a decimal or, after "0x", hexadecimal number of at most `maximum`. `what` names it in the
/// text of the UsageFailure: "the number of units".
unsigned long ParseNumber(std::string_view text, unsigned long maximum, std::string_view what);

/// Reads a positive, finite number of seconds, such as "0.5". Throws UsageFailure.
double ParseSeconds(const std::string& text, std::string_view what);

}  // namespace kivo::ctl
