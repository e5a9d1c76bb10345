// The push of a file. A file of that name that cannot be created anew may be running, and Windows
// CE lets it be moved but not replaced; hence the way round by \Temp\.

#include "device/remote_files.h"

#include "device/language_folder.h"
#include "device/rapi.h"
#include "device/wide_text.h"

#include <cstdio>

namespace {

constexpr DWORD PushBlock = 4096; // bytes a read and a write

constexpr std::uint32_t Hidden = FILE_ATTRIBUTE_HIDDEN;

template <std::size_t Size>
bool TempPath(const char* name, char (&path)[Size]) {
    const int length = std::snprintf(path, Size, "\\Temp\\%s", name);
    return length >= 0 && length < static_cast<int>(Size);
}

bool IsOnDevice(const char16_t* path) {
    const CeHandle probe = CeCreateFile(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, Hidden);
    if (probe == CeInvalidHandle)
        return false;
    CeCloseHandle(probe);
    return true;
}

bool SetAside(const char16_t* path, const char* bareName) {
    char aside[DevicePathRoom];
    char16_t wideAside[DevicePathRoom];
    if (!TempPath(bareName, aside) || !WidenText(aside, wideAside))
        return false;
    CeDeleteFile(wideAside); // usually there is none
    return CeMoveFile(path, wideAside) != 0;
}

CeHandle CreatePushTarget(const char* devicePath, const char* bareName) {
    char16_t path[DevicePathRoom];
    if (!WidenText(devicePath, path))
        return CeInvalidHandle;
    const CeHandle created = CeCreateFile(path, GENERIC_READ | GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_NEW, Hidden);
    if (created != CeInvalidHandle)
        return created;
    if (!IsOnDevice(path) || !SetAside(path, bareName))
        return CeInvalidHandle;
    return CeCreateFile(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, Hidden);
}

// The pass that meets the end of the file makes a write of no bytes, too.
bool CopyToDevice(HANDLE source, CeHandle target) {
    char block[PushBlock];
    DWORD count = 0;
    do {
        if (!ReadFile(source, block, PushBlock, &count, nullptr))
            return false;
        std::uint32_t done = 0;
        if (!CeWriteFile(target, block, count, &done) || done != count)
            return false;
    } while (count != 0);
    return true;
}

} // namespace

bool PushFile(const char* pcPath, const char* devicePath, const char* bareName) {
    const HANDLE source = CreateFileA(pcPath, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (source == INVALID_HANDLE_VALUE)
        return false;
    bool pushed = false;
    const CeHandle target = CreatePushTarget(devicePath, bareName);
    if (target != CeInvalidHandle) {
        pushed = CopyToDevice(source, target);
        CeCloseHandle(target);
    }
    CloseHandle(source);
    return pushed;
}

bool PushListedFile(const char* name) {
    char pcPath[MAX_PATH];
    char devicePath[DevicePathRoom];
    return FolderFilePath(name, pcPath) && TempPath(name, devicePath) &&
           PushFile(pcPath, devicePath, name);
}

bool PushFolderFile(const char* name) {
    return ForEachFolderFile([name](const WIN32_FIND_DATAA& entry) {
        if (lstrcmpiA(entry.cFileName, name) == 0)
            PushListedFile(entry.cFileName); // a failure shows when the file is used
        return true;
    });
}

bool DeleteRemoteFile(const char* devicePath) {
    char16_t path[DevicePathRoom];
    return WidenText(devicePath, path) && CeDeleteFile(path);
}
