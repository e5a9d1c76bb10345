// What the bootloader has said last, by the contents of the receive buffer.
#pragma once

enum class BootloaderMessage { None, ImageRecordWanted, BlockWanted, Prompt };

// The first that matches, in the order of the enumeration, anywhere in the buffer. The
// receive loop stops reading for it, and the sender answers it: the two must agree, or one waits
// for ever.
BootloaderMessage ReceivedMessage();
