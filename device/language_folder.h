// The language folder: the files that go to the handheld, and the image.
#pragma once

#include <windows.h>

#include <functional>

// AppDirectory\folder\name. False, with an empty text, where that does not fit or there is no
// AppDirectory.
bool TreeFilePath(const char* folder, const char* name, char (&path)[MAX_PATH]);

// The same with LanguageFolder.
bool FolderFilePath(const char* name, char (&path)[MAX_PATH]);

// Calls `visit` for each file of AppDirectory\LanguageFolder in the order of the listing, until it
// gives false. An entry is a file unless its attributes are exactly FILE_ATTRIBUTE_DIRECTORY.
// False when the folder cannot be listed. After a full walk the last error is that of the end of
// the listing, ERROR_NO_MORE_FILES.
bool ForEachFolderFile(const std::function<bool(const WIN32_FIND_DATAA&)>& visit);
