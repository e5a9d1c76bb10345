// What the flasher and the bootloader share: the ends of the cable, tokens with their faults, the
// flash, and the record of what came when.
#pragma once

#include "simulator/device_state.h"
#include "simulator/event_loop.h"
#include "simulator/faults.h"
#include "simulator/report.h"
#include "simulator/serial_end.h"

#include <cstdio>
#include <memory>

namespace simulator {

// The optional files of a run: the raw bytes that came over the link, in order, and time stamps.
//
// A line of the time stamps is `token STEP SENT`, `size FIRST LAST` or `piece NUMBER FIRST LAST`;
// times are nanoseconds of the monotonic clock: when a token's last bit was out, when the first bit
// of the bytes began on the wire and when the last one was through.
class LinkRecord {
public:
    // Empty names: no such file. Throws a Failure.
    LinkRecord(const std::string& logFile, const std::string& timesFile);

    void LogBytes(std::span<const std::uint8_t> bytes);
    void LogToken(const std::string& step, Clock::time_point sent);
    void LogArrival(const std::string& what, Clock::time_point first, Clock::time_point last);

private:
    using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
    static File Open(const std::string& name);

    File log_;
    File times_;
};

struct FlashParts {
    EventLoop& loop;
    const StateFolder& folder;
    SavedState& state; // the mode and the transfer; saved by whoever changes it
    const Faults& faults;
    const Report& report;
    LinkRecord& record;
    Descriptor flash; // open for writing
    std::uint64_t flashSize;
};

// Sends tokens, each with the fault of its step. After a silence no token is sent until a reset.
class TokenSender {
public:
    explicit TokenSender(FlashParts& parts) : parts_(parts) {}
    ~TokenSender() {
        parts_.loop.Cancel(lateToken_);
        parts_.loop.Cancel(endOfPause_);
    }
    TokenSender(const TokenSender&) = delete;
    TokenSender& operator=(const TokenSender&) = delete;

    void Send(SerialEnd& end, const std::string& step, Bytes token);
    bool IsSilent() const { return silent_; }

private:
    void SendNow(SerialEnd& end, const std::string& step, Bytes token);
    void PauseReceiving(SerialEnd& end, const std::string& step);

    FlashParts& parts_;
    EventLoop::Timer lateToken_ = 0;
    EventLoop::Timer endOfPause_ = 0;
    bool silent_ = false;
};

// A program of the handheld that has the link: every burst goes to it.
class LinkProgram {
public:
    virtual ~LinkProgram() = default;
    virtual void HandleBurst(SerialEnd& end, const Burst& burst) = 0;
};

// The bytes received so far of a field or a block of known length, and when they came.
class Collector {
public:
    // Starts over, for so many bytes.
    void Expect(std::size_t size);
    // Moves what is still missing from the front of the burst into the content.
    void Collect(Burst& burst);
    bool IsComplete() const { return bytes_.size() == size_; }
    const Bytes& Content() const { return bytes_; }
    Clock::time_point First() const { return first_; }
    Clock::time_point Last() const { return last_; }
    // A 32-bit little-endian number in the content.
    std::uint32_t Number(std::size_t offset) const;

private:
    Bytes bytes_;
    std::size_t size_ = 0;
    Clock::time_point first_, last_;
};

// "0x41 0x42 …", for messages: the first few bytes and how many there are.
std::string Sample(std::span<const std::uint8_t> bytes);

} // namespace simulator
