// The calls of winnls.h, and lstrcmpiA.
//
// The traps are in the lengths: -1 converts the terminator too, and a buffer that is too small
// gives 0 and an error rather than a shortened text.

#include "platform/base/text.h"

#include <winbase.h>
#include <winnls.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr UINT Windows1252 = 1252;

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

template <class Char>
std::basic_string_view<Char> Source(const Char* text, int length) {
    if (length >= 0)
        return {text, static_cast<std::size_t>(length)};
    const std::size_t characters = std::char_traits<Char>::length(text);
    return {text, characters + 1};
}

template <class Char>
int CopyConverted(const std::basic_string<Char>& converted, Char* destination, int capacity) {
    const int length = static_cast<int>(converted.size());
    if (capacity == 0)
        return length;
    if (length > capacity)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::copy(converted.begin(), converted.end(), destination);
    return length;
}

template <class Char, class Destination>
bool AreValid(UINT codePage, const Char* text, int length, Destination* destination, int capacity) {
    const bool knownPage = codePage == CP_ACP || codePage == Windows1252 || codePage == CP_UTF8;
    return knownPage && text && length != 0 && length >= -1 && capacity >= 0 &&
           (destination || capacity == 0);
}

// Windows-1252 with a default character of the caller's where there is none.
std::string NarrowWithDefault(std::u16string_view wide, char defaultChar, bool& used) {
    std::string text = platform::AnsiFromUtf16(wide);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '?' || wide[i] == u'?')
            continue;
        text[i] = defaultChar;
        used = true;
    }
    return text;
}

} // namespace

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide,
                               int capacity) {
    if (!AreValid(codePage, text, length, wide, capacity))
        return Fail(ERROR_INVALID_PARAMETER);
    const auto source = Source(text, length);
    if (codePage != CP_UTF8)
        return CopyConverted(platform::Utf16FromAnsi(source), wide, capacity);
    if ((flags & MB_ERR_INVALID_CHARS) && !platform::IsUtf8(source))
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
    return CopyConverted(platform::Utf16FromUtf8(source), wide, capacity);
}

int WINAPI WideCharToMultiByte(UINT codePage, DWORD, LPCWSTR wide, int length, LPSTR text,
                               int capacity, LPCSTR defaultChar, LPBOOL usedDefaultChar) {
    const bool utf8 = codePage == CP_UTF8;
    if (!AreValid(codePage, wide, length, text, capacity) ||
        (utf8 && (defaultChar || usedDefaultChar)))
        return Fail(ERROR_INVALID_PARAMETER);
    const auto source = Source(wide, length);
    if (utf8)
        return CopyConverted(platform::Utf8FromUtf16(source), text, capacity);
    bool used = false;
    const auto narrow = NarrowWithDefault(source, defaultChar ? *defaultChar : '?', used);
    if (usedDefaultChar)
        *usedDefaultChar = used;
    return CopyConverted(narrow, text, capacity);
}

// As on Windows a null text comes before any other.
int WINAPI lstrcmpiA(LPCSTR one, LPCSTR other) {
    if (!one || !other)
        return (one != nullptr) - (other != nullptr);
    return platform::CompareAnsiNoCase(one, other);
}
