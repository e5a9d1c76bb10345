// Texts that were laid out for a window, in the columns of a terminal.
//
// The texts bring line breaks and rows of blanks with them, which made their layout at one width
// and one font. Broken once more at another width they would be unreadable.

#include "platform/terminal/wrapping.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <vector>

namespace platform {

namespace {

constexpr std::size_t MinColumns = 20;
constexpr std::size_t MaxIndent = 12;    // a text may be pushed far to the right by its own blanks
constexpr std::size_t MaxKeptBlanks = 2; // between two sentences; more of them are layout

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }
bool StartsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

std::size_t BlanksBefore(const std::string& line) {
    return std::min(line.find_first_not_of(' '), line.size());
}

// Behind the number of an item and its full stop; 0 where the text starts with none.
std::size_t EndOfNumber(const std::string& text) {
    std::size_t end = 0;
    while (end < text.size() && IsDigit(text[end]))
        ++end;
    const bool numbered =
        end > 0 && end + 1 < text.size() && text[end] == '.' && text[end + 1] == ' ';
    return numbered ? end + 1 : 0;
}

bool EndsSentence(const std::string& line) {
    return line.empty() || std::strchr(".:!?", line.back());
}

// Without blanks at its ends, and with one for each row of them inside that is layout.
std::string WithoutLayout(const std::string& line) {
    std::string plain;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t blanks = std::min(line.find_first_not_of(' ', at), line.size()) - at;
        const std::size_t end = std::min(line.find(' ', at + blanks), line.size());
        if (at + blanks < line.size() && !plain.empty())
            plain.append(blanks > MaxKeptBlanks ? 1 : blanks, ' ');
        plain += line.substr(at + blanks, end - at - blanks);
        at = end;
    }
    return plain;
}

// A word with the blanks before it. Punctuation that stands alone belongs to the word before it,
// for French has a blank there.
std::vector<std::string> Words(const std::string& line, std::size_t start) {
    std::vector<std::string> words;
    while (start < line.size()) {
        const std::size_t word = std::min(line.find_first_not_of(' ', start), line.size());
        const std::size_t end = std::min(line.find(' ', word), line.size());
        const std::string next = line.substr(start, end - start);
        if (word < line.size() && std::strchr(":;!?", line[word]) && !words.empty())
            words.back() += next;
        else
            words.push_back(next);
        start = end;
    }
    return words;
}

// The offset behind so many characters, or the end.
std::size_t OffsetBehind(const std::string& text, std::size_t characters) {
    std::size_t offset = 0;
    for (; offset < text.size(); ++offset)
        if (StartsCharacter(text[offset]) && characters-- == 0)
            break;
    return offset;
}

// Columns to the left of what follows the first line.
std::size_t HangingIndent(const std::string& line, std::size_t least) {
    const std::size_t blanks = BlanksBefore(line);
    const std::size_t number = EndOfNumber(line.substr(blanks));
    return std::min(std::max(blanks + (number ? number + 1 : 0), least), MaxIndent);
}

std::string WrapLine(const std::string& line, std::size_t columns, std::size_t least) {
    const std::string indent(HangingIndent(line, least), ' ');
    std::string wrapped, current = std::string(std::min(BlanksBefore(line), MaxIndent), ' ');
    bool fresh = true; // nothing but the indent so far
    for (const std::string& word : Words(line, BlanksBefore(line))) {
        if (!fresh && ColumnsOf(current + word) > columns) {
            wrapped += current + "\n";
            current = indent;
            fresh = true;
        }
        current += fresh ? word.substr(BlanksBefore(word)) : word;
        fresh = false;
        while (ColumnsOf(current) > columns) {
            const std::size_t edge = OffsetBehind(current, columns);
            wrapped.append(current, 0, edge).append("\n");
            current.replace(0, edge, indent);
        }
    }
    return wrapped + current;
}

} // namespace

std::size_t TerminalColumns() {
    constexpr std::size_t Usual = 80;
    winsize size = {};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : Usual;
}

std::size_t ColumnsOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), StartsCharacter));
}

std::string Reflowed(const std::string& text) {
    std::vector<std::string> paragraphs;
    bool inItem = false;
    std::size_t itemBlanks = 0; // before the number of the item, as it was laid out
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::string plain = WithoutLayout(line);
        const std::size_t blanks = BlanksBefore(line);
        const bool item = EndOfNumber(plain) > 0;
        const bool goesOn = !plain.empty() && !item && !paragraphs.empty() &&
                            !paragraphs.back().empty() &&
                            ((inItem && blanks > itemBlanks) || !EndsSentence(paragraphs.back()));
        if (goesOn) {
            paragraphs.back() += " " + plain;
            continue;
        }
        paragraphs.push_back(item ? " " + plain : plain);
        inItem = item;
        itemBlanks = blanks;
    }
    std::string reflowed;
    for (const std::string& paragraph : paragraphs)
        reflowed += (&paragraph == paragraphs.data() ? "" : "\n") + paragraph;
    return reflowed;
}

std::string Wrapped(const std::string& text, std::size_t columns, std::size_t indent) {
    std::string wrapped;
    std::istringstream lines(text);
    const char* between = "";
    for (std::string line; std::getline(lines, line); between = "\n")
        wrapped += between + WrapLine(line, std::max(columns, MinColumns), indent);
    return wrapped;
}

} // namespace platform
