// Conversion of the ANSI code page, which is Windows-1252 on every host, to UTF-16.
//
// What is covered: whole texts with their terminator (length -1), into a buffer of the caller's; 0
// where it is too small.
#pragma once

#include <windef.h>

#define CP_ACP 0
#define MB_PRECOMPOSED 0x00000001

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide,
                               int capacity);
