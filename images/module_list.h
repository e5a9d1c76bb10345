// module.dat of the language folder: names of files that the handheld must lose before an upgrade.
//
// One name a line, CR LF behind it; a line that starts with '$', after the first, ends the list.
#pragma once

#include <functional>
#include <string_view>

enum class ModuleList {
    Removed,    // whatever the handheld had of it
    Missing,    // cannot be opened
    Unreadable, // nothing was removed
};

// Deletes the files of the folder's list from \Windows\ of the handheld, as far as they are there.
ModuleList RemoveModulesOfFolder();

// Calls `visit` for each name of the list in its order, up to its end line or the end of the text;
// the last name needs no CR LF. Passed over: names of no or more than 259 characters, and those
// that hold control characters.
void ForEachListedModule(std::string_view list, const std::function<void(const char*)>& visit);
