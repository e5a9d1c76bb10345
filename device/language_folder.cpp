// Paths into the language folder and the walk over it. An empty LanguageFolder makes both work in
// AppDirectory itself. Nothing here may touch the last error after the end of a listing: the start
// of the flasher is judged by it.

#include "device/language_folder.h"

#include "state/handles.h"
#include "state/state.h"

#include <cstdio>

bool TreeFilePath(const char* folder, const char* name, char (&path)[MAX_PATH]) {
    const int length =
        std::snprintf(path, sizeof(path), "%s\\%s\\%s", State.Paths.AppDirectory, folder, name);
    if (State.Paths.AppDirectory[0] && length >= 0 && length < static_cast<int>(sizeof(path)))
        return true;
    path[0] = '\0';
    return false;
}

bool FolderFilePath(const char* name, char (&path)[MAX_PATH]) {
    return TreeFilePath(State.Paths.LanguageFolder, name, path);
}

bool ForEachFolderFile(const std::function<bool(const WIN32_FIND_DATAA&)>& visit) {
    char pattern[MAX_PATH];
    if (!FolderFilePath("*.*", pattern))
        return false;
    WIN32_FIND_DATAA entry = {};
    const OwnedSearch search(FindFirstFileA(pattern, &entry));
    if (!search)
        return false;
    bool goOn = true;
    do {
        if (entry.dwFileAttributes != FILE_ATTRIBUTE_DIRECTORY)
            goOn = visit(entry);
    } while (goOn && FindNextFileA(search.Get(), &entry));
    return true;
}
