// Finding the image that suits the handheld in the folder tree beside the wizard.
#pragma once

#include <cstdint>
#include <optional>

// Sets LanguageFolder from DeviceLanguage, and ImageSizeKB from the folder's image. A code that is
// none of the eight leaves both as they were.
void ChooseLanguageFolder();

// Size in bytes (low 32 bits) of the first image in the language folder; 0 if there is none.
std::uint32_t FindFolderImageSize();

// True when the first image of the language folder is in ImagePath and DefaultImagePath; else
// ImageMissingPage has been shown and the caller ends the run.
bool FindDefaultImage();

// Size of the file in bytes. Nothing: ImageOpenErrorPage has been shown and the run ended.
std::optional<std::uint64_t> ImageFileSize(const char* path);
