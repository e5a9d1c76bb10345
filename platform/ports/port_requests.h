// What is outstanding on a port and what has arrived there, as a serial driver keeps it. Knows no
// descriptor and no lock: the port (port.h) has both.
#pragma once

#include "platform/kernel/overlapped.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <span>

namespace platform {

class PortRequests {
public:
    static constexpr std::size_t InputQueueSize = 4096;

    // A read that returns at once completes with what has arrived; another one when all its bytes
    // have. Reads are served in the order in which they were made.
    void AddRead(OverlappedCall call, std::span<std::uint8_t> target, bool atOnce);
    // Completes when all its bytes have been sent, in order; one without bytes when it is first.
    void AddWrite(OverlappedCall call, std::span<const std::uint8_t> source);

    void SetMask(DWORD events);
    DWORD Mask() const { return mask_; }
    // False while a wait is outstanding and with an empty mask.
    bool CanWait() const { return mask_ != 0 && !wait_; }
    bool HasHistory() const { return history_ != 0; }
    void AddWait(OverlappedCall call, DWORD* events);

    // How many bytes AddInput may add now.
    std::size_t FreeInputCapacity() const { return InputQueueSize - input_.size(); }
    bool HasInput() const { return !input_.empty(); }
    std::size_t InputSize() const { return input_.size(); }
    void AddInput(std::span<const std::uint8_t> bytes);

    bool HasOutput() const { return !writes_.empty(); }
    std::size_t OutputSize() const; // bytes of all writes that are not sent yet
    // What is to be sent next; never empty while HasOutput.
    std::span<const std::uint8_t> NextOutput() const;
    void MarkSent(std::size_t count);

    // Completes everything, or everything that the thread has made, with the error and with the
    // bytes that were moved until now. What has arrived stays.
    void EndAll(DWORD error);
    void EndOfThread(DWORD thread, DWORD error);
    // Just the call with this record, if it is outstanding.
    void EndOfRecord(const OVERLAPPED* record, DWORD error);

private:
    struct Read {
        OverlappedCall call;
        std::span<std::uint8_t> target;
        bool atOnce;
        std::size_t done = 0;
    };
    struct Write {
        OverlappedCall call;
        std::span<const std::uint8_t> source;
        std::size_t done = 0;
    };
    struct Wait {
        OverlappedCall call;
        DWORD* events;
    };

    void ServeReads();
    void FillFirstRead();
    void ServeWrites();
    void ServeWait();
    void EndWait(DWORD events);
    template <class Condition>
    void EndWhere(Condition condition, DWORD error);

    std::deque<std::uint8_t> input_;
    std::deque<Read> reads_;
    std::deque<Write> writes_;
    std::optional<Wait> wait_;
    DWORD mask_ = 0;
    DWORD history_ = 0; // events of the mask that no wait has reported yet
};

} // namespace platform
