// Bytes that nobody asked for: bursts to the PC at random points of what comes in.
//
// The points are counts of bytes, not instants, so that a seed is the same run again.
#pragma once

#include "simulator/report.h"
#include "simulator/serial_end.h"

#include <random>

namespace simulator {

class Noise {
public:
    // With `tokens` half of the bytes are such as the flasher sends. The bootloader's are not
    // favoured: a PC that is asked for blocks by nobody sends them to nobody.
    Noise(std::uint64_t seed, bool tokens);

    // What is due with so many bytes received, before the device answers them or after.
    void Before(std::uint64_t received, SerialEnd& end, const Report& report);
    void After(SerialEnd& end, const Report& report);

private:
    std::uint32_t Below(std::uint32_t limit);
    void Plan();
    void Burst(SerialEnd& end, const Report& report);

    std::mt19937_64 random_;
    const bool tokens_;
    std::uint32_t left_ = 0; // bursts
    std::uint64_t next_ = 0; // bytes received
    bool afterAnswer_ = false;
    bool due_ = false;
};

} // namespace simulator
