// The flasher, which takes an image from the PC and writes it to the flash.

#include "simulator/flasher.h"

#include "simulator/device_state.h"
#include "simulator/wire.h"

#include <algorithm>

namespace simulator {

Flasher::Flasher(FlashParts& parts, Clock::time_point listens)
    : parts_(parts), listens_(listens), sender_(parts) {
    parts_.report.Print("flasher: waits for the start byte");
}

void Flasher::HandleBurst(SerialEnd& end, const Burst& burst) {
    if (end_ && end_ != &end) {
        parts_.report.PrintRefusal("flasher: bytes at the other end: " + Sample(burst.bytes));
        return;
    }
    if (Clock::now() < listens_) {
        parts_.report.Print("flasher: not heard yet: " + Sample(burst.bytes));
        return;
    }
    Burst rest = burst;
    while (!rest.bytes.empty()) {
        if (sender_.IsSilent())
            return;
        switch (step_) {
        case Step::Start:
            end_ = &end;
            HandleStartByte(rest);
            break;
        case Step::Size:
        case Step::Piece:
            collector_.Collect(rest);
            if (step_ == Step::Piece &&
                parts_.state.transfer.OffsetOf(parts_.state.transfer.pieces) == HeldBackOffset)
                BeginHeldBackBlock();
            // The PC sends only after a token, and noise may look like one at any time.
            if (collector_.IsComplete() && !rest.bytes.empty() && !parts_.faults.noiseSeed)
                Refuse("flasher: too early: " + Sample(rest.bytes));
            else if (collector_.IsComplete())
                step_ == Step::Size ? HandleSize() : HandlePiece();
            break;
        case Step::Complete:
            Refuse("flasher: after the last piece: " + Sample(rest.bytes));
            return;
        case Step::Refused:
            return;
        }
    }
}

void Flasher::HandleStartByte(Burst& burst) {
    const bool alone = burst.bytes.size() == 1 || parts_.faults.noiseSeed;
    if (burst.bytes[0] != StartByte || !alone) {
        parts_.report.PrintRefusal("flasher: no start byte: " + Sample(burst.bytes));
        burst.bytes = {};
        end_ = nullptr;
        return;
    }
    burst.bytes = burst.bytes.subspan(1);
    parts_.report.Print("flasher: start byte");
    collector_.Expect(SizeFieldSize);
    step_ = Step::Size;
    SendToken("start", ReadyToken);
}

void Flasher::HandleSize() {
    const std::uint32_t size = collector_.Number(0);
    parts_.record.LogArrival("size", collector_.First(), collector_.Last());
    parts_.report.Print("flasher: size " + Hex(size));
    if (!SizeFits(size)) {
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
    SendToken("size", NextToken);
}

bool Flasher::SizeFits(std::uint32_t size) const {
    const bool whole = parts_.faults.raggedSizes || size % PieceSize == 0;
    return size >= HeldBackSize && whole &&
           std::uint64_t{size} + HeldBackOffset <= parts_.flashSize;
}

// The handheld starts from the held-back block, which is erased as soon as its first byte is here:
// from now on the old system is gone.
void Flasher::BeginHeldBackBlock() {
    if (parts_.state.transfer.heldBackStarted)
        return;
    parts_.state.transfer.heldBackStarted = true;
    parts_.state.transfer.touched = true;
    parts_.folder.Save(parts_.state);
    parts_.report.Print("flasher: the held-back block begins");
}

void Flasher::HandlePiece() {
    Transfer& transfer = parts_.state.transfer;
    const std::uint32_t offset = transfer.OffsetOf(transfer.pieces);
    const std::uint64_t left = parts_.flashSize - offset; // a ragged size may end behind the flash
    const auto piece =
        std::span(collector_.Content())
            .first(static_cast<std::size_t>(std::min<std::uint64_t>(PieceSize, left)));
    if (!transfer.touched) {
        transfer.touched = true;
        parts_.folder.Save(parts_.state);
    }
    WriteAt(parts_.flash, offset, piece, parts_.folder.Flash());
    ++transfer.pieces;
    parts_.folder.Save(parts_.state);
    const std::string number = std::to_string(transfer.pieces);
    parts_.record.LogArrival("piece " + number, collector_.First(), collector_.Last());
    parts_.report.Print("flasher: piece " + number + " of " +
                        std::to_string(transfer.PieceCount()) + " to " + Hex(offset));
    collector_.Expect(PieceSize);
    if (transfer.Complete()) {
        step_ = Step::Complete;
        parts_.report.Print("flasher: complete");
    } else {
        SendToken(number, NextToken);
    }
}

void Flasher::SendToken(const std::string& step, std::uint8_t token) {
    sender_.Send(*end_, step, {token, 0});
}

void Flasher::Refuse(const std::string& why) {
    parts_.report.PrintRefusal(why);
    step_ = Step::Refused;
}

} // namespace simulator
