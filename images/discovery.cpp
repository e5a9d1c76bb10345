// Searching the language folder. The first image of a listing is the image of the folder, and all
// searches here take the same one as long as the folder does not change.

#include "images/discovery.h"

#include "device/language_folder.h"
#include "images/language_table.h"
#include "state/handles.h"
#include "state/state.h"

#include <cstdio>
#include <cstring>

namespace {

// By the last three characters; there need be no dot before them.
bool IsImageName(const char* name) {
    const std::size_t length = std::strlen(name);
    return length >= 3 && lstrcmpiA(name + length - 3, "nbf") == 0;
}

std::optional<WIN32_FIND_DATAA> FirstFolderImage() {
    std::optional<WIN32_FIND_DATAA> first;
    ForEachFolderFile([&first](const WIN32_FIND_DATAA& entry) {
        if (IsImageName(entry.cFileName))
            first = entry;
        return !first;
    });
    return first;
}

} // namespace

void ChooseLanguageFolder() {
    const char* name = LanguageName(State.Handheld.DeviceLanguage);
    if (!name)
        return;
    std::snprintf(State.Paths.LanguageFolder, sizeof(State.Paths.LanguageFolder), "%s", name);
    State.Image.ImageSizeKB = FindFolderImageSize() / 1024;
}

std::uint32_t FindFolderImageSize() {
    const std::optional<WIN32_FIND_DATAA> image = FirstFolderImage();
    return image ? image->nFileSizeLow : 0;
}

bool FindFolderImage(char (&path)[260]) {
    const std::optional<WIN32_FIND_DATAA> image = FirstFolderImage();
    return image && FolderFilePath(image->cFileName, path);
}

std::optional<std::uint64_t> SizeOfFile(const char* path) {
    const OwnedFile file = OpenForReading(path);
    if (!file)
        return std::nullopt;
    SetLastError(NO_ERROR); // the failure value may also be a size
    DWORD high = 0;
    const DWORD size = GetFileSize(file.Get(), &high);
    if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
        return std::nullopt;
    return std::uint64_t{high} << 32 | size;
}
