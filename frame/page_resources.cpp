// Looks of a page: fonts, pictures, colours.
//
// Pictures are copied at their natural size; a bitmap has to leave its device context before it is
// deleted, or it stays in memory for the rest of the run.

#include "frame/page_resources.h"

#include "state/state.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr COLORREF Red = RGB(255, 0, 0);
constexpr int BannerLeft = 10, BannerTop = 10; // pixels

bool HasText(const Page& page, TextMark mark) {
    return std::any_of(page.texts.begin(), page.texts.end(),
                       [mark](const PageText& text) { return text.mark == mark; });
}

// False when the page has no font of its own.
bool DescribeFont(HWND window, LOGFONTA* description) {
    const auto font = reinterpret_cast<HFONT>(SendMessageA(window, WM_GETFONT, 0, 0));
    return font && GetObjectA(font, sizeof(*description), description) != 0;
}

HFONT MakeBoldFont(HWND window) {
    LOGFONTA description = {};
    if (!DescribeFont(window, &description))
        return nullptr;
    description.lfWeight = FW_BOLD;
    return CreateFontIndirectA(&description);
}

void ApplyFont(HWND window, const Page& page, TextMark mark, HFONT font) {
    if (!font)
        return;
    for (const PageText& text : page.texts) {
        if (text.mark == mark)
            SendDlgItemMessageA(window, text.control, WM_SETFONT, reinterpret_cast<WPARAM>(font),
                                MAKELPARAM(TRUE, 0));
    }
}

void CopyAtNaturalSize(HDC target, int x, int y, HDC source, HBITMAP bitmap) {
    BITMAP size = {};
    if (GetObjectA(bitmap, sizeof(size), &size) != 0)
        BitBlt(target, x, y, static_cast<int>(size.bmWidth), static_cast<int>(size.bmHeight),
               source, 0, 0, SRCCOPY);
}

void PaintPicture(HDC target, const PagePicture& picture, HBITMAP bitmap) {
    const HDC source = CreateCompatibleDC(target);
    const HGDIOBJ before = SelectObject(source, bitmap);
    CopyAtNaturalSize(target, picture.x, picture.y, source, bitmap);
    SelectObject(source, before);
    DeleteDC(source);
}

const PageColour* FindColour(const Page& page, int control) {
    for (const PageColour& colour : page.colours) {
        if (colour.control == control && (!colour.onlyWhile || *colour.onlyWhile))
            return &colour;
    }
    return nullptr;
}

void Release(HGDIOBJ object) {
    if (object)
        DeleteObject(object);
}

} // namespace

void ApplyFontsAndPictures(HWND window, PageResources& resources) {
    const Page& page = resources.page;
    if (HasText(page, TextMark::Heading))
        resources.headingFont = MakeHeadingFont(window);
    if (HasText(page, TextMark::Bold))
        resources.boldFont = MakeBoldFont(window);
    ApplyFont(window, page, TextMark::Heading, resources.headingFont);
    ApplyFont(window, page, TextMark::Bold, resources.boldFont);
    if (!page.colours.empty())
        resources.PageBrush = CreateSolidBrush(GetSysColor(COLOR_SCROLLBAR));
    for (std::size_t i = 0; i < page.pictures.size() && i < MaxPictures; ++i)
        resources.pictures[i] =
            LoadBitmapA(State.Windows.AppInstance, MAKEINTRESOURCEA(page.pictures[i].bitmap));
}

INT_PTR PaintPage(HWND window, const PageResources& resources) {
    const Page& page = resources.page;
    if (!page.hasTitle)
        return FALSE;
    PAINTSTRUCT paint = {};
    const HDC target = BeginPaint(window, &paint);
    for (std::size_t i = 0; i < page.pictures.size() && i < MaxPictures; ++i) {
        if (resources.pictures[i])
            PaintPicture(target, page.pictures[i], resources.pictures[i]);
    }
    if (State.Windows.BannerBitmap)
        CopyAtNaturalSize(target, BannerLeft, BannerTop, State.Windows.BannerDC,
                          State.Windows.BannerBitmap);
    EndPaint(window, &paint);
    return TRUE;
}

INT_PTR ColourControl(HDC context, HWND control, const PageResources& resources) {
    const PageColour* colour = FindColour(resources.page, GetDlgCtrlID(control));
    if (!colour)
        return 0;
    if (colour->colouring == Colouring::RedText) {
        SetTextColor(context, Red);
        SetBkColor(context, GetSysColor(COLOR_SCROLLBAR));
    } else {
        SetBkColor(context, Red);
    }
    return reinterpret_cast<INT_PTR>(resources.PageBrush);
}

void ReleasePageResources(const PageResources& resources) {
    Release(resources.headingFont);
    Release(resources.boldFont);
    Release(resources.PageBrush);
    for (const HBITMAP picture : resources.pictures)
        Release(picture);
}

HFONT MakeHeadingFont(HWND page) {
    LOGFONTA description = {};
    if (DescribeFont(page, &description)) {
        description.lfHeight = 17;
        description.lfWeight = FW_HEAVY;
        std::memset(description.lfFaceName, 0, sizeof(description.lfFaceName));
        std::memcpy(description.lfFaceName, "Arial", sizeof("Arial"));
    } else {
        description.lfHeight = 13;
        description.lfWeight = 200;
        description.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
    }
    return CreateFontIndirectA(&description);
}
