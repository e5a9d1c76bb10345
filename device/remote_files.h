// Files of the handheld, best effort: each operation reports success or failure, shows nothing and
// leaves the device as far as it got. Names are 8-bit in the ANSI code page.
#pragma once

// Copies a PC file to the device as a hidden file. A file that is in the way is first moved to
// \Temp\ under `bareName`. True when the whole file was written.
bool PushFile(const char* pcPath, const char* devicePath, const char* bareName);

// Pushes a file of the language folder to \Temp\deviceName.
bool PushListedFile(const char* name, const char* deviceName);

// Pushes every file of the language folder whose name equals `name` (without regard to case) to
// \Temp\deviceName, or under the name as listed where that is null. False when the folder cannot be
// listed.
bool PushFolderFile(const char* name, const char* deviceName = nullptr);

bool DeleteDeviceFile(const char* devicePath); // CeDeleteFile on the widened path
