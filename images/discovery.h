// Finding the image that suits the handheld in the folder tree beside the wizard.
#pragma once

#include <cstdint>
#include <optional>

// Sets LanguageFolder from DeviceLanguage, and ImageSizeKB from the folder's image. A code that is
// none of the eight leaves both as they were.
void ChooseLanguageFolder();

// Size in bytes (low 32 bits) of the first image in the language folder; 0 if there is none.
std::uint32_t FindFolderImageSize();

// The full path of the first image in the language folder. False, with the buffer as it was or
// empty, when there is none or its path does not fit.
bool FindFolderImage(char (&path)[260]);

// Size of a file in bytes; nothing when it cannot be opened or measured.
std::optional<std::uint64_t> SizeOfFile(const char* path);
