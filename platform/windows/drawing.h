// Drawing objects behind their handles: what the window model and a display need of them.
#pragma once

#include <wingdi.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform {

// A bitmap resource: size, and its bytes as a device independent bitmap without a file header. The
// bytes belong to the resources and live as long as they.
struct Picture {
    LONG width = 1, height = 1;
    std::span<const std::uint8_t> bitmap;
    std::size_t pixels = 0; // where they start in it, behind the header and the palette
    std::span<const std::uint8_t> vector; // the same picture as SVG; empty: there is none
};

// A copy of the upper left part of a picture onto a window's client area.
struct PaintedPicture {
    std::shared_ptr<const Picture> picture;
    int x, y, width, height;
};

// The settings of a context, and what was painted through it.
struct PaintResult {
    std::vector<PaintedPicture> pictures;
    COLORREF textColour, background;
};

// Of what has not been painted yet, or with no colours of its own.
PaintResult UnpaintedColours();

// Context of a window for the time of one painting.
HDC OpenPaintContext();
PaintResult ClosePaintContext(HDC context);

bool FontDescription(HFONT font, LOGFONTA* description);

// Objects and contexts that the program has made and not released yet.
int DrawingObjectCount();

} // namespace platform
