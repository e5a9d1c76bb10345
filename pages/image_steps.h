// The steps of a run that work on image files, each with the page of its failure. What they find
// goes into the record. A step that gives false or nothing has ended the run.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

// Reads the header of the file into State.Image. A file that cannot be opened or is shorter than a
// header gets ImageOpenErrorPage. Main thread, or the worker of ResumeProgressPage.
bool ReadImageHeader(const char* path);

// Whether model and language of the image in State.Image are those of the handheld, compared
// without regard to case; else IncompatibleImagePage. The same threads.
bool CheckImageIsForHandheld();

// Puts the path of the folder's first image into ImagePath and DefaultImagePath, or shows
// ImageMissingPage. Main thread, as all that follow.
bool FindDefaultImage();

// Size of the file in bytes, or ImageOpenErrorPage.
std::optional<std::uint64_t> ImageFileSize(const char* path);

// Carries out the module list of the language folder on the handheld. A missing list shows
// ModuleDataErrorPage, which the user may pass with Enter: then true.
bool RemoveListedModules();

enum class Verification {
    Passed,
    Mismatch, // nothing shown: the caller ends the run with ChecksumErrorPage
    Ended,
};

// Works on State.Paths.ImagePath, whose header ReadImageHeader has read before: carries out the
// module list, sums the file, and asks the handheld for its flash size. BusyPage, owned by `owner`,
// is up meanwhile.
Verification VerifyImage(HWND owner);
