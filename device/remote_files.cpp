// The push of a file. A file of that name that cannot be created anew may be running, and Windows
// CE lets it be moved but not replaced; hence the way round by \Temp\.

#include "device/remote_files.h"

#include "device/file_copy.h"
#include "device/language_folder.h"
#include "device/wide_text.h"
#include "rapi/rapi.h"
#include "state/handles.h"

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
    return static_cast<bool>(
        OwnedDeviceFile(CeCreateFile(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, Hidden)));
}

bool SetAside(const char16_t* path, const char* bareName) {
    char aside[DevicePathCapacity];
    char16_t wideAside[DevicePathCapacity];
    if (!TempPath(bareName, aside) || !WidenText(aside, wideAside))
        return false;
    CeDeleteFile(wideAside); // usually there is none
    return CeMoveFile(path, wideAside) != 0;
}

CeHandle CreatePushTarget(const char* devicePath, const char* bareName) {
    char16_t path[DevicePathCapacity];
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

} // namespace

bool PushFile(const char* pcPath, const char* devicePath, const char* bareName) {
    return CopyToDevice(pcPath, PushBlock, [=] { return CreatePushTarget(devicePath, bareName); });
}

bool PushListedFile(const char* name, const char* deviceName) {
    char pcPath[MAX_PATH];
    char devicePath[DevicePathCapacity];
    return FolderFilePath(name, pcPath) && TempPath(deviceName, devicePath) &&
           PushFile(pcPath, devicePath, deviceName);
}

bool PushFolderFile(const char* name, const char* deviceName) {
    return ForEachFolderFile([=](const WIN32_FIND_DATAA& entry) {
        const char* listed = entry.cFileName;
        if (lstrcmpiA(listed, name) == 0)
            PushListedFile(listed, deviceName ? deviceName : listed); // a failure shows in its use
        return true;
    });
}

bool DeleteDeviceFile(const char* devicePath) {
    char16_t path[DevicePathCapacity];
    return WidenText(devicePath, path) && CeDeleteFile(path);
}
