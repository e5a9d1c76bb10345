// Reading the registry's text. A line is understood or the whole file is refused: see the header.

#include "platform/registry/registry_text.h"

#include "platform/base/text.h"

#include <winreg.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace platform {
namespace {

constexpr std::string_view Header = "Windows Registry Editor Version 5.00";
constexpr std::string_view Blanks = " \t";

struct BadLine : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(Blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(Blanks) - first + 1);
}

// Skips a word at the front, in any case; false where the text starts with something else.
bool SkipWord(std::string_view& text, std::string_view word) {
    if (CompareAnsiNoCase(text.substr(0, word.size()), word) != 0)
        return false;
    text.remove_prefix(word.size());
    return true;
}

DWORD HexNumber(std::string_view digits, std::size_t maxDigits) {
    DWORD number = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, 16);
    if (digits.size() > maxDigits || result.ec != std::errc() || result.ptr != end)
        throw BadLine("a number is too long or not hexadecimal");
    return number;
}

// Reads a text in quotation marks off the front. A backslash that escapes neither a quotation mark
// nor a backslash stands for itself: people write paths with single ones.
std::u16string ParseQuoted(std::string_view& line) {
    std::string text;
    line.remove_prefix(1);
    for (;;) {
        if (line.empty())
            throw BadLine("a text has no closing quotation mark");
        if (line[0] == '"')
            break;
        const bool escapes =
            line[0] == '\\' && line.size() > 1 && (line[1] == '"' || line[1] == '\\');
        line.remove_prefix(escapes ? 1 : 0);
        text += line[0];
        line.remove_prefix(1);
    }
    line.remove_prefix(1);
    return Utf16FromUtf8(text);
}

std::string NumberBytes(DWORD number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>((number >> shift) & 0xFF);
    return bytes;
}

// Bytes in hexadecimal between commas; one comma may follow the last.
std::string HexBytes(std::string_view list) {
    std::string bytes;
    list = Trimmed(list);
    while (!list.empty()) {
        const auto end = std::min(list.find(','), list.size());
        bytes += static_cast<char>(HexNumber(Trimmed(list.substr(0, end)), 2));
        list = Trimmed(list.substr(std::min(end + 1, list.size())));
    }
    return bytes;
}

// The text up to a comment, and the comment.
std::string_view CutComment(std::string_view line, std::string_view& comment) {
    const auto start = std::min(line.find(';'), line.size());
    comment = line.substr(start);
    return Trimmed(line.substr(0, start));
}

// Where the name of a key ends: it may hold brackets itself, and so may the comment behind it.
std::size_t ClosingBracket(std::string_view line, std::string_view& comment) {
    for (auto end = line.find(']'); end != std::string_view::npos; end = line.find(']', end + 1)) {
        const auto next = std::min(line.find_first_not_of(Blanks, end + 1), line.size());
        comment = line.substr(next);
        if (comment.empty() || comment[0] == ';')
            return end;
    }
    throw BadLine("a key has no closing bracket");
}

DWORD ParseHexType(std::string_view& text) {
    if (SkipWord(text, ":"))
        return REG_BINARY;
    const auto end = text.find("):");
    if (!SkipWord(text, "(") || end == std::string_view::npos)
        throw BadLine("the type of a value cannot be read");
    const DWORD type = HexNumber(text.substr(0, end - 1), 8);
    text.remove_prefix(end + 1);
    return type;
}

// What follows the '='. Gives the comment behind it.
std::string_view ParseData(std::string_view text, RegistryValue& value) {
    std::string_view comment;
    if (text.starts_with('"')) {
        value.type = REG_SZ;
        value.data = BytesFromUtf16(ParseQuoted(text) + u'\0');
        if (!CutComment(text, comment).empty())
            throw BadLine("something follows the closing quotation mark");
        return comment;
    }
    text = CutComment(text, comment);
    if (SkipWord(text, "dword:")) {
        value.type = REG_DWORD;
        value.data = NumberBytes(HexNumber(Trimmed(text), 8));
    } else if (SkipWord(text, "hex")) {
        value.type = ParseHexType(text);
        value.data = HexBytes(text);
    } else {
        throw BadLine("a value is neither a text nor dword: nor hex:");
    }
    return comment;
}

std::u16string RootName(std::u16string_view name) {
    const std::u16string folded = FoldName(name);
    if (folded == u"HKLM")
        return u"HKEY_LOCAL_MACHINE";
    return folded == u"HKCU" ? u"HKEY_CURRENT_USER" : std::u16string(name);
}

