// Compiled resources with texts, dialogs and bitmaps: what is found lies within the file, and a
// bitmap holds all the pixels that its header promises a display.

#include "platform/windows/resources.h"
#include "platform/windows/dialog_template.h"
#include "platform/windows/drawing.h"
#include "tests/fuzz/target.h"

#include <windows.h>

#include <cstring>

using fuzz::Require;
using namespace platform;

namespace {

// Cut short by a byte it is either unreadable or the same: nothing comes from behind the end.
void CheckDialog(fuzz::Bytes bytes) {
    constexpr std::size_t MinControlSize = 30;
    const auto dialog = ReadDialogTemplate(bytes);
    if (!dialog)
        return;
    Require(dialog->controls.size() <= bytes.size() / MinControlSize);
    const auto cut = ReadDialogTemplate(bytes.first(bytes.size() - 1));
    Require(!cut ||
            (cut->controls.size() == dialog->controls.size() && cut->title == dialog->title));
}

void CheckBitmap(HBITMAP bitmap) {
    const HDC page = OpenPaintContext(), memory = CreateCompatibleDC(page);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    Require(before && BitBlt(page, 0, 0, 1, 1, memory, 0, 0, SRCCOPY));
    Require(!DeleteObject(bitmap)); // while it is selected
    const PaintResult painted = ClosePaintContext(page);
    const Picture& picture = *painted.pictures.at(0).picture;
    const auto bits = picture.bitmap[14] * static_cast<std::size_t>(picture.width);
    const auto size = static_cast<std::size_t>(picture.height) * ((bits + 31) / 32 * 4);
    Require(picture.pixels + size <= picture.bitmap.size());
    Require(SelectObject(memory, before) == bitmap && DeleteObject(bitmap) && DeleteDC(memory));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    UseResources(data, data + size);
    for (const UINT id : {0U, 15U, 11056U}) {
        char text[10] = {}, whole[5000] = {};
        const int length = LoadStringA(nullptr, id, text, 9),
                  full = LoadStringA(nullptr, id, whole, 5000);
        Require(length == std::min(full, 8) &&
                std::memcmp(text, whole, static_cast<std::size_t>(length)) == 0);
        Require(text[9] == 0);
    }
    if (const auto found = FindResourceData(DialogResource, 101))
        CheckDialog(*found);
    if (const HBITMAP bitmap = LoadBitmapA(nullptr, MAKEINTRESOURCEA(127)))
        CheckBitmap(bitmap);
    Require(DrawingObjectCount() == 0);
    return 0;
}
