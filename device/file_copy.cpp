// Copying in blocks, up to and with the empty one at the end of the file: the pass that meets the
// end makes a write of no bytes, too.

#include "device/file_copy.h"

#include "state/handles.h"

#include <algorithm>

namespace {

bool CopyBlocks(HANDLE source, CeHandle target, DWORD block) {
    char bytes[MaxCopyBlock];
    block = std::clamp<DWORD>(block, 1, MaxCopyBlock);
    DWORD count = 0;
    do {
        std::uint32_t done = 0;
        if (!ReadFile(source, bytes, block, &count, nullptr) ||
            !CeWriteFile(target, bytes, count, &done) || done != count)
            return false;
    } while (count != 0);
    return true;
}

} // namespace

bool CopyToDevice(const char* pcPath, DWORD block, const std::function<CeHandle()>& openTarget) {
    const OwnedFile source = OpenForReading(pcPath);
    if (!source)
        return false;
    const OwnedDeviceFile target(openTarget());
    return target && CopyBlocks(source.Get(), target.Get(), block);
}