class Parser {
public:
    explicit Parser(RegistryTree& tree) : tree_(tree) {}

    // A line without its end, continued ones joined.
    void Line(std::string_view line) {
        line = Trimmed(line);
        const bool first = std::exchange(first_, first_ && line.empty());
        if (line.empty() || (first && line == Header))
            return;
        if (line[0] == ';')
            comments_.emplace_back(line);
        else if (line[0] == '[')
            Section(line);
        else if (line[0] == '"' || line[0] == '@')
            Value(line);
        else
            throw BadLine("this is neither a key nor a value nor a comment");
    }

    void End() { tree_.comments = std::move(comments_); }

private:
    void Section(std::string_view line) {
        std::string_view comment;
        const std::size_t end = ClosingBracket(line, comment);
        RegistryPath path;
        if (line[1] == '-')
            throw BadLine("keys are not deleted here");
        if (!SplitRegistryPath(Utf16FromUtf8(line.substr(1, end - 1)), path) || path.empty())
            throw BadLine("this can be no key");
        path[0] = RootName(path[0]);
        if (!comment.empty())
            comments_.emplace_back(comment);
        bool made;
        key_ = &tree_.Make(path, made);
        AttachComments(key_->comments);
    }

    void Value(std::string_view line) {
        RegistryValue value;
        if (line[0] == '@')
            line.remove_prefix(1);
        else
            value.name = ParseQuoted(line);
        line = Trimmed(line);
        if (!SkipWord(line, "=") || !IsRegistryValueName(value.name))
            throw BadLine("the name of a value cannot be read");
        if (!key_)
            throw BadLine("a value stands outside of every key");
        const auto comment = ParseData(Trimmed(line), value);
        if (!comment.empty())
            comments_.emplace_back(comment);
        Store(std::move(value));
    }

    // A name that comes twice: the later value counts, in the position of the earlier.
    void Store(RegistryValue value) {
        RegistryValue& stored = key_->values.FindOrAdd(value.name);
        stored.type = value.type;
        stored.data = std::move(value.data);
        AttachComments(stored.comments);
    }

    void AttachComments(RegistryComments& comments) {
        comments.insert(comments.end(), comments_.begin(), comments_.end());
        comments_.clear();
    }

    RegistryTree& tree_;
    RegistryKey* key_ = nullptr;
    RegistryComments comments_;
    bool first_ = true;
};

// Reads a line off the front, without the blanks around it. A carriage return is one at its end,
// also with blanks behind it: kept, it would be part of a comment that loses it when it is read
// again.
std::string_view ReadLine(std::string_view& file) {
    const auto end = std::min(file.find('\n'), file.size());
    auto line = file.substr(0, end);
    file.remove_prefix(std::min(end + 1, file.size()));
    if (!IsUtf8(line))
        throw BadLine("this is not UTF-8");
    return Trimmed(line.substr(0, line.find_last_not_of(" \t\r") + 1));
}

// Only a value can be continued: a backslash at the end of a comment means nothing.
bool IsContinued(std::string_view line) {
    return line.ends_with('\\') && (line[0] == '"' || line[0] == '@');
}

// Reads a line with those that continue it, and counts them in `number`. What is joined is not
// scanned again: a value may be continued over a million lines.
std::string ReadWholeLine(std::string_view& file, std::size_t& number) {
    ++number;
    std::string line(ReadLine(file));
    while (IsContinued(line) && !file.empty()) {
        ++number;
        line.pop_back();
        line += ReadLine(file);
        line.resize(line.find_last_not_of(Blanks) + 1); // where nothing but a backslash came
    }
    return line;
}

} // namespace

bool ParseRegistry(std::string_view file, RegistryTree& tree, std::string& error) {
    constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF"; // as editors write it
    if (file.starts_with(Utf8Mark))
        file.remove_prefix(Utf8Mark.size());
    std::size_t number = 0;
    Parser parser(tree);
    try {
        while (!file.empty()) {
            const std::size_t first = number + 1;
            const std::string line = ReadWholeLine(file, number);
            const std::size_t last = std::exchange(number, first);
            parser.Line(line);
            number = last;
        }
    } catch (const BadLine& bad) {
        error = "line " + std::to_string(number) + ": " + bad.what();
        return false;
    }
    parser.End();
    return true;
}

} // namespace platform
