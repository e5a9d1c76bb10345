// The transfer of an image to the flasher, token by token, with the held-back block last.
//
//   PC      'A'                        asks the flasher to answer
//   device  05 00                      ready
//   PC      4 bytes, little endian     how many image bytes will follow
//   device  04 00                      send the next piece; once for each piece
//   PC      0x20000 bytes              a piece; no frame, no checksum
//
// File offset 0x20, 0x40000 bytes: first block of the payload, never sent. 0x40020, 0x40000 bytes:
// HeldBackBlock, sent last. From 0x80020 on: sent first, in file order. Nothing is awaited after
// the last piece.
#pragma once

#include <windows.h>

#include <cstdint>

// Sends the start byte, waits for the answer and sends the image. The link is open and its receive
// loop up. On the thread of the sender.
void BeginUpgradeTransfer();

// Size of HeldBackBlock, and of the first block. While more than this is left to send, a transfer
// that dies can be repeated by the normal means; from here on only the bootloader helps.
constexpr std::uint32_t HeldBackSize = 0x40000;

// Image bytes that travel, of a file of this size: all but the header and the first block.
constexpr std::uint32_t BytesOnTheWire(std::uint32_t fileSize) { return fileSize - 0x40020; }

// Files below this size hold no HeldBackBlock and are treated like files that cannot be opened.
constexpr std::uint32_t MinImageFileSize = 0x80020;
