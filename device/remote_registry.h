// Registry values of the handheld.
#pragma once

#include "device/rapi.h"

// Opens the key, creates it if it does not open, and sets the value. True when written.
bool SetDeviceValue(CeKey root, const char16_t* key, const char16_t* name, std::uint32_t type,
                    const void* data, std::uint32_t size);
