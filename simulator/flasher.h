// The flasher, which takes an image from the PC and writes it to the flash.
//
// The PC begins with "A" and is answered with token 5; it announces a size in 4 bytes, and then
// sends a piece of 0x20000 bytes for each token 4. Bytes carry no address, only their order shows
// where they belong: the rest of the flash comes first, from 0x80000 on, then the held-back block
// at 0x40000. The last piece is not answered. Tokens are two bytes, the token and a zero, and go
// out only when what came before is in the flash.
//
// Whatever else comes is refused: the flasher then stays silent, which is all that a PC can notice.
#pragma once

#include "simulator/flash_link.h"
#include "simulator/serial_end.h"

namespace simulator {

class Flasher : public LinkProgram {
public:
    // What comes before that time is lost: the port has not been taken over yet.
    explicit Flasher(FlashParts& parts, Clock::time_point listens = {});

    void HandleBurst(SerialEnd& end, const Burst& burst) override;

private:
    enum class Step { Start, Size, Piece, Complete, Refused };

    void HandleStartByte(Burst& burst);
    void HandleSize();
    void HandlePiece();
    void BeginHeldBackBlock();
    void Refuse(const std::string& why);
    void SendToken(const std::string& step, std::uint8_t token);
    bool SizeFits(std::uint32_t size) const;

    FlashParts& parts_;
    const Clock::time_point listens_;
    TokenSender sender_;
    Step step_ = Step::Start;
    Collector collector_;
    SerialEnd* end_ = nullptr; // where the start byte came in; null before
};

} // namespace simulator
