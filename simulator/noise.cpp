// Bytes that nobody asked for.

#include "simulator/noise.h"

#include "simulator/flash_link.h"

namespace simulator {

namespace {

constexpr std::uint32_t MostBursts = 6;
constexpr std::uint32_t LongestBurst = 4;
constexpr std::uint32_t TokenValues = 7;
// Steps between bursts: next to each other, within a piece, over several pieces.
constexpr std::uint32_t LargestSteps[] = {8, 0x10000, 0x60000};

} // namespace

Noise::Noise(std::uint64_t seed, bool tokens) : random_(seed), tokens_(tokens) {
    left_ = 1 + Below(MostBursts);
    Plan();
}

// Not std::uniform_int_distribution, which may differ from library to library.
std::uint32_t Noise::Below(std::uint32_t limit) {
    return static_cast<std::uint32_t>(random_() % limit);
}

void Noise::Plan() {
    next_ += 1 + Below(LargestSteps[Below(std::size(LargestSteps))]);
    afterAnswer_ = Below(2) == 0;
}

void Noise::Before(std::uint64_t received, SerialEnd& end, const Report& report) {
    due_ = left_ > 0 && received >= next_;
    if (due_ && !afterAnswer_)
        Burst(end, report);
}

void Noise::After(SerialEnd& end, const Report& report) {
    if (due_)
        Burst(end, report);
}

void Noise::Burst(SerialEnd& end, const Report& report) {
    Bytes bytes(1 + Below(LongestBurst));
    for (std::uint8_t& byte : bytes)
        byte =
            static_cast<std::uint8_t>(tokens_ && Below(2) == 0 ? Below(TokenValues) : Below(256));
    report.Say("fault: noise: " + Sample(bytes));
    end.Send(std::move(bytes));
    due_ = false;
    --left_;
    Plan();
}

} // namespace simulator
