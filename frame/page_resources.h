// What a page on the screen owns and paints with: its fonts, its pictures and its brush. For the
// page engine alone.
#pragma once

#include "frame/page.h"

#include <array>

// Made before the page's window and released after it, on the page's thread.
struct PageResources {
    const Page& page;
    HFONT headingFont = nullptr;
    HFONT boldFont = nullptr;
    HBRUSH PageBrush = nullptr; // of system colour 0, behind coloured texts
    std::array<HBITMAP, MaxPictures> pictures{};
};

// Makes what the page needs and hands the fonts to its controls. What cannot be made is missed: the
// control keeps its font, the area stays unpainted, and the page goes on.
void ApplyFontsAndPictures(HWND window, PageResources& resources);

// WM_PAINT: the extra pictures, then the banner. FALSE leaves the painting to the platform.
INT_PTR PaintPage(HWND window, const PageResources& resources);

// WM_CTLCOLORSTATIC: the brush for a control with colours of its own, else 0.
INT_PTR ColourControl(HDC context, HWND control, const PageResources& resources);

void ReleasePageResources(const PageResources& resources);
