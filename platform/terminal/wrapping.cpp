// Breaks lines at blanks, counted in characters of UTF-8.

#include "platform/terminal/wrapping.h"

#include <algorithm>
#include <sstream>

namespace platform {

namespace {

constexpr std::size_t MinColumns = 20;
constexpr std::size_t MaxIndent = 12; // a text may be pushed far to the right by its own blanks

bool StartsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// The offset behind so many characters, or the end.
std::size_t OffsetBehind(const std::string& text, std::size_t characters) {
    std::size_t offset = 0;
    for (; offset < text.size(); ++offset)
        if (StartsCharacter(text[offset]) && characters-- == 0)
            break;
    return offset;
}

// Where to break a line that is too long: at its last blank behind the indent or, without one, at
// the edge.
std::size_t BreakOffset(const std::string& line, std::size_t indent, std::size_t edge) {
    if (line[edge] == ' ')
        return edge;
    const std::size_t blank = line.find_last_of(' ', edge);
    return blank == std::string::npos || blank <= indent ? edge : blank;
}

std::string WrapLine(std::string line, std::size_t columns) {
    std::string wrapped;
    const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
    const std::string indent(std::min(blanks, MaxIndent), ' ');
    std::size_t edge = OffsetBehind(line, columns);
    for (std::size_t first = blanks; edge < line.size(); first = indent.size()) {
        const std::size_t breakAt = BreakOffset(line, first, edge);
        wrapped += line.substr(0, line.find_last_not_of(' ', breakAt - 1) + 1) + "\n";
        const std::size_t next = std::min(line.find_first_not_of(' ', breakAt), line.size());
        line.replace(0, next, indent);
        edge = OffsetBehind(line, columns);
    }
    return wrapped + line;
}

} // namespace

std::string Wrapped(const std::string& text, std::size_t columns) {
    std::string wrapped;
    std::istringstream lines(text);
    const char* between = "";
    for (std::string line; std::getline(lines, line); between = "\n")
        wrapped += between + WrapLine(line, std::max(columns, MinColumns));
    return wrapped;
}

} // namespace platform
