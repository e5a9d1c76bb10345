// The handheld's end of a cable: a pseudo-terminal that the PC finds under its port name.
//
// Unpaced, bytes arrive as fast as the host carries them. Paced to a baud rate, the end behaves
// like a UART with 10 bits to a byte: what the PC wrote is read at the rate of the wire, so that
// the PC's writes fill up and wait as they would, and a byte counts as received when its last bit
// is through. The wire's own time is kept, not the time at which this process woke up, so that
// delays of the host do not add up.
#pragma once

#include "simulator/event_loop.h"
#include "simulator/host_files.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace simulator {

// Bytes that came over the wire, with the instants of the first bit and of the last.
struct Burst {
    std::span<const std::uint8_t> bytes;
    Clock::time_point begin;
    Clock::time_point end;
};

// A pseudo-terminal, raw from the start.
struct Terminal {
    Descriptor master;
    Descriptor slave; // kept open so that settings and bytes outlive the PC's handle
    std::string name; // of the slave
};

class SerialEnd {
public:
    // Makes the pseudo-terminal and the link `link` to it, which replaces one of that name. A baud
    // rate of 0 does not pace. Throws a Failure.
    SerialEnd(EventLoop& loop, std::filesystem::path link, std::uint32_t baud);
    // Leaves a link that leads nowhere: without any link the name would be a port of the machine.
    ~SerialEnd();
    SerialEnd(const SerialEnd&) = delete;
    SerialEnd& operator=(const SerialEnd&) = delete;

    // Called with what comes in; without one it is dropped, as by a port that nobody has open.
    void SetReceiver(std::function<void(const Burst&)> receiver) {
        receiver_ = std::move(receiver);
    }

    // To the PC. `sent` is called with the instant at which the last bit is out.
    void Send(Bytes bytes, std::function<void(Clock::time_point)> sent = {});

    // Reads nothing until ResumeReceiving or Reset: the PC's writes fill the wire and stay there.
    void PauseReceiving();
    // Reads again, what has piled up first.
    void ResumeReceiving();
    // Leaves the bus: what the PC has open hangs up, and the link leads nowhere.
    void Unplug();
    // Comes back to the bus as another terminal.
    void Plug();
    // From now on the link leads to a port that somebody else has open.
    void LinkToHeldPort();
    // As at first; what had piled up is dropped.
    void Reset();

private:
    Clock::duration WireTime(std::size_t bytes) const;
    bool IsUnplugged() const { return !terminal_.master; }
    void Watch();
    void StopReading();
    void DropArrived();
    void ReadUnpaced();
    void ReadPaced(Clock::time_point begin);
    void Deliver(Clock::time_point begin, Clock::time_point end);

    EventLoop& loop_;
    std::filesystem::path link_;
    std::uint32_t baud_;
    Terminal terminal_;
    std::optional<Terminal> heldPort_; // what the link leads to while somebody else has the port
    Bytes arrived_;
    EventLoop::Timer deliveryTimer_ = 0;
    Clock::time_point sentUntil_; // when the wire to the PC is free again
    std::function<void(const Burst&)> receiver_;
    bool paused_ = false;
};

} // namespace simulator
