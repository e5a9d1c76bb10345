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

void CheckText(UINT id, int capacity) {
    std::string buffer(static_cast<std::size_t>(capacity), '#'), whole(5000, '#');
    const int length = LoadStringA(nullptr, id, buffer.data(), capacity);
    const int full = LoadStringA(nullptr, id, whole.data(), 5000);
    Require(length == std::min(full, capacity - 1) &&
            buffer[static_cast<std::size_t>(length)] == 0);
    Require(whole.starts_with(buffer.substr(0, static_cast<std::size_t>(length))));
}

// Cut short by a byte it is either unreadable or the same: nothing comes from behind the end.
void CheckDialog(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t MinControlSize = 30;
    const auto dialog = ReadDialogTemplate(bytes);
    if (!dialog)
        return;
    Require(dialog->controls.size() <= bytes.size() / MinControlSize);
    const auto cut = ReadDialogTemplate(bytes.first(bytes.size() - 1));
    Require(!cut || (cut->controls.size() == dialog->controls.size() &&
                     cut->title == dialog->title && cut->typeface == dialog->typeface));
}

void CheckBitmap(HBITMAP bitmap) {
    const HDC page = OpenPaintContext(), memory = CreateCompatibleDC(page);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    Require(before && BitBlt(page, 0, 0, 1, 1, memory, 0, 0, SRCCOPY));
    const PaintResult painted = ClosePaintContext(page);
    const Picture& picture = *painted.pictures.at(0).picture;
    std::uint16_t depth = 0;
    std::memcpy(&depth, picture.bitmap.data() + 14, sizeof(depth));
    const auto rowSize =
        (std::size_t{depth} * static_cast<std::size_t>(picture.width) + 31) / 32 * 4;
    const auto size = static_cast<std::size_t>(picture.height) * rowSize;
    Require(picture.pixels <= picture.bitmap.size() &&
            size <= picture.bitmap.size() - picture.pixels);
    Require(SelectObject(memory, before) == bitmap && DeleteObject(bitmap) && DeleteDC(memory));
    Require(DrawingObjectCount() == 0);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    UseResources(data, data + size);
    for (const UINT id : {0U, 15U, 11056U})
        for (const int capacity : {1, 9, 50})
            CheckText(id, capacity);
    for (const auto type : {BitmapResource, DialogResource, IconGroupResource})
        if (const auto found = FirstResourceData(type))
            Require(found->empty() ||
                    (found->data() >= data && found->data() + found->size() <= data + size));
    if (const auto found = FindResourceData(DialogResource, 101))
        CheckDialog(*found);
    if (const HBITMAP bitmap = LoadBitmapA(nullptr, MAKEINTRESOURCEA(127)))
        CheckBitmap(bitmap);
    return 0;
}
