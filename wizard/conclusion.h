// What follows a transfer: the closing pages, or the page that says how to save the handheld.
#pragma once

#include <windows.h>

#include <cstdint>

enum class RunKind { Normal, Resumed };

// Whether a failed transfer left the handheld in a state from which only its bootloader helps: the
// second block of the payload is under way, or the bootloader was talked to in the first place.
bool OnlyBootloaderHelps(std::uint32_t bytesRemaining, bool bootloaderTransfer);

// Main thread, after ProgressPage has ended with `result`, a TransferResult.
// Shows nothing when a worker has already shown its page and ended the run.
void ConcludeTransfer(INT_PTR result, RunKind kind);
