// Writing and deleting small files. Links are opened without sharing: the handheld's shell may be
// reading one.

#include "device/remote_links.h"

#include "device/wide_text.h"
#include "rapi/rapi.h"
#include "state/handles.h"

#include <cstring>
#include <string>

namespace {

// Folder and widened name; empty where they do not fit a device path.
std::u16string LinkPath(const char16_t* folder, const char* name) {
    char16_t wideName[DevicePathCapacity];
    if (!WidenText(name, wideName))
        return {};
    std::u16string path = std::u16string(folder) + wideName;
    return path.size() < DevicePathCapacity ? path : std::u16string();
}

bool WriteText(const char16_t* path, const char* content) {
    const OwnedDeviceFile file(
        CeCreateFile(path, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL));
    const auto size = static_cast<std::uint32_t>(std::strlen(content));
    std::uint32_t done = 0;
    return file && CeWriteFile(file.Get(), content, size, &done) && done == size;
}

} // namespace

bool DeleteDeviceLink(const char16_t* folder, const char* name) {
    const std::u16string path = LinkPath(folder, name);
    OwnedDeviceFile link(path.empty() ? CeInvalidHandle
                                      : CeCreateFile(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING,
                                                     FILE_ATTRIBUTE_NORMAL));
    if (!link)
        return false;
    link.Close(); // an open file cannot be deleted
    return CeDeleteFile(path.c_str()) != 0;
}

bool WriteDeviceLink(const char16_t* folder, const char* name, const char* content) {
    const std::u16string path = LinkPath(folder, name);
    return !path.empty() && WriteText(path.c_str(), content);
}

bool WriteDeviceFile(const char* path, const char* content) {
    char16_t widePath[DevicePathCapacity];
    return WidenText(path, widePath) && WriteText(widePath, content);
}
