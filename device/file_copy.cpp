// The pass that meets the end of the file makes a write of no bytes, too.

#include "device/file_copy.h"

namespace {

bool CopyBlocks(HANDLE source, CeHandle target, DWORD block) {
    char bytes[MaxCopyBlock];
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
    const HANDLE source = CreateFileA(pcPath, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (source == INVALID_HANDLE_VALUE)
        return false;
    const CeHandle target = openTarget();
    bool copied = false;
    if (target != CeInvalidHandle) {
        copied = CopyBlocks(source, target, block);
        CeCloseHandle(target);
    }
    CloseHandle(source);
    return copied;
}
