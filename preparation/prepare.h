// The last work over RAPI before the flash: pushes the flasher, changes the device for the image
// that is about to be written, starts the flasher and hands over to the flash link.
#pragma once

// Main thread, while PreparePage is up. Does nothing unless UpgradeUnderway is set. A flasher that
// does not start shows RemoteProgramErrorPage and ends the run.
void PrepareDevice();
