// Last errors of windows and resources, by their published numbers.
#pragma once

#include <windef.h>

namespace platform {

constexpr DWORD AccessDenied = 5;
constexpr DWORD InvalidParameter = 87;
constexpr DWORD NoSuchWindow = 1400;
constexpr DWORD NoSuchWindowClass = 1407;
constexpr DWORD ClassAlreadyExists = 1410;
constexpr DWORD NoSuchControl = 1421;
constexpr DWORD NoSuchResource = 1814;

} // namespace platform
