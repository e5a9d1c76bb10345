// Conversions between Windows-1252, UTF-8 and UTF-16, and comparisons without regard to case.
//
// Each of the 256 bytes of Windows-1252 has a UTF-16 value of its own, so that whatever bytes a
// caller stores as text come back as they were.

#include "platform/base/text.h"

#include <algorithm>
#include <array>

namespace platform {
namespace {

constexpr char32_t Replacement = 0xFFFD;

// Bytes 0x80 to 0x9F, from Microsoft's table of code page 1252; the others are Latin-1.
constexpr std::array<char16_t, 32> AnsiUpperControls{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t WideFromAnsi(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x80 && byte < 0xA0 ? AnsiUpperControls[byte - 0x80] : byte;
}

// The byte, or -1 where Windows-1252 has none.
int AnsiFromCodePoint(char32_t code) {
    if (code < 0x80 || (code >= 0xA0 && code < 0x100))
        return static_cast<int>(code);
    const auto found = std::find(AnsiUpperControls.begin(), AnsiUpperControls.end(), code);
    return found == AnsiUpperControls.end()
               ? -1
               : static_cast<int>(0x80 + (found - AnsiUpperControls.begin()));
}

char AnsiOrQuestionMark(char32_t code) {
    const int byte = AnsiFromCodePoint(code);
    return byte < 0 ? '?' : static_cast<char>(byte);
}

void AppendUtf8(std::string& text, char32_t code) {
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80)
        return put(code);
    if (code < 0x800) {
        put(0xC0 | (code >> 6));
    } else {
        if (code < 0x10000) {
            put(0xE0 | (code >> 12));
        } else {
            put(0xF0 | (code >> 18));
            put(0x80 | ((code >> 12) & 0x3F));
        }
        put(0x80 | ((code >> 6) & 0x3F));
    }
    put(0x80 | (code & 0x3F));
}

bool IsSurrogate(char32_t code) { return code >= 0xD800 && code < 0xE000; }

// Length of the sequence that a first byte announces, 0 for one that cannot be first.
std::size_t SequenceLength(unsigned char first) {
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first < 0xE0)
        return 2;
    if (first >= 0xE0 && first < 0xF0)
        return 3;
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

// Reads one code point off the front; Replacement, and one byte less, where it is malformed.
char32_t ReadCodePoint(std::string_view& text, bool& wellFormed) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = SequenceLength(first);
    char32_t code = length < 2 ? first : first & (0x7Fu >> length);
    bool good = length > 0 && length <= text.size();
    for (std::size_t i = 1; good && i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        good = (next & 0xC0) == 0x80;
        code = (code << 6) | (next & 0x3F);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    good = good && !overlong && !IsSurrogate(code) && code <= 0x10FFFF;
    wellFormed = wellFormed && good;
    text.remove_prefix(good ? length : 1);
    return good ? code : Replacement;
}

template <class Use>
bool ForEachCodePoint(std::string_view utf8, Use use) {
    bool wellFormed = true;
    while (!utf8.empty())
        use(ReadCodePoint(utf8, wellFormed));
    return wellFormed;
}

char16_t FoldWide(char16_t wide) {
    const int byte = AnsiFromCodePoint(wide);
    return byte < 0 ? wide : WideFromAnsi(static_cast<char>(FoldAnsi(static_cast<char>(byte))));
}

} // namespace

std::string Utf8FromAnsi(std::string_view ansi) {
    std::string utf8;
    for (const char character : ansi)
        AppendUtf8(utf8, WideFromAnsi(character));
    return utf8;
}

std::string AnsiFromUtf8(std::string_view utf8) {
    std::string ansi;
    ForEachCodePoint(utf8, [&ansi](char32_t code) { ansi += AnsiOrQuestionMark(code); });
    return ansi;
}

std::u16string Utf16FromAnsi(std::string_view ansi) {
    std::u16string utf16(ansi.size(), u'\0');
    std::transform(ansi.begin(), ansi.end(), utf16.begin(), WideFromAnsi);
    return utf16;
}

std::string AnsiFromUtf16(std::u16string_view utf16) {
    std::string ansi(utf16.size(), '\0');
    std::transform(utf16.begin(), utf16.end(), ansi.begin(), AnsiOrQuestionMark);
    return ansi;
}

std::string Utf8FromUtf16(std::u16string_view utf16) {
    std::string utf8;
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        char32_t code = utf16[i];
        const char32_t next = i + 1 < utf16.size() ? utf16[i + 1] : 0;
        if (code >= 0xD800 && code < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        AppendUtf8(utf8, IsSurrogate(code) ? Replacement : code);
    }
    return utf8;
}

std::u16string Utf16FromUtf8(std::string_view utf8) {
    std::u16string utf16;
    ForEachCodePoint(utf8, [&utf16](char32_t code) {
        if (code >= 0x10000) {
            utf16 += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            code = 0xDC00 + ((code - 0x10000) & 0x3FF);
        }
        utf16 += static_cast<char16_t>(code);
    });
    return utf16;
}

std::u16string Utf16FromBytes(std::string_view bytes) {
    std::u16string utf16;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        utf16 += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                       static_cast<unsigned char>(bytes[i + 1]) << 8);
    return utf16;
}

std::string BytesFromUtf16(std::u16string_view utf16) {
    std::string bytes;
    for (const char16_t unit : utf16) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

bool IsUtf8(std::string_view text) {
    return ForEachCodePoint(text, [](char32_t) {});
}

// To upper case. Two letters have theirs outside the order of Latin-1, three pairs lie among the
// upper controls; the multiplication and the division sign are no pair.
unsigned char FoldAnsi(char character) {
    const auto byte = static_cast<unsigned char>(character);
    const bool latin = byte >= 0xE0 && byte < 0xFF && byte != 0xF7;
    if ((byte >= 'a' && byte <= 'z') || latin)
        return static_cast<unsigned char>(byte - 0x20);
    if (byte == 0x9A || byte == 0x9C || byte == 0x9E)
        return static_cast<unsigned char>(byte - 0x10);
    return byte == 0xFF ? 0x9F : byte;
}

int CompareAnsiNoCase(std::string_view one, std::string_view other) {
    const std::size_t common = std::min(one.size(), other.size());
    for (std::size_t i = 0; i < common; ++i)
        if (const int difference = FoldAnsi(one[i]) - FoldAnsi(other[i]); difference != 0)
            return difference < 0 ? -1 : 1;
    if (one.size() == other.size())
        return 0;
    return one.size() < other.size() ? -1 : 1;
}

std::u16string FoldName(std::u16string_view name) {
    std::u16string folded(name.size(), u'\0');
    std::transform(name.begin(), name.end(), folded.begin(), FoldWide);
    return folded;
}

} // namespace platform
