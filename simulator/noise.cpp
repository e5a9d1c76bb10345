// Plans the bursts of noise and sends them.

#include "simulator/noise.h"

#include "simulator/flash_link.h"

#include <iterator>
#include <utility>

namespace simulator {

namespace {

constexpr std::uint32_t MaxBursts = 6;
constexpr std::uint32_t MaxBurstSize = 4;
constexpr std::uint32_t TokenValues = 7;
// Steps between bursts: next to each other, within a piece, over several pieces.
constexpr std::uint32_t MaxSteps[] = {8, 0x10000, 0x60000};

} // namespace

Noise::Noise(std::uint64_t seed, bool tokens) : random_(seed), tokens_(tokens) {
    burstsLeft_ = 1 + RandomBelow(MaxBursts);
    PlanNextBurst();
}

// Not std::uniform_int_distribution, which may differ from library to library.
std::uint32_t Noise::RandomBelow(std::uint32_t limit) {
    return static_cast<std::uint32_t>(random_() % limit);
}

void Noise::PlanNextBurst() {
    nextAt_ += 1 + RandomBelow(MaxSteps[RandomBelow(std::size(MaxSteps))]);
    afterAnswer_ = RandomBelow(2) == 0;
}

void Noise::SendBeforeAnswer(std::uint64_t received, SerialEnd& end, const Report& report) {
    due_ = burstsLeft_ > 0 && received >= nextAt_;
    if (due_ && !afterAnswer_)
        SendBurst(end, report);
}

void Noise::SendAfterAnswer(SerialEnd& end, const Report& report) {
    if (due_)
        SendBurst(end, report);
}

void Noise::SendBurst(SerialEnd& end, const Report& report) {
    Bytes bytes(1 + RandomBelow(MaxBurstSize));
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(tokens_ && RandomBelow(2) == 0 ? RandomBelow(TokenValues)
                                                                        : RandomBelow(256));
    report.Print("fault: noise: " + Sample(bytes));
    end.Send(std::move(bytes));
    due_ = false;
    --burstsLeft_;
    PlanNextBurst();
}

} // namespace simulator
