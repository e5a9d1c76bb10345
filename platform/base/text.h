// Text at the border: 8-bit text of the wizard is Windows-1252, names and terminals of the host
// are UTF-8, the handheld speaks UTF-16.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// What Windows-1252 does not have becomes '?'; the five bytes that Windows-1252 leaves undefined
// map to the C1 control of the same number and back, as Windows does.
std::string Utf8FromAnsi(std::string_view ansi);
std::string AnsiFromUtf8(std::string_view utf8);
std::u16string Utf16FromAnsi(std::string_view ansi);
std::string AnsiFromUtf16(std::u16string_view utf16);
std::string Utf8FromUtf16(std::u16string_view utf16);
std::u16string Utf16FromUtf8(std::string_view utf8);

// UTF-16 as bytes in little endian. A last byte without its other half is dropped.
std::u16string Utf16FromBytes(std::string_view bytes);
std::string BytesFromUtf16(std::u16string_view utf16);

// Windows-1252 without regard to case, as lstrcmpiA compares: below 0, 0, above 0.
int CompareAnsiNoCase(std::string_view one, std::string_view other);

// A name in UTF-16 as names are compared: characters of Windows-1252 are in upper case, so that
// names that are the same become equal.
std::u16string FoldName(std::u16string_view name);

// One character of Windows-1252 in the case in which comparisons are made.
unsigned char FoldAnsi(char character);

// Whether the text is well-formed UTF-8.
bool IsUtf8(std::string_view text);

} // namespace platform
