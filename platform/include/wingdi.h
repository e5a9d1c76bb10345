// Drawing: device contexts, bitmaps from resources, fonts and brushes as real objects with their
// real sizes. What a window was painted with is kept beside the window, for displays that have
// pixels; a copy between contexts records the picture and its position. Any thread may call.
//
// Covered: the calls below. Bitmaps are 1, 4, 8, 24 and 32 bits deep, not compressed, as device
// independent bitmaps are published; to the program they look 32 bits deep, like the screen.
#pragma once

#include <windef.h>

#define RGB(red, green, blue)                                                                      \
    (static_cast<COLORREF>(static_cast<BYTE>(red) |                                                \
                           (static_cast<DWORD>(static_cast<BYTE>(green)) << 8) |                   \
                           (static_cast<DWORD>(static_cast<BYTE>(blue)) << 16)))

#define CLR_INVALID 0xFFFFFFFF
#define SRCCOPY 0x00CC0020

#define LF_FACESIZE 32
#define FW_BOLD 700
#define FW_HEAVY 900
#define VARIABLE_PITCH 2
#define FF_SWISS (2 << 4)

struct BITMAP {
    LONG bmType;
    LONG bmWidth, bmHeight; // pixels
    LONG bmWidthBytes;
    WORD bmPlanes, bmBitsPixel;
    LPVOID bmBits; // always null
};

struct LOGFONTA {
    LONG lfHeight; // pixels: below 0 the em, above 0 the character cell
    LONG lfWidth, lfEscapement, lfOrientation;
    LONG lfWeight; // 0 to 1000
    BYTE lfItalic, lfUnderline, lfStrikeOut, lfCharSet;
    BYTE lfOutPrecision, lfClipPrecision, lfQuality, lfPitchAndFamily;
    CHAR lfFaceName[LF_FACESIZE];
};

struct DEVMODEA;

// Context of the whole screen; the names are ignored. DeleteDC releases it.
HDC WINAPI CreateDCA(LPCSTR driver, LPCSTR device, LPCSTR port, const DEVMODEA* mode);
HDC WINAPI CreateCompatibleDC(HDC context); // memory context, without a bitmap yet
BOOL WINAPI DeleteDC(HDC context);

// The bitmap that was selected before, or null, also for what is no bitmap. It stays usable while
// it is selected, and cannot be deleted then.
HGDIOBJ WINAPI SelectObject(HDC context, HGDIOBJ object);
BOOL WINAPI DeleteObject(HGDIOBJ object);
// Fills `buffer` with BITMAP or LOGFONTA. 0: no such object, or a buffer of too few bytes.
int WINAPI GetObjectA(HANDLE object, int size, LPVOID buffer);
// Copies from the corner of a memory context, with SRCCOPY alone.
BOOL WINAPI BitBlt(HDC target, int x, int y, int width, int height, HDC source, int sourceX,
                   int sourceY, DWORD operation);

HFONT WINAPI CreateFontIndirectA(const LOGFONTA* font);
HBRUSH WINAPI CreateSolidBrush(COLORREF color);

// Each gives the value before; CLR_INVALID for a context that is none.
COLORREF WINAPI SetTextColor(HDC context, COLORREF color);
COLORREF WINAPI SetBkColor(HDC context, COLORREF color);
