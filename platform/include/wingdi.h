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
#define TRANSPARENT 1
#define OPAQUE 2

#define WHITE_BRUSH 0
#define LTGRAY_BRUSH 1
#define BLACK_BRUSH 4
#define NULL_BRUSH 5
#define SYSTEM_FONT 13
#define DEFAULT_GUI_FONT 17

#define LF_FACESIZE 32
#define FW_DONTCARE 0
#define FW_NORMAL 400
#define FW_BOLD 700
#define FW_HEAVY 900
#define DEFAULT_CHARSET 1
#define DEFAULT_PITCH 0
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

struct LOGBRUSH {
    UINT lbStyle;
    COLORREF lbColor;
    ULONG_PTR lbHatch;
};

struct DEVMODEA;

// Context of the whole screen; the names are ignored. DeleteDC releases it.
HDC WINAPI CreateDCA(LPCSTR driver, LPCSTR device, LPCSTR port, const DEVMODEA* mode);
HDC WINAPI CreateCompatibleDC(HDC context); // memory context, with no bitmap of use yet
BOOL WINAPI DeleteDC(HDC context);

// The object that was selected before, or null. An object stays usable while it is selected, and
// cannot be deleted then.
HGDIOBJ WINAPI SelectObject(HDC context, HGDIOBJ object);
BOOL WINAPI DeleteObject(HGDIOBJ object); // stock objects: does nothing, gives TRUE
// Fills `size` bytes at `buffer` with BITMAP, LOGFONTA or LOGBRUSH; with no buffer gives the size
// needed. 0: no such object, or too small a buffer.
int WINAPI GetObjectA(HANDLE object, int size, LPVOID buffer);
HGDIOBJ WINAPI GetStockObject(int index); // those named above

// Copies from a memory context. Onto a window only SRCCOPY.
BOOL WINAPI BitBlt(HDC target, int x, int y, int width, int height, HDC source, int sourceX,
                   int sourceY, DWORD operation);

HFONT WINAPI CreateFontIndirectA(const LOGFONTA* font);
HBRUSH WINAPI CreateSolidBrush(COLORREF color);

// Each gives the value before; CLR_INVALID or 0 for a context that is none.
COLORREF WINAPI SetTextColor(HDC context, COLORREF color);
COLORREF WINAPI SetBkColor(HDC context, COLORREF color);
int WINAPI SetBkMode(HDC context, int mode);
