// Device contexts, bitmaps, fonts and brushes as bookkeeping with real objects and real sizes.
//
// One lock guards all of it and nothing is called while it is held. An object that is selected
// into a context cannot be deleted, as on Windows: a caller with the wrong order shows up in the
// count of objects left.

#include "platform/windows/drawing.h"

#include "platform/base/byte_reader.h"
#include "platform/windows/resources.h"

#include <windows.h>

#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <variant>

namespace platform {

namespace {

constexpr std::uintptr_t FirstHandle = 0x01000000;
constexpr WORD ScreenDepth = 32;

struct Brush {};

struct Context {
    HGDIOBJ bitmap;
    PaintResult result;
};

using DrawingObject = std::variant<std::shared_ptr<const Picture>, Brush, LOGFONTA, Context>;

// What a memory context holds at first.
const HGDIOBJ StockBitmap = reinterpret_cast<HGDIOBJ>(FirstHandle);

struct DrawingObjects {
    std::mutex lock;
    std::map<HGDIOBJ, DrawingObject> objects;
    std::uintptr_t next = FirstHandle;

    DrawingObjects() { objects[StockBitmap] = std::make_shared<const Picture>(); }

    HGDIOBJ Add(DrawingObject object) {
        next += 4;
        HGDIOBJ handle = reinterpret_cast<HGDIOBJ>(next);
        objects.emplace(handle, std::move(object));
        return handle;
    }

    template <class Kind>
    Kind* Find(HGDIOBJ handle) {
        auto found = objects.find(handle);
        return found == objects.end() ? nullptr : std::get_if<Kind>(&found->second);
    }

    bool IsSelected(HGDIOBJ handle) {
        for (auto& [name, object] : objects) {
            auto* context = std::get_if<Context>(&object);
            if (context && context->bitmap == handle)
                return true;
        }
        return false;
    }
};

// Never destroyed: threads may still draw while the process ends.
DrawingObjects& Drawing() {
    static DrawingObjects& drawing = *new DrawingObjects;
    return drawing;
}

HDC AddContext() {
    const std::lock_guard lock(Drawing().lock);
    return static_cast<HDC>(Drawing().Add(Context{StockBitmap, UnpaintedColours()}));
}

// Sets a colour of a context and gives the old one.
COLORREF Exchange(HDC handle, COLORREF PaintResult::*which, COLORREF colour) {
    const std::lock_guard lock(Drawing().lock);
    auto* context = Drawing().Find<Context>(handle);
    return context ? std::exchange(context->result.*which, colour) : CLR_INVALID;
}

bool HeaderFits(LONG width, LONG height, unsigned depth, std::uint32_t compression) {
    constexpr LONG MaxSide = 16384;
    bool known = depth == 1 || depth == 4 || depth == 8 || depth == 24 || depth == 32;
    return known && compression == 0 && width > 0 && width <= MaxSide && height != 0 &&
           height >= -MaxSide && height <= MaxSide;
}

// A device independent bitmap with the 40-byte header (BITMAPINFOHEADER), checked for its length.
std::shared_ptr<Picture> ReadPicture(std::span<const std::uint8_t> bytes) {
    ByteReader reader(bytes);
    std::uint32_t headerSize = reader.Long();
    auto width = static_cast<LONG>(reader.Long());
    auto height = static_cast<LONG>(reader.Long());
    reader.Word(); // planes
    unsigned depth = reader.Word();
    std::uint32_t compression = reader.Long();
    reader.Skip(12); // size of the pixels, resolution
    std::size_t colours = reader.Long();
    if (reader.Failed() || headerSize < 40 || !HeaderFits(width, height, depth, compression))
        return nullptr;
    if (depth <= 8 && (colours == 0 || colours > (std::size_t{1} << depth)))
        colours = std::size_t{1} << depth;
    auto rows = static_cast<std::size_t>(height < 0 ? -height : height);
    std::size_t rowBytes = (static_cast<std::size_t>(width) * depth + 31) / 32 * 4;
    if (bytes.size() < headerSize || colours > bytes.size() / 4 ||
        bytes.size() - headerSize < colours * 4 + rows * rowBytes)
        return nullptr;
    return std::make_shared<Picture>(
        Picture{width, static_cast<LONG>(rows), bytes, headerSize + colours * 4, {}});
}

BITMAP DescribePicture(const Picture& picture) {
    BITMAP bitmap = {};
    bitmap.bmWidth = picture.width;
    bitmap.bmHeight = picture.height;
    bitmap.bmWidthBytes = picture.width * ScreenDepth / 8;
    bitmap.bmPlanes = 1;
    bitmap.bmBitsPixel = ScreenDepth;
    return bitmap;
}

template <class Description>
int CopyDescription(const Description& description, int size, void* buffer) {
    if (!buffer || size < static_cast<int>(sizeof(description)))
        return 0;
    std::memcpy(buffer, &description, sizeof(description));
    return sizeof(description);
}

} // namespace

PaintResult UnpaintedColours() {
    return {{}, GetSysColor(COLOR_WINDOWTEXT), GetSysColor(COLOR_BTNFACE)};
}

HDC OpenPaintContext() { return AddContext(); }

PaintResult ClosePaintContext(HDC handle) {
    PaintResult result = {};
    const std::lock_guard lock(Drawing().lock);
    if (auto* context = Drawing().Find<Context>(handle)) {
        result = std::move(context->result);
        Drawing().objects.erase(handle);
    }
    return result;
}

bool FontDescription(HFONT handle, LOGFONTA* description) {
    const std::lock_guard lock(Drawing().lock);
    auto* font = Drawing().Find<LOGFONTA>(handle);
    if (font)
        *description = *font;
    return font;
}

int DrawingObjectCount() {
    const std::lock_guard lock(Drawing().lock);
    return static_cast<int>(Drawing().objects.size()) - 1; // the stock bitmap
}

} // namespace platform

