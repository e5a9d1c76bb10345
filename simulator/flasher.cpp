// The flasher, which takes an image from the PC and writes it to the flash.

#include "simulator/flasher.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr std::uint8_t StartByte = 0x41;
constexpr std::uint8_t ReadyToken = 5;
constexpr std::uint8_t NextToken = 4;
constexpr std::size_t SizeFieldLength = 4;

} // namespace

Flasher::Flasher(FlashParts& parts) : parts_(parts), sender_(parts) {
    parts_.report.Say("flasher: waits for the start byte");
}

void Flasher::Take(SerialEnd& end, const Burst& burst) {
    if (end_ && end_ != &end) {
        parts_.report.Refuse("flasher: bytes at the other end: " + Sample(burst.bytes));
        return;
    }
    Burst rest = burst;
    while (!rest.bytes.empty()) {
        if (sender_.Silent())
            return;
        switch (step_) {
        case Step::Start:
            end_ = &end;
            TakeStart(rest);
            break;
        case Step::Size:
        case Step::Piece:
            collector_.Take(rest);
            if (step_ == Step::Piece &&
                parts_.state.transfer.OffsetOf(parts_.state.transfer.pieces) == BootloaderRegion)
                BeginPiece();
            // The PC speaks when it has been asked and not before; noise asks it at any time.
            if (collector_.Whole() && !rest.bytes.empty() && !parts_.faults.noiseSeed)
                Refuse("flasher: too early: " + Sample(rest.bytes));
            else if (collector_.Whole())
                step_ == Step::Size ? TakeSize() : TakePiece();
            break;
        case Step::Complete:
            Refuse("flasher: after the last piece: " + Sample(rest.bytes));
            return;
        case Step::Refused:
            return;
        }
    }
}

void Flasher::TakeStart(Burst& burst) {
    const bool alone = burst.bytes.size() == 1 || parts_.faults.noiseSeed;
    if (burst.bytes[0] != StartByte || !alone) {
        parts_.report.Refuse("flasher: no start byte: " + Sample(burst.bytes));
        burst.bytes = {};
        end_ = nullptr;
        return;
    }
    burst.bytes = burst.bytes.subspan(1);
    parts_.report.Say("flasher: start byte");
    collector_.Expect(SizeFieldLength);
    step_ = Step::Size;
    Tell("start", ReadyToken);
}

void Flasher::TakeSize() {
    const std::uint32_t size = collector_.Number(0);
    parts_.record.Arrived("size", collector_.First(), collector_.Last());
    parts_.report.Say("flasher: size " + Hex(size));
    if (!Suits(size)) {
        Refuse("flasher: size " + Hex(size) + " does not fit a flash of " +
               Hex(static_cast<std::uint32_t>(parts_.flashSize)));
        return;
    }
    // What an earlier transfer did to the flash is not undone by a new size.
    parts_.state.transfer.size = size;
    parts_.state.transfer.pieces = 0;
    parts_.state.transfer.blockEnd = 0;
    parts_.folder.Save(parts_.state);
    collector_.Expect(PieceSize);
    step_ = Step::Piece;
    Tell("size", NextToken);
}

bool Flasher::Suits(std::uint32_t size) const {
    const bool whole = parts_.faults.raggedSizes || size % PieceSize == 0;
    return size >= HeldBackSize && whole &&
           std::uint64_t{size} + BootloaderRegion <= parts_.flashSize;
}

// The held-back block holds what starts the handheld, and is erased as soon as its first byte is
// here: from now on the old system is gone.
void Flasher::BeginPiece() {
    if (parts_.state.transfer.heldBackStarted)
        return;
    parts_.state.transfer.heldBackStarted = true;
    parts_.state.transfer.touched = true;
    parts_.folder.Save(parts_.state);
    parts_.report.Say("flasher: the held-back block begins");
}

void Flasher::TakePiece() {
    Transfer& transfer = parts_.state.transfer;
    const std::uint32_t offset = transfer.OffsetOf(transfer.pieces);
    const std::uint64_t room = parts_.flashSize - offset; // a ragged size may stick out
    const auto piece =
        std::span(collector_.Content())
            .first(static_cast<std::size_t>(std::min<std::uint64_t>(PieceSize, room)));
    if (!transfer.touched) {
        transfer.touched = true;
        parts_.folder.Save(parts_.state);
    }
    WriteAt(parts_.flash, offset, piece, parts_.folder.Flash());
    ++transfer.pieces;
    parts_.folder.Save(parts_.state);
    const std::string number = std::to_string(transfer.pieces);
    parts_.record.Arrived("piece " + number, collector_.First(), collector_.Last());
    parts_.report.Say("flasher: piece " + number + " of " + std::to_string(transfer.PieceCount()) +
                      " to " + Hex(offset));
    collector_.Expect(PieceSize);
    if (transfer.Complete()) {
        step_ = Step::Complete;
        parts_.report.Say("flasher: complete");
    } else {
        Tell(number, NextToken);
    }
}

void Flasher::Tell(const std::string& step, std::uint8_t token) {
    sender_.Send(*end_, step, {token, 0});
}

void Flasher::Refuse(const std::string& why) {
    parts_.report.Refuse(why);
    step_ = Step::Refused;
}

} // namespace simulator
