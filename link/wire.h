// What travels between the PC and the handheld, each thing named once for senders and receivers.
//
// An image file is a header and a payload in blocks of 0x40000 bytes:
//
//   0x00000   header, 32 bytes            never sent
//   0x00020   first block                 never sent: the bootloader lives there
//   0x40020   HeldBackBlock               to the flasher last
//   0x80020   the rest                    to the flasher first, in file order
//
// The flasher's dialogue is in upgrade_transfer.h, the bootloader's in bootloader_transfer.h.
#pragma once

#include "images/header.h"

#include <cstdint>
#include <string_view>

constexpr std::uint32_t PayloadBlockSize = 0x40000;

// While more than this is left to send, a transfer that dies can be repeated by the normal means;
// from here on only the bootloader helps.
constexpr std::uint32_t HeldBackSize = PayloadBlockSize;

// Image bytes that travel, of a file of this size: all but the header and the first block.
constexpr std::uint32_t BytesOnTheWire(std::uint32_t fileSize) {
    return fileSize - ImageHeaderSize - PayloadBlockSize;
}

// Files below this size hold no HeldBackBlock and are treated like files that cannot be opened.
constexpr std::uint32_t MinImageFileSize = ImageHeaderSize + 2 * PayloadBlockSize;

// To and from the flasher.
constexpr std::string_view StartByte = "A";
constexpr std::uint8_t SendPieceToken = 4; // behind each token comes a zero
constexpr std::uint8_t ReadyToken = 5;
constexpr std::uint32_t PieceSize = PayloadBlockSize / 2;

// To and from the bootloader. Its records are 32-bit little-endian numbers in the shape of the
// Windows CE BIN image format.
constexpr std::string_view DownloadCommand = "l\r";
constexpr std::string_view DownloadPrompt = "download";
constexpr std::string_view ImageSignature = "B000FF\n";
constexpr std::string_view ImageRecordRequest = "\x01";
constexpr std::string_view BlockRequest = "\x02";
constexpr std::uint32_t ImageRecordLength = 0xF40000; // fixed; it does not follow the file's size
