// Splits command lines as C programs on Windows do. The trap: 2n backslashes before a quotation
// mark are n backslashes and a mark that opens or closes, 2n+1 are n backslashes and a mark that
// belongs to the text.

#include "platform/processes/command_line.h"

#include <algorithm>

namespace platform {
namespace {

bool IsBlank(char character) { return character == ' ' || character == '\t'; }

void SkipBlanks(std::string_view& line) {
    const auto first = line.find_first_not_of(" \t");
    line.remove_prefix(std::min(first, line.size()));
}

std::string ParseProgram(std::string_view& line) {
    std::string program;
    bool quoted = false;
    while (!line.empty() && (quoted || !IsBlank(line[0]))) {
        if (line[0] == '"')
            quoted = !quoted;
        else
            program += line[0];
        line.remove_prefix(1);
    }
    return program;
}

std::string ParseArgument(std::string_view& line) {
    std::string argument;
    bool quoted = false;
    while (!line.empty() && (quoted || !IsBlank(line[0]))) {
        const auto backslashes = std::min(line.find_first_not_of('\\'), line.size());
        line.remove_prefix(backslashes);
        const bool atMark = !line.empty() && line[0] == '"';
        argument.append(atMark ? backslashes / 2 : backslashes, '\\');
        if (atMark && backslashes % 2 == 0)
            quoted = !quoted;
        else if (atMark)
            argument += '"';
        else if (backslashes == 0)
            argument += line[0];
        if (atMark || backslashes == 0)
            line.remove_prefix(1);
    }
    return argument;
}

} // namespace

std::vector<std::string> SplitCommandLine(std::string_view commandLine) {
    std::vector<std::string> arguments;
    SkipBlanks(commandLine);
    if (commandLine.empty())
        return arguments;
    arguments.push_back(ParseProgram(commandLine));
    for (SkipBlanks(commandLine); !commandLine.empty(); SkipBlanks(commandLine))
        arguments.push_back(ParseArgument(commandLine));
    return arguments;
}

} // namespace platform
