#include "tools/kivoctl/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Failure.h"

namespace kivo::ctl {

namespace {

const OptionRule& FindRule(std::span<const OptionRule> rules, std::string_view name) {
    const auto rule = FindEntry(rules, name, &OptionRule::name);
    if (rule == rules.end()) {
        throw UsageFailure("there is no option --" + std::string(name) + " here");
    }
    return *rule;
}

/// Reads one option, whose word is the first of `words`; returns how many words it took.
size_t ParseOption(std::span<const OptionRule> rules, std::span<const std::string> words,
                   Argument* argument) {
    const std::string_view text = std::string_view(words[0]).substr(2);
    const size_t equals = text.find('=');
    const OptionRule& rule = FindRule(rules, text.substr(0, equals));
    argument->option = rule.name;
    if (equals != std::string_view::npos) {
        if (!rule.takesValue) throw UsageFailure("--" + std::string(rule.name) + " takes no value");
        argument->value = text.substr(equals + 1);
        return 1;
    }
    if (!rule.takesValue) return 1;
    if (words.size() < 2) throw UsageFailure("--" + std::string(rule.name) + " needs a value");
    argument->value = words[1];
    return 2;
}

bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r';
}

/// Reads one word from the front of `line`, quotes and backslashes taken off, and cuts it away.
std::string TakeWord(std::string_view* line) {
    std::string word;
    char quote = 0;
    size_t at = 0;
    for (; at < line->size() && (quote != 0 || !IsBlank((*line)[at])); ++at) {
        const char character = (*line)[at];
        if (character == '\\' && quote != '\'' && at + 1 < line->size()) {
            word += (*line)[++at];
        } else if (quote == 0 && (character == '"' || character == '\'')) {
            quote = character;
        } else if (character == quote) {
            quote = 0;
        } else {
            word += character;
        }
    }
    if (quote != 0) throw UsageFailure(std::string("a quote is not closed: add ") + quote);
    line->remove_prefix(at);
    return word;
}

}  // namespace

std::vector<Argument> ParseArguments(std::span<const OptionRule> rules,
                                     std::span<const std::string> words) {
    std::vector<Argument> arguments;
    bool optionsEnded = false;
    for (size_t at = 0; at < words.size();) {
        Argument argument;
        if (!optionsEnded && words[at] == "--") {
            optionsEnded = true;
            ++at;
            continue;
        }
        if (!optionsEnded && words[at].starts_with("--")) {
            at += ParseOption(rules, words.subspan(at), &argument);
        } else {
            argument.value = words[at++];
        }
        arguments.push_back(std::move(argument));
    }
    return arguments;
}

bool HasOption(std::span<const Argument> arguments, std::string_view option) {
    return std::any_of(arguments.begin(), arguments.end(),
                       [option](const Argument& argument) { return argument.option == option; });
}

std::vector<std::string> SplitLine(std::string_view line) {
    std::vector<std::string> words;
    for (;;) {
        while (!line.empty() && IsBlank(line.front()))
            line.remove_prefix(1);
        if (line.empty() || line.front() == '#') return words;
        words.push_back(TakeWord(&line));
    }
}

unsigned long ParseNumber(std::string_view text, unsigned long maximum, std::string_view what) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    unsigned long value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || value > maximum) {
        throw UsageFailure(std::string(what) + " must be a number from 0 to " +
                           std::to_string(maximum) + ", not \"" + std::string(text) + '"');
    }
    return value;
}

double ParseSeconds(const std::string& text, std::string_view what) {
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(seconds) || seconds <= 0) {
        throw UsageFailure(std::string(what) + " must be a number of seconds above 0, not \"" +
                           text + '"');
    }
    return seconds;
}

}  // namespace kivo::ctl
