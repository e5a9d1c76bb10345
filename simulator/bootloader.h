// The bootloader, which brings back a handheld whose system can no longer start.
//
// It talks at the serial end alone and shows a picture meanwhile. "l\r" brings its banner, which
// ends in the prompt "download"; "B000FF\n" is answered with token 1, the image record (offset
// 0x40000, length 0xF40000, both 32 bits) with token 2, and each block (offset, length 0x40000 and
// a zero, then the data) with another token 2. Blocks come in the order of the flash. The record's
// length is the same for every image, so only the PC knows its last block: the bootloader sends
// tokens until the flash is full, and a PC that has sent all does not answer. It may close with a
// block of 0xFF, which is dropped where it belongs behind the flash.
#pragma once

#include "simulator/flash_link.h"
#include "simulator/serial_end.h"
#include "simulator/wire.h"

namespace simulator {

class Bootloader : public LinkProgram {
public:
    // `serial` is the only end that it listens to.
    Bootloader(FlashParts& parts, SerialEnd& serial);

    void HandleBurst(SerialEnd& end, const Burst& burst) override;

private:
    enum class Step { Hello, Sync, ImageRecord, BlockRecord, Block, Full, Refused };

    void Expect(Step step, std::size_t size);
    void HandleContent();
    void HandleText(std::string_view wanted);
    void HandleImageRecord();
    void HandleBlockRecord();
    void HandleBlock();
    void Refuse(const std::string& why);

    FlashParts& parts_;
    SerialEnd& serial_;
    TokenSender sender_;
    Collector collector_;
    Step step_ = Step::Hello;
    std::uint32_t offset_ = HeldBackOffset; // of the next block
    std::uint32_t blocks_ = 0;
};

} // namespace simulator
