// The image file as a transfer reads it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>

// Opens ImagePath into State.Link.ImageFile and gives its size; 0 when it cannot be opened or
// measured, or is smaller than `smallest`.
std::uint32_t OpenTransferImage(std::uint32_t smallest);

// Fills the piece with the next bytes; what lies behind the size measured at opening becomes 0xFF,
// the state of erased flash. False when the read failed or the file has become shorter: what then
// it holds must not be sent, and nothing behind it.
bool ReadPiece(std::span<std::uint8_t> piece);

// A buffer of a transfer, freed by AbandonTransfer; null when there is no memory.
std::uint8_t* AllocateTransferBuffer(std::uint32_t size);

// The image cannot be sent: closes the link, shows ImageOpenErrorPage and ends the run.
void ReportUnreadableImage();
