// 8-bit names that are written in UTF-8 in a table and stored in Windows-1252, as the handheld's
// link files have them. The conversion happens at compile time; a character that Windows-1252
// lacks does not compile.
#pragma once

#include <array>
#include <cstddef>

// A text of at most 63 characters with its terminator.
class AnsiText {
public:
    consteval AnsiText(const char8_t* utf8) {
        std::size_t length = 0;
        while (*utf8) {
            if (length + 1 >= text_.size())
                throw "the text does not fit";
            text_[length++] = Encode(Decode(&utf8));
        }
    }
    constexpr const char* c_str() const { return text_.data(); }

private:
    // What Windows-1252 has at 0x80 to 0x9F; 0 for the five numbers without a character. All
    // other characters have the number that they have in Unicode.
    static constexpr char32_t High[] = {U'€', 0,    U'‚', U'ƒ', U'„', U'…', U'†', U'‡',
                                        U'ˆ', U'‰', U'Š', U'‹', U'Œ', 0,    U'Ž', 0,
                                        0,    U'‘', U'’', U'“', U'”', U'•', U'–', U'—',
                                        U'˜', U'™', U'š', U'›', U'œ', 0,    U'ž', U'Ÿ'};

    static consteval char32_t Continued(char32_t lead, const char8_t** utf8, int count) {
        for (; count > 0; --count) {
            if ((**utf8 & 0xC0) != 0x80)
                throw "no UTF-8";
            lead = lead << 6 | (*(*utf8)++ & 0x3F);
        }
        return lead;
    }
    static consteval char32_t Decode(const char8_t** utf8) {
        const char8_t first = *(*utf8)++;
        if (first < 0x80)
            return first;
        if ((first & 0xE0) == 0xC0)
            return Continued(first & 0x1F, utf8, 1);
        if ((first & 0xF0) == 0xE0)
            return Continued(first & 0x0F, utf8, 2);
        throw "no character of Windows-1252";
    }
    static consteval char Encode(char32_t code) {
        char32_t ansi = code;
        if (code > 0xFF || (code >= 0x80 && code < 0xA0)) {
            ansi = 0x80;
            while (ansi < 0xA0 && High[ansi - 0x80] != code)
                ++ansi;
            if (ansi == 0xA0)
                throw "no character of Windows-1252";
        }
        return static_cast<char>(static_cast<unsigned char>(ansi));
    }

    std::array<char, 64> text_{};
};
