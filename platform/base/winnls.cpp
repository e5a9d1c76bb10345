// The calls of winnls.h, and lstrcmpiA.

#include "platform/base/text.h"

#include <winbase.h>
#include <winnls.h>

#include <algorithm>
#include <string>

// A buffer that is too small gives 0 and an error rather than a shortened text.
int WINAPI MultiByteToWideChar(UINT codePage, DWORD, LPCSTR text, int length, LPWSTR wide,
                               int capacity) {
    if (codePage != CP_ACP || !text || length != -1 || !wide) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const std::u16string converted = platform::Utf16FromAnsi(text);
    const int units = static_cast<int>(converted.size()) + 1;
    if (units > capacity) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::copy_n(converted.c_str(), units, wide);
    return units;
}

// As on Windows a null text comes before any other.
int WINAPI lstrcmpiA(LPCSTR one, LPCSTR other) {
    if (!one || !other)
        return (one != nullptr) - (other != nullptr);
    return platform::CompareAnsiNoCase(one, other);
}
