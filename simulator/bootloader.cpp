// The bootloader, which brings back a handheld whose system can no longer start.

#include "simulator/bootloader.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr std::string_view Hello = "l\r";
constexpr std::string_view Sync = "B000FF\n";
constexpr std::string_view Banner = "\r\nHandheld boot loader\r\nserial 115200 8N1, flash ok\r\n"
                                    "Ready for download\r\n";
constexpr std::uint8_t ImageToken = 1;
constexpr std::uint8_t BlockToken = 2;
constexpr std::size_t ImageRecordLength = 8;
constexpr std::size_t BlockRecordLength = 12;
constexpr std::uint32_t BlockSize = 0x40000;
constexpr std::uint32_t AnnouncedLength = 0xF40000; // for every image

} // namespace

Bootloader::Bootloader(FlashParts& parts, SerialEnd& serial)
    : parts_(parts), serial_(serial), sender_(parts) {
    Expect(Step::Hello, Hello.size());
    parts_.report.Say("bootloader: shows its picture");
}

void Bootloader::Take(SerialEnd& end, const Burst& burst) {
    if (&end != &serial_) {
        parts_.report.Refuse("bootloader: bytes at the USB end: " + Sample(burst.bytes));
        return;
    }
    Burst rest = burst;
    while (!rest.bytes.empty() && !sender_.Silent() && step_ != Step::Refused) {
        collector_.Take(rest);
        if (!collector_.Whole())
            return;
        // A block follows its record at once; everything else waits for its turn.
        if (!rest.bytes.empty() && step_ != Step::BlockRecord && !parts_.faults.noiseSeed)
            Refuse("bootloader: too early: " + Sample(rest.bytes));
        else
            TakeWhole();
    }
}

void Bootloader::Expect(Step step, std::size_t size) {
    step_ = step;
    collector_.Expect(size);
}

void Bootloader::TakeWhole() {
    switch (step_) {
    case Step::Hello:
        TakeText(Hello);
        break;
    case Step::Sync:
        TakeText(Sync);
        break;
    case Step::ImageRecord:
        TakeImageRecord();
        break;
    case Step::BlockRecord:
        TakeBlockRecord();
        break;
    case Step::Block:
        TakeBlock();
        break;
    case Step::Full:
        Refuse("bootloader: behind the end: " + Sample(collector_.Content()));
        break;
    case Step::Refused:
        break;
    }
}

void Bootloader::TakeText(std::string_view wanted) {
    const Bytes& content = collector_.Content();
    if (!std::equal(content.begin(), content.end(), wanted.begin(), wanted.end())) {
        Refuse("bootloader: unexpected: " + Sample(content));
        return;
    }
    if (step_ == Step::Hello) {
        parts_.report.Say("bootloader: prompts");
        Expect(Step::Sync, Sync.size());
        sender_.Send(serial_, "start", Bytes(Banner.begin(), Banner.end()));
    } else {
        parts_.report.Say("bootloader: sync");
        Expect(Step::ImageRecord, ImageRecordLength);
        sender_.Send(serial_, "sync", {ImageToken});
    }
}

void Bootloader::TakeImageRecord() {
    if (collector_.Number(0) != BootloaderRegion || collector_.Number(4) != AnnouncedLength) {
        Refuse("bootloader: image record " + Hex(collector_.Number(0)) + ", " +
               Hex(collector_.Number(4)));
        return;
    }
    parts_.report.Say("bootloader: image record");
    // Where the flasher was told a size before, that one counts: it is the image's own.
    if (parts_.state.transfer.size == 0)
        parts_.state.transfer.size = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(AnnouncedLength, parts_.flashSize - BootloaderRegion));
    Expect(Step::BlockRecord, BlockRecordLength);
    sender_.Send(serial_, "record", {BlockToken});
}

void Bootloader::TakeBlockRecord() {
    if (collector_.Number(0) != offset_ || collector_.Number(4) != BlockSize ||
        collector_.Number(8) != 0) {
        Refuse("bootloader: block record " + Hex(collector_.Number(0)) + ", " +
               Hex(collector_.Number(4)) + ", " + Hex(collector_.Number(8)) + " instead of " +
               Hex(offset_));
        return;
    }
    Expect(Step::Block, BlockSize);
}

void Bootloader::TakeBlock() {
    const Bytes& block = collector_.Content();
    const std::string number = std::to_string(++blocks_);
    const bool closing = std::ranges::all_of(block, [](std::uint8_t byte) { return byte == 0xFF; });
    if (offset_ >= parts_.flashSize) {
        if (!closing)
            parts_.report.Refuse("bootloader: block " + number + " is behind the flash");
        parts_.report.Say("bootloader: closing block at " + Hex(offset_));
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
    parts_.record.Arrived("piece " + number, collector_.First(), collector_.Last());
    parts_.report.Say("bootloader: block " + number + " to " + Hex(offset_ - BlockSize));
    if (transfer.Complete())
        parts_.report.Say("bootloader: complete up to " + Hex(offset_));
    Expect(Step::BlockRecord, BlockRecordLength);
    sender_.Send(serial_, number, {BlockToken});
}

void Bootloader::Refuse(const std::string& why) {
    parts_.report.Refuse(why);
    step_ = Step::Refused;
}

} // namespace simulator
