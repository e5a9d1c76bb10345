// The numbers of the exchanges and of the flash, as a handheld has them.
//
// They are the simulator's own and not the wizard's, because it judges the wizard: a number that
// the wizard has wrong must not be wrong here, too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace simulator {

// The flash, from its first byte on: bootloader, held-back block, rest.
constexpr std::uint32_t BootloaderSize = 0x40000; // no upgrade writes there
constexpr std::uint32_t HeldBackOffset = BootloaderSize;
constexpr std::uint32_t HeldBackSize = 0x40000; // the block that is written last
constexpr std::uint32_t RestOffset = HeldBackOffset + HeldBackSize;

// The flasher.
constexpr std::uint8_t StartByte = 0x41;
constexpr std::uint8_t ReadyToken = 5;
constexpr std::uint8_t NextToken = 4;
constexpr std::size_t SizeFieldSize = 4;
constexpr std::uint32_t PieceSize = 0x20000;

// The bootloader.
constexpr std::string_view BootloaderHello = "l\r";
constexpr std::string_view BootloaderBanner =
    "\r\nHandheld boot loader\r\nserial 115200 8N1, flash ok\r\n"
    "Ready for download\r\n";
constexpr std::string_view BootloaderSync = "B000FF\n";
constexpr std::uint8_t ImageToken = 1;
constexpr std::uint8_t BlockToken = 2;
constexpr std::size_t ImageRecordSize = 8;  // offset, length
constexpr std::size_t BlockRecordSize = 12; // offset, length, zero
constexpr std::uint32_t BlockSize = 0x40000;
constexpr std::uint32_t AnnouncedLength = 0xF40000; // in the image record, for every image

// The backup, which goes through files of the handheld.
constexpr std::uint32_t BackupPieceSize = 0x40000;

} // namespace simulator
