// Reading module.dat and deleting what it names. The list is carried out before the user has chosen
// anything, and a name in it is a file that the handheld loses. What is no name is therefore passed
// over, never cut to one, and a list that ends early has just fewer names.

#include "images/module_list.h"

#include "device/language_folder.h"
#include "device/remote_files.h"
#include "state/handles.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>

namespace {

constexpr std::size_t MaxNameLength = 259;

// Tens of thousands of names: more files than \Windows ever held, and each costs a call over a slow
// cable. What lies behind it in the file is not read.
constexpr DWORD MaxListSize = 0x100000;

struct ListText {
    std::unique_ptr<char[]> data;
    DWORD size = 0;
};

bool IsWellFormed(std::string_view name) {
    return !name.empty() && name.size() <= MaxNameLength &&
           std::ranges::none_of(
               name, [](char character) { return static_cast<unsigned char>(character) < 0x20; });
}

void DeleteDeviceModule(const char* name) {
    char path[sizeof("\\Windows\\") + MaxNameLength];
    std::snprintf(path, sizeof(path), "\\Windows\\%s", name);
    DeleteDeviceFile(path); // most handhelds have only some of the files
}

DWORD ReadAsMuch(HANDLE file, char* data, DWORD size) {
    DWORD filled = 0;
    DWORD count = 0;
    while (filled < size && ReadFile(file, data + filled, size - filled, &count, nullptr)) {
        if (count == 0) // GCOVR_EXCL_BR_LINE: only of a file that another program
            break;      // GCOVR_EXCL_LINE: cuts off since it was measured
        filled += count;
    }
    return filled;
}

// Nothing where the file cannot be measured or there is no memory.
std::optional<ListText> ReadList(HANDLE file) {
    DWORD high = 0;
    const DWORD size = GetFileSize(file, &high);
    if (size == INVALID_FILE_SIZE)
        return std::nullopt;
    const bool tooLong = high != 0 || size > MaxListSize;
    const DWORD wanted = tooLong ? MaxListSize : size;
    ListText list{std::unique_ptr<char[]>(new (std::nothrow) char[wanted + 1]), 0};
    if (!list.data)
        return std::nullopt;
    list.size = ReadAsMuch(file, list.data.get(), wanted);
    if (tooLong) { // the last line is only the start of a name
        const std::size_t end = std::string_view(list.data.get(), list.size).rfind("\r\n");
        list.size = end == std::string_view::npos ? 0 : static_cast<DWORD>(end);
    }
    return list;
}

} // namespace

ModuleList RemoveModulesOfFolder() {
    char path[MAX_PATH];
    const OwnedFile file = FolderFilePath("module.dat", path) ? OpenForReading(path) : OwnedFile();
    if (!file)
        return ModuleList::Missing;
    const std::optional<ListText> list = ReadList(file.Get());
    if (!list)
        return ModuleList::Unreadable;
    ForEachListedModule({list->data.get(), list->size}, DeleteDeviceModule);
    return ModuleList::Removed;
}

void ForEachListedModule(std::string_view list, const std::function<void(const char*)>& visit) {
    for (std::size_t cursor = 0; cursor < list.size();) {
        if (cursor > 0 && list[cursor] == '$')
            return;
        const std::size_t end = std::min(list.find("\r\n", cursor), list.size());
        const std::string_view line = list.substr(cursor, end - cursor);
        if (IsWellFormed(line)) {
            char name[MaxNameLength + 1] = {};
            line.copy(name, MaxNameLength);
            visit(name);
        }
        cursor = end + 2;
    }
}
