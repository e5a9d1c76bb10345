// Folders of the handheld, best effort: each operation reports success or failure and shows
// nothing. Paths are 8-bit in the ANSI code page, without a closing backslash.
#pragma once

// Deletes the files of the folder, and the folder. It ends at the first file that cannot be
// deleted, and where the device has listed 1000 entries and lists more; what went before is gone
// then. True when the folder is gone.
bool RemoveDeviceFolder(const char* folder);

bool CreateDeviceFolder(const char* folder); // its parent must be there

// Copies every shortcut of one folder into the other, but for those that are there already; of more
// than 1000 the first 1000.
void CopyDeviceLinks(const char* source, const char* target);
