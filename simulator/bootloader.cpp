// The bootloader, which brings back a handheld whose system can no longer start.

#include "simulator/bootloader.h"

#include "simulator/device_state.h"

#include <algorithm>

namespace simulator {

Bootloader::Bootloader(FlashParts& parts, SerialEnd& serial)
    : parts_(parts), serial_(serial), sender_(parts) {
    Expect(Step::Hello, BootloaderHello.size());
    parts_.report.Print("bootloader: shows its picture");
}

void Bootloader::HandleBurst(SerialEnd& end, const Burst& burst) {
    if (&end != &serial_) {
        parts_.report.PrintRefusal("bootloader: bytes at the USB end: " + Sample(burst.bytes));
        return;
    }
    Burst rest = burst;
    while (!rest.bytes.empty() && !sender_.IsSilent() && step_ != Step::Refused) {
        collector_.Collect(rest);
        if (!collector_.IsComplete())
            return;
        // A block follows its record at once; everything else waits for its turn.
        if (!rest.bytes.empty() && step_ != Step::BlockRecord && !parts_.faults.noiseSeed)
            Refuse("bootloader: too early: " + Sample(rest.bytes));
        else
            HandleContent();
    }
}

void Bootloader::Expect(Step step, std::size_t size) {
    step_ = step;
    collector_.Expect(size);
}

void Bootloader::HandleContent() {
    switch (step_) {
    case Step::Hello:
        HandleText(BootloaderHello);
        break;
    case Step::Sync:
        HandleText(BootloaderSync);
        break;
    case Step::ImageRecord:
        HandleImageRecord();
        break;
    case Step::BlockRecord:
        HandleBlockRecord();
        break;
    case Step::Block:
        HandleBlock();
        break;
    case Step::Full:
        Refuse("bootloader: behind the end: " + Sample(collector_.Content()));
        break;
    case Step::Refused:
        break;
    }
}

void Bootloader::HandleText(std::string_view wanted) {
    const Bytes& content = collector_.Content();
    if (!std::equal(content.begin(), content.end(), wanted.begin(), wanted.end())) {
        Refuse("bootloader: unexpected: " + Sample(content));
        return;
    }
    if (step_ == Step::Hello) {
        parts_.report.Print("bootloader: prompts");
        Expect(Step::Sync, BootloaderSync.size());
        sender_.Send(serial_, "start", Bytes(BootloaderBanner.begin(), BootloaderBanner.end()));
    } else {
        parts_.report.Print("bootloader: sync");
        Expect(Step::ImageRecord, ImageRecordSize);
        sender_.Send(serial_, "sync", {ImageToken});
    }
}

void Bootloader::HandleImageRecord() {
    if (collector_.Number(0) != HeldBackOffset || collector_.Number(4) != AnnouncedLength) {
        Refuse("bootloader: image record " + Hex(collector_.Number(0)) + ", " +
               Hex(collector_.Number(4)));
        return;
    }
    parts_.report.Print("bootloader: image record");
    // A size that the flasher has received before counts: it is that of the image itself.
    if (parts_.state.transfer.size == 0)
        parts_.state.transfer.size = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(AnnouncedLength, parts_.flashSize - HeldBackOffset));
    Expect(Step::BlockRecord, BlockRecordSize);
    sender_.Send(serial_, "record", {BlockToken});
}

void Bootloader::HandleBlockRecord() {
    if (collector_.Number(0) != offset_ || collector_.Number(4) != BlockSize ||
        collector_.Number(8) != 0) {
        Refuse("bootloader: block record " + Hex(collector_.Number(0)) + ", " +
               Hex(collector_.Number(4)) + ", " + Hex(collector_.Number(8)) + " instead of " +
               Hex(offset_));
        return;
    }
    Expect(Step::Block, BlockSize);
}

void Bootloader::HandleBlock() {
    const Bytes& block = collector_.Content();
    const std::string number = std::to_string(++blocks_);
    const bool closing = std::ranges::all_of(block, [](std::uint8_t byte) { return byte == 0xFF; });
    if (offset_ >= parts_.flashSize) {
        if (!closing)
            parts_.report.PrintRefusal("bootloader: block " + number + " is behind the flash");
        parts_.report.Print("bootloader: closing block at " + Hex(offset_));
        Expect(Step::Full, 1);
        return;
    }
    Transfer& transfer = parts_.state.transfer;
    transfer.touched = transfer.heldBackStarted = true;
    parts_.folder.Save(parts_.state);
    WriteAt(parts_.flash, offset_, block, parts_.folder.Flash());
    offset_ += BlockSize;
    transfer.blockEnd = offset_;
    parts_.folder.Save(parts_.state);
    parts_.record.LogArrival("piece " + number, collector_.First(), collector_.Last());
    parts_.report.Print("bootloader: block " + number + " to " + Hex(offset_ - BlockSize));
    if (transfer.Complete())
        parts_.report.Print("bootloader: complete up to " + Hex(offset_));
    Expect(Step::BlockRecord, BlockRecordSize);
    sender_.Send(serial_, number, {BlockToken});
}

void Bootloader::Refuse(const std::string& why) {
    parts_.report.PrintRefusal(why);
    step_ = Step::Refused;
}

} // namespace simulator
