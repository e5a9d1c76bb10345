// Looking for the bootloader's messages.

#include "link/bootloader_message.h"

#include "link/receive_buffer.h"
#include "link/wire.h"

BootloaderMessage ReceivedMessage() {
    if (HoldsText(ImageRecordRequest))
        return BootloaderMessage::ImageRecordWanted;
    if (HoldsText(BlockRequest))
        return BootloaderMessage::BlockWanted;
    return HoldsText(DownloadPrompt) ? BootloaderMessage::Prompt : BootloaderMessage::None;
}
