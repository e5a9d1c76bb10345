// The transfer of an image to the handheld's bootloader, when an upgrade has failed so late that
// nothing else on the handheld listens. Always over the serial port.
//
//   PC          "l\r"                            starts the dialogue
//   bootloader  text that holds "download"       answered with "B000FF\n"
//   bootloader  01                               answered with the image record, 8 bytes
//   bootloader  02                               answered with a block record, 12 bytes, and
//                                                0x40000 bytes of image
//
// Records are 32-bit little-endian numbers in the shape of the Windows CE BIN image format: offset
// and length of the image; offset, length and checksum (always 0) of a block. Offsets count in the
// payload, behind the 32-byte header; the first block of the payload is never sent.
#pragma once

// Opens the link, starts its receive loop and sends the image. On the thread of the sender, with
// ProgressPage up. It ends the page with 1 on success; failure comes through the stall timer.
void BootloaderTransfer();
