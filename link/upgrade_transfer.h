// The transfer of an image to the flasher, token by token, with the held-back block last.
//
//   PC      'A'                        asks the flasher to answer
//   device  05 00                      ready
//   PC      4 bytes, little endian     how many image bytes will follow
//   device  04 00                      send the next piece; once for each piece
//   PC      0x20000 bytes              a piece; no frame, no checksum
//
// Nothing is awaited after the last piece. Which bytes of the file travel: wire.h.
#pragma once

// Sends the start byte, waits for the answer and sends the image. The link is open and its receive
// loop up. On the thread of the sender.
void BeginUpgradeTransfer();
