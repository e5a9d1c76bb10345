// Reading the header of an image file, and the numbers in its texts.

#include "images/header.h"

#include "images/language_table.h"
#include "state/handles.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

using Header = char[ImageHeaderSize];

// The text fills its buffer but for the terminator.
template <std::size_t Size>
void ParseText(const Header& header, std::size_t offset, char (&text)[Size]) {
    std::memcpy(text, header + offset, Size - 1);
    text[Size - 1] = '\0';
}

// -1 for a character that is no hexadecimal digit.
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

} // namespace

bool LoadImageHeader(const char* path, ImageValues* image) {
    const OwnedFile file = OpenForReading(path);
    Header header = {};
    DWORD count = 0;
    if (!file || !ReadFile(file.Get(), header, ImageHeaderSize, &count, nullptr) ||
        count != ImageHeaderSize)
        return false;
    ParseText(header, ImageModelOffset, image->ImageModel);
    ParseText(header, ImageLanguageOffset, image->ImageLanguage);
    ParseText(header, ImageVersionOffset, image->ImageVersionText);
    image->ImageVersion = VersionNumber(image->ImageVersionText);
    // The first character of the checksum counts whatever it is; a '-' behind it starts the fill.
    char(&checksum)[5] = image->ImageChecksumText;
    ParseText(header, ImageChecksumOffset, checksum);
    if (char* fill = std::strchr(checksum + 1, '-'); checksum[0] && fill)
        *fill = '\0';
    if (const char* name = LanguageName(image->ImageLanguage))
        std::snprintf(image->ImageLanguageName, sizeof(image->ImageLanguageName), "%s", name);
    return true;
}

// Blanks and a plus sign go before a number, too, and an exponent behind it: a later image that is
// taken for an early one costs the handheld its disk driver.
float VersionNumber(const char* text) {
    const char* start = text + std::strspn(text, " \t\n\v\f\r");
    start += start[0] == '+' && start[1] != '-';
    double number = 0;
    std::from_chars(start, start + std::strlen(start), number);
    constexpr double Max = std::numeric_limits<float>::max();
    return std::isfinite(number) ? static_cast<float>(std::clamp(number, -Max, Max))
                                 : 0; // "nan" and "inf" read as numbers
}

std::optional<std::uint16_t> ParseChecksumText(const char* text) {
    if (!text[0])
        return std::nullopt;
    std::uint16_t value = 0;
    for (; *text; ++text) {
        const int digit = DigitValue(*text);
        if (digit < 0)
            return std::nullopt;
        value = static_cast<std::uint16_t>(value << 4 | digit);
    }
    return value;
}
