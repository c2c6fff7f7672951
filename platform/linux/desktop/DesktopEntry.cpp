#include "desktop/DesktopEntry.h"

#include <map>

#include "desktop/Text.h"

namespace kivo::desktop {
namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Cuts the first line off `text`.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

/// Undoes the escapes of a string value.
std::string Unescaped(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const char escaped = value[++i];
        switch (escaped) {
            case 's':
                text += ' ';
                break;
            case 'n':
                text += '\n';
                break;
            case 't':
                text += '\t';
                break;
            case 'r':
                text += '\r';
                break;
            default:
                if (escaped != '\\') text += '\\';
                text += escaped;
        }
    }
    return text;
}

/// Cuts the first word, whose quotes are taken off, from a command line.
std::string TakeWord(std::string_view& line) {
    line = Trimmed(line);
    std::string word;
    bool quoted = false;
    std::size_t i = 0;
    for (; i < line.size(); ++i) {
        if (line[i] == '"') {
            quoted = !quoted;
        } else if (quoted && line[i] == '\\' && i + 1 < line.size()) {
            word += line[++i];
        } else if (!quoted && kBlanks.find(line[i]) != std::string_view::npos) {
            break;
        } else {
            word += line[i];
        }
    }
    line.remove_prefix(i);
    return word;
}

/// Cuts the program that a command line starts from it. `env NAME=VALUE … program` starts the
/// program.
std::string TakeProgram(std::string_view& line) {
    std::string word = TakeWord(line);
    if (word != "env" && word != "/usr/bin/env") return word;
    do {
        word = TakeWord(line);
    } while (word.find('=') != std::string::npos);
    return word;
}

/// Whether there is more among a command line's arguments than options and field codes ("%U").
bool HasOperands(std::string_view arguments) {
    for (std::string word; !(word = TakeWord(arguments)).empty();) {
        if (word.front() != '-' && word.front() != '%') return true;
    }
    return false;
}

using Keys = std::map<std::string_view, std::string_view>;

/// The keys of the group "Desktop Entry"; a key that comes twice keeps its first value.
Keys KeysOf(std::string_view contents) {
    Keys keys;
    bool inGroup = false;
    while (!contents.empty()) {
        const std::string_view line = Trimmed(TakeLine(contents));
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            inGroup = line == "[Desktop Entry]";
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!inGroup || equals == std::string_view::npos) continue;
        keys.emplace(Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)));
    }
    return keys;
}

std::optional<std::string> StringFor(const Keys& keys, std::string_view key) {
    const auto found = keys.find(key);
    if (found == keys.end()) return std::nullopt;
    return ValidUTF8(Unescaped(found->second));
}

bool IsSet(const Keys& keys, std::string_view key) {
    const auto found = keys.find(key);
    return found != keys.end() && found->second == "true";
}

}  // namespace

std::optional<DesktopEntry> ParseDesktopEntry(std::string_view contents) {
    const Keys keys = KeysOf(contents);
    if (StringFor(keys, "Type") != "Application") return std::nullopt;
    DesktopEntry entry;
    entry.hidden = IsSet(keys, "Hidden");
    entry.noDisplay = IsSet(keys, "NoDisplay");
    entry.startupWMClass = StringFor(keys, "StartupWMClass").value_or("");
    entry.terminal = IsSet(keys, "Terminal");
    const std::string command = StringFor(keys, "Exec").value_or("");
    std::string_view arguments = command;
    entry.program = TakeProgram(arguments);
    entry.hasOperands = HasOperands(arguments);
    entry.signature = StringFor(keys, "X-CFBundleSignature");
    entry.shortVersion = StringFor(keys, "X-CFBundleShortVersionString");
    return entry;
}

}  // namespace kivo::desktop
