// Reading pieces. A short read at the end of the file is filled up; a read that fails is another
// matter: the file is longer than what came, and sending filler in its place would write a broken
// ROM and call it a success.

#include "link/image_source.h"

#include "link/port.h"
#include "pages/error_pages.h"
#include "wizard/state.h"

#include <cstring>

std::uint32_t OpenTransferImage(std::uint32_t smallest) {
    const HANDLE file = CreateFileA(State.Places.ImagePath, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 0;
    State.Link.ImageFile = file;
    DWORD high = 0;
    const DWORD size = GetFileSize(file, &high);
    return size == INVALID_FILE_SIZE || high != 0 || size < smallest ? 0 : size;
}

bool ReadPiece(std::uint8_t* buffer, std::uint32_t size) {
    DWORD filled = 0;
    while (filled < size) {
        DWORD count = 0;
        if (!ReadFile(State.Link.ImageFile, buffer + filled, size - filled, &count, nullptr))
            return false;
        if (count == 0)
            break;
        filled += count;
    }
    std::memset(buffer + filled, 0xFF, size - filled);
    return true;
}

std::uint8_t* AllocateTransferBuffer(std::uint32_t size) {
    return static_cast<std::uint8_t*>(LocalAlloc(LMEM_FIXED, size));
}

void ReportUnreadableImage() {
    CloseLinkPort();
    CollapsePage(State.Windows.ProgressPage, true);
    ShowPage(ImageOpenErrorPage);
    CloseMainWindow();
}
