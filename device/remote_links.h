// Shortcuts and other small text files of the handheld, best effort: each operation reports success
// or failure and shows nothing. Names and contents are 8-bit in the ANSI code page; `folder` is
// UTF-16 and ends in a backslash.
#pragma once

// Only a link that can be opened is deleted: one that is in use stays. True when it is gone.
bool DeleteDeviceLink(const char16_t* folder, const char* name);

// Writes the content byte for byte, with no terminator; a file of that name is replaced. True
// when it was written whole; what a failed write leaves stays.
bool WriteDeviceLink(const char16_t* folder, const char* name, const char* content);
bool WriteDeviceFile(const char* path, const char* content);
