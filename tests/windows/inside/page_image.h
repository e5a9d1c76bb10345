// What is on a page, pixel by pixel.
#pragma once

#include <windows.h>

#include <algorithm> // which the next header needs: it calls min and max by their bare names
#include <cstdint>
#include <string>
#include <vector>

namespace Gdiplus {
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>

namespace page_test {

constexpr std::uint32_t RedPixel = 0xFF0000;

inline std::uint32_t PixelOf(COLORREF colour) {
    return static_cast<std::uint32_t>(GetRValue(colour) << 16 | GetGValue(colour) << 8 |
                                      GetBValue(colour));
}

// Rows from top to bottom, each pixel 0xRRGGBB.
struct Image {
    int width = 0, height = 0;
    std::vector<std::uint32_t> pixels;

    std::uint32_t At(int x, int y) const {
        return pixels.at(static_cast<std::size_t>(y * width + x));
    }
    bool Shows(const Image& part, int left, int top) const {
        if (left + part.width > width || top + part.height > height)
            return false;
        for (int y = 0; y < part.height; ++y) {
            for (int x = 0; x < part.width; ++x)
                if (At(left + x, top + y) != part.At(x, y))
                    return false;
        }
        return true;
    }
    Image Part(const RECT& rect) const {
        Image part{
            static_cast<int>(rect.right - rect.left), static_cast<int>(rect.bottom - rect.top), {}};
        for (int y = 0; y < part.height; ++y) {
            for (int x = 0; x < part.width; ++x)
                part.pixels.push_back(
                    At(static_cast<int>(rect.left) + x, static_cast<int>(rect.top) + y));
        }
        return part;
    }
};

inline Image CopyOf(HDC source, int width, int height) {
    BITMAPINFO form = {};
    form.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(source, &form, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HDC target = CreateCompatibleDC(source);
    const HGDIOBJ before = SelectObject(target, bitmap);
    BitBlt(target, 0, 0, width, height, source, 0, 0, SRCCOPY);
    GdiFlush();
    const auto* pixels = static_cast<const std::uint32_t*>(bits);
    Image image{width, height, {pixels, pixels + width * height}};
    for (std::uint32_t& pixel : image.pixels)
        pixel &= 0xFFFFFF;
    SelectObject(target, before);
    DeleteDC(target);
    DeleteObject(bitmap);
    return image;
}

// The client area with its controls, as it is on the screen now.
inline Image ImageOf(HWND window) {
    RECT area = {};
    GetClientRect(window, &area);
    const HDC source = GetDC(window);
    Image image = CopyOf(source, static_cast<int>(area.right), static_cast<int>(area.bottom));
    ReleaseDC(window, source);
    return image;
}

// A bitmap resource of this program.
inline Image PictureOf(int resource) {
    const HBITMAP bitmap = LoadBitmapA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(resource));
    BITMAP size = {};
    GetObjectA(bitmap, sizeof(size), &size);
    const HDC source = CreateCompatibleDC(nullptr);
    const HGDIOBJ before = SelectObject(source, bitmap);
    Image image = CopyOf(source, static_cast<int>(size.bmWidth), static_cast<int>(size.bmHeight));
    SelectObject(source, before);
    DeleteDC(source);
    DeleteObject(bitmap);
    return image;
}

// As a PNG. False when the file cannot be written.
inline bool Save(Image image, const std::string& path) {
    const CLSID png = {
        0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
    Gdiplus::Bitmap bitmap(image.width, image.height, 4 * image.width, PixelFormat32bppRGB,
                           reinterpret_cast<BYTE*>(image.pixels.data()));
    return bitmap.Save(std::wstring(path.begin(), path.end()).c_str(), &png, nullptr) ==
           Gdiplus::Ok;
}

} // namespace page_test
