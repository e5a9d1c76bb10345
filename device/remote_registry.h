// Registry values of the handheld.
#pragma once

#include "rapi/rapi.h"

#include <string_view>

// Opens the key, creates it if it does not open, and sets the value. True when written.
bool SetDeviceValue(CeKey root, const char16_t* key, const char16_t* name, std::uint32_t type,
                    const void* data, std::uint32_t size);

// The same below HKEY_LOCAL_MACHINE: a text with its terminator, and a 32-bit number.
bool SetDeviceText(const char16_t* key, const char16_t* name, std::u16string_view text);
bool SetDeviceNumber(const char16_t* key, const char16_t* name, std::uint32_t number);
