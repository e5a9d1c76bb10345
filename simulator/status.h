// The state of a handheld for people, and its flash against an image.
#pragma once

#include "simulator/device_state.h"

namespace simulator {

// Prints identity, mode, power, checksums of the flash by region, registry, and what was refused.
void PrintStatus(const StateFolder& folder);

// Prints each region of the flash that an upgrade writes, equal to the image's payload or not.
// Whether all are equal. Throws a Failure where the image cannot be read or does not fit.
bool CompareFlash(const StateFolder& folder, const std::filesystem::path& image);

} // namespace simulator