using namespace platform;

HDC WINAPI CreateDCA(LPCSTR, LPCSTR, LPCSTR, const DEVMODEA*) { return AddContext(); }

HDC WINAPI CreateCompatibleDC(HDC) { return AddContext(); }

BOOL WINAPI DeleteDC(HDC handle) {
    const std::lock_guard lock(Drawing().lock);
    if (!Drawing().Find<Context>(handle))
        return FALSE;
    Drawing().objects.erase(handle);
    return TRUE;
}

HGDIOBJ WINAPI SelectObject(HDC handle, HGDIOBJ object) {
    const std::lock_guard lock(Drawing().lock);
    auto* context = Drawing().Find<Context>(handle);
    const bool fits = context && Drawing().Find<std::shared_ptr<const Picture>>(object);
    return fits ? std::exchange(context->bitmap, object) : nullptr;
}

BOOL WINAPI DeleteObject(HGDIOBJ object) {
    const std::lock_guard lock(Drawing().lock);
    if (object == StockBitmap || Drawing().IsSelected(object) || Drawing().Find<Context>(object))
        return FALSE;
    return Drawing().objects.erase(object) ? TRUE : FALSE;
}

int WINAPI GetObjectA(HANDLE object, int size, LPVOID buffer) {
    const std::lock_guard lock(Drawing().lock);
    if (auto* picture = Drawing().Find<std::shared_ptr<const Picture>>(object))
        return CopyDescription(DescribePicture(**picture), size, buffer);
    if (auto* font = Drawing().Find<LOGFONTA>(object))
        return CopyDescription(*font, size, buffer);
    return 0;
}

BOOL WINAPI BitBlt(HDC target, int x, int y, int width, int height, HDC source, int sourceX,
                   int sourceY, DWORD operation) {
    const std::lock_guard lock(Drawing().lock);
    auto* to = Drawing().Find<Context>(target);
    auto* from = Drawing().Find<Context>(source);
    if (!to || !from || sourceX != 0 || sourceY != 0 || operation != SRCCOPY)
        return FALSE;
    auto* picture = Drawing().Find<std::shared_ptr<const Picture>>(from->bitmap);
    if (!picture)
        return FALSE;
    to->result.pictures.push_back({*picture, x, y, width, height});
    return TRUE;
}

HFONT WINAPI CreateFontIndirectA(const LOGFONTA* font) {
    if (!font)
        return nullptr;
    const std::lock_guard lock(Drawing().lock);
    return static_cast<HFONT>(Drawing().Add(*font));
}

HBRUSH WINAPI CreateSolidBrush(COLORREF) {
    const std::lock_guard lock(Drawing().lock);
    return static_cast<HBRUSH>(Drawing().Add(Brush()));
}

COLORREF WINAPI SetTextColor(HDC context, COLORREF colour) {
    return Exchange(context, &PaintResult::textColour, colour);
}

COLORREF WINAPI SetBkColor(HDC context, COLORREF colour) {
    return Exchange(context, &PaintResult::background, colour);
}

HBITMAP WINAPI LoadBitmapA(HINSTANCE, LPCSTR name) {
    auto bytes = FindNamedResource(BitmapResource, name);
    auto picture = bytes ? ReadPicture(*bytes) : nullptr;
    if (!picture)
        return nullptr;
    if (const auto vector = FindNamedResource(VectorPictureResource, name))
        picture->vector = *vector;
    const std::lock_guard lock(Drawing().lock);
    return static_cast<HBITMAP>(Drawing().Add(std::move(picture)));
}
