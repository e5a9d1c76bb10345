// The flasher, which takes an image from the PC and writes it to the flash.
//
// The PC begins with "A" and is answered with token 5; it tells in 4 bytes how many will follow,
// and then sends a piece of 0x20000 bytes for each token 4. Bytes carry no address: their order is
// what tells where they belong. The rest of the flash comes first, from 0x80000 on, then the
// held-back block at 0x40000, and after the last piece nothing is said. Tokens are two bytes, the
// token and a zero, and go out only when what came before is in the flash.
//
// Whatever else comes is refused: the flasher then stays silent, which is all that a PC can notice.
#pragma once

#include "simulator/flash_link.h"

namespace simulator {

class Flasher : public LinkProgram {
public:
    explicit Flasher(FlashParts& parts);

    void Take(SerialEnd& end, const Burst& burst) override;

private:
    enum class Step { Start, Size, Piece, Complete, Refused };

    void TakeStart(Burst& burst);
    void TakeSize();
    void TakePiece();
    void BeginPiece();
    void Refuse(const std::string& why);
    void Tell(const std::string& step, std::uint8_t token);
    bool Suits(std::uint32_t size) const;

    FlashParts& parts_;
    TokenSender sender_;
    Step step_ = Step::Start;
    Collector collector_;
    SerialEnd* end_ = nullptr; // where the start byte came in; null before
};

} // namespace simulator
