// 8-bit text of the PC as the UTF-16 that the handheld takes.
#pragma once

#include <cstddef>

// UTF-16 units of a buffer for a device path, terminator included. No longer path exists there.
constexpr std::size_t DevicePathCapacity = 260;

// Widens text of the ANSI code page. False, with an empty text and the last error set, where it
// does not fit: a path that was cut would name another file.
bool WidenText(const char* text, char16_t (&wide)[DevicePathCapacity]);
