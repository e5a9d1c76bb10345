// Noise on the link: bursts of random bytes to the PC at random points of what comes in.
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
    // favoured: for each of them the PC would send a block that the bootloader does not expect.
    Noise(std::uint64_t seed, bool tokens);

    // Sends the burst that is due with so many bytes received, before the handheld answers them or
    // after that.
    void SendBeforeAnswer(std::uint64_t received, SerialEnd& end, const Report& report);
    void SendAfterAnswer(SerialEnd& end, const Report& report);

private:
    std::uint32_t RandomBelow(std::uint32_t limit);
    void PlanNextBurst();
    void SendBurst(SerialEnd& end, const Report& report);

    std::mt19937_64 random_;
    const bool tokens_;
    std::uint32_t burstsLeft_ = 0;
    std::uint64_t nextAt_ = 0; // bytes received
    bool afterAnswer_ = false;
    bool due_ = false;
};

} // namespace simulator
