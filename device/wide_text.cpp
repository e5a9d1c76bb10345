// The only conversion of 8-bit text to UTF-16. The wide character of Windows is wchar_t there and
// char16_t on other hosts, 16 bits on both, hence the cast.

#include "device/wide_text.h"

#include <windows.h>

bool WidenText(const char* text, char16_t (&wide)[DevicePathCapacity]) {
    wide[0] = u'\0';
    const int units = MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, text, -1,
                                          reinterpret_cast<LPWSTR>(wide), DevicePathCapacity);
    if (units == 0)
        wide[0] = u'\0'; // whatever fitted before it overflowed
    return units != 0;
}
