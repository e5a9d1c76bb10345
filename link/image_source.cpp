// Reading the pieces that are sent. What lies behind the size that the file had at its opening is
// filled up. A read that fails or ends before that size is another matter: filler in place of what
// the file held would write a broken ROM and call it a success.

#include "link/image_source.h"

#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "link/port.h"
#include "state/state.h"

#include <algorithm>

std::uint32_t OpenTransferImage(std::uint32_t smallest) {
    const HANDLE file = CreateFileA(State.Paths.ImagePath, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 0;
    State.Link.ImageFile = file;
    DWORD high = 0;
    const DWORD size = GetFileSize(file, &high);
    if (size == INVALID_FILE_SIZE || high != 0 || size < smallest)
        return 0;
    State.Link.ImageBytesUnread = size;
    return size;
}

bool ReadPiece(std::span<std::uint8_t> piece) {
    const auto wanted = static_cast<std::uint32_t>(
        std::min<std::size_t>(piece.size(), State.Link.ImageBytesUnread));
    for (DWORD filled = 0, count = 0; filled < wanted; filled += count) {
        if (!ReadFile(State.Link.ImageFile, piece.data() + filled, wanted - filled, &count,
                      nullptr) ||
            count == 0)
            return false;
    }
    State.Link.ImageBytesUnread -= wanted;
    std::ranges::fill(piece.subspan(wanted), std::uint8_t{0xFF});
    return true;
}

std::uint8_t* AllocateTransferBuffer(std::uint32_t size) {
    return static_cast<std::uint8_t*>(LocalAlloc(LMEM_FIXED, size));
}

void ReportUnreadableImage() {
    CloseLinkPort();
    EndRun(ImageOpenErrorPage);
}
