// Which image goes onto the handheld: the default one of the language folder, or a file that the
// user picks. Both must suit the handheld.
#pragma once

// VerifyImage on ImagePath, with ChecksumErrorPage on a mismatch. True when the image passed.
bool VerifyOrReport();

// Shows ActionChoicePage until an image has been chosen that suits the handheld: true. False: the
// user left, or a failure page has been shown.
bool ChooseImage();
