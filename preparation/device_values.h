// The registry values that the handheld gets for the image that is about to be written.
#pragma once

// Which of two shapes the handheld's registry, buttons and menus are brought to. No version text
// lies between the two, so that exactly one holds.
bool TakesEarlyLayout(float imageVersion); // 1.40 and lower
bool TakesLateLayout(float imageVersion);  // 1.41 and higher

// Writes all values of the layout that this version takes, best effort.
void WriteDeviceValues(float imageVersion);
