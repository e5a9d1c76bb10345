// The registry values that the handheld gets for the image that is about to be written.
#pragma once

// Writes all values of the layout that an image of this version has, best effort.
void WriteDeviceValues(float imageVersion);
