// Working through the entries of a folder of the device. Their names come in UTF-16 and go back as
// they are.

#include "device/remote_folders.h"

#include "device/wide_text.h"
#include "rapi/rapi.h"
#include "state/handles.h"

#include <functional>
#include <string>

namespace {

// Entries of one listing. No group of the start menu has a tenth of them; a damaged file system may
// list the same ones without end.
constexpr int MaxEntries = 1000;

// Folder, backslash and name; empty where they do not fit a device path.
std::u16string PathIn(const char16_t* folder, const char16_t* name) {
    std::u16string path = std::u16string(folder) + u"\\" + name;
    return path.size() < DevicePathCapacity ? path : std::u16string();
}

// Calls `visit` for each entry that is not a plain folder until it gives false: then false, as for
// more than MaxEntries. The listing is closed on every way out. A folder without such entries gives
// true.
bool ForEachDeviceFile(const char16_t* folder, const char16_t* pattern,
                       const std::function<bool(const char16_t* name)>& visit) {
    const std::u16string wanted = PathIn(folder, pattern);
    CeFindData found = {};
    const OwnedDeviceSearch search(wanted.empty() ? CeInvalidHandle
                                                  : CeFindFirstFile(wanted.c_str(), &found));
    if (!search)
        return true;
    bool goOn = true;
    int entries = 0;
    do {
        if (++entries > MaxEntries)
            goOn = false;
        else if (found.attributes != FILE_ATTRIBUTE_DIRECTORY)
            goOn = visit(found.name);
    } while (goOn && CeFindNextFile(search.Get(), &found));
    return goOn;
}

} // namespace

bool RemoveDeviceFolder(const char* folder) {
    char16_t path[DevicePathCapacity];
    if (!WidenText(folder, path))
        return false;
    const bool emptied = ForEachDeviceFile(path, u"*.*", [&path](const char16_t* name) {
        return CeDeleteFile(PathIn(path, name).c_str()) != 0;
    });
    return emptied && CeRemoveDirectory(path);
}

bool CreateDeviceFolder(const char* folder) {
    char16_t path[DevicePathCapacity];
    return WidenText(folder, path) && CeCreateDirectory(path);
}

void CopyDeviceLinks(const char* source, const char* target) {
    char16_t from[DevicePathCapacity];
    char16_t to[DevicePathCapacity];
    if (!WidenText(source, from) || !WidenText(target, to))
        return;
    ForEachDeviceFile(from, u"*.lnk", [&](const char16_t* name) {
        CeCopyFile(PathIn(from, name).c_str(), PathIn(to, name).c_str(), TRUE);
        return true; // one that is not copied does not stop the others
    });
}
