// Conversions between the ANSI code page, which is Windows-1252 on every host, and UTF-16.
//
// What is covered: the code pages CP_ACP (0) and 1252, and CP_UTF8. A source length of -1 is a
// terminated text whose terminator is converted too; capacity 0 asks for the length. What
// Windows-1252 does not have becomes the default character, '?', and never a similar one.
#pragma once

#include <windef.h>

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide,
                               int capacity);
int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int length, LPSTR text,
                               int capacity, LPCSTR defaultChar, LPBOOL usedDefaultChar);
