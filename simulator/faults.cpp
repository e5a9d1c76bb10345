// The table of the faults, and what their options set.

#include "simulator/faults.h"

#include "simulator/arguments.h"

namespace simulator {

namespace {

using Value = const std::string&;

std::uint8_t Byte(Value text) {
    const std::uint32_t number = ParseNumber32(text);
    if (number > UINT8_MAX)
        throw UsageError(text + ": more than a byte");
    return static_cast<std::uint8_t>(number);
}

constexpr FaultRow Rows[] = {
    {"--refuse-program", "NAME", "this program does not start (may be repeated)",
     [](Faults& faults, Value name) { faults.refusedPrograms.push_back(name); }},
    {"--no-type-file", nullptr, "the program that tells the flash size writes nothing",
     [](Faults& faults, Value) { faults.noTypeFile = true; }},
    {"--refuse-call", "LINE", "every RAPI call of just this line fails, as one that is not allowed",
     [](Faults& faults, Value line) { faults.refusedCall = line; }},
    {"--battery-byte", "BYTE", "the power status tells this, not 0, where no external power is",
     [](Faults& faults, Value byte) { faults.batteryByte = Byte(byte); }},
    {"--rapi-after", "MS",
     "RAPI answers so long after the start, in ms divided by ROM_WIZARD_CLOCK",
     [](Faults& faults, Value time) { faults.rapiMilliseconds = ParseNumber32(time); }},
    {"--listens-after", "MS",
     "the flasher hears nothing for so long after its start, in ms divided by ROM_WIZARD_CLOCK",
     [](Faults& faults, Value time) { faults.listensMilliseconds = ParseNumber32(time); }},
    {"--drop-rapi-at", "TEXT", "the connection of the first call whose line holds TEXT is dropped",
     [](Faults& faults, Value text) { faults.dropRapiAt = text; }},
    {"--drop-rapi-after", "COUNT", "not of the first, but after so many of these calls",
     [](Faults& faults, Value count) { faults.dropRapiAfter = ParseNumber32(count); }},
    {"--drop-rapi-halfway", nullptr, "the call is carried out, and half of its answer is sent",
     [](Faults& faults, Value) { faults.dropRapiHalfway = true; }},
    {"--piece-never", "PIECE", "this piece of a backup, from 1, does not come",
     [](Faults& faults, Value piece) { faults.pieceNever = ParseNumber32(piece); }},
    {"--piece-short", "PIECE", "this piece has only half its bytes",
     [](Faults& faults, Value piece) { faults.pieceShort = ParseNumber32(piece); }},
    {"--piece-late", "PIECE", "this piece is not whole before the opening of --piece-tries",
     [](Faults& faults, Value piece) { faults.pieceLate = ParseNumber32(piece); }},
    {"--piece-tries", "COUNT", "which of the openings of the late piece succeeds, from 1",
     [](Faults& faults, Value count) { faults.pieceTries = ParseNumber32(count); }},
    {"--silent-at", "STEP", "silent for good instead of the token after this step",
     [](Faults& faults, Value step) { faults.silentAt = step; }},
    {"--stray-at", "STEP", "a stray byte ahead of that token",
     [](Faults& faults, Value step) { faults.strayAt = step; }},
    {"--burst-at", "STEP", "that token twice in one burst",
     [](Faults& faults, Value step) { faults.burstAt = step; }},
    {"--split-at", "STEP", "that token in two bursts, its zero 50 ms behind",
     [](Faults& faults, Value step) { faults.splitAt = step; }},
    {"--split-by", "MS", "not 50 ms, but so many divided by ROM_WIZARD_CLOCK",
     [](Faults& faults, Value time) { faults.splitMilliseconds = ParseNumber32(time); }},
    {"--deaf-at", "STEP", "from that token on it takes nothing from the link",
     [](Faults& faults, Value step) { faults.deafAt = step; }},
    {"--deaf-for", "MS", "for so long, in milliseconds divided by ROM_WIZARD_CLOCK",
     [](Faults& faults, Value time) { faults.deafMilliseconds = ParseNumber32(time); }},
    {"--late-at", "STEP", "that token only after the time of --late-by",
     [](Faults& faults, Value step) { faults.lateAt = step; }},
    {"--late-by", "MS", "milliseconds, divided by ROM_WIZARD_CLOCK",
     [](Faults& faults, Value time) { faults.lateMilliseconds = ParseNumber32(time); }},
    {"--dies-at", "BYTES", "dead once so many bytes came over the link, until a reset",
     [](Faults& faults, Value bytes) { faults.diesAt = ParseNumber(bytes); }},
    {"--unplug-at", "BYTES", "both ends leave the bus once so many bytes came over the link",
     [](Faults& faults, Value bytes) { faults.unplugAt = ParseNumber(bytes); }},
    {"--replug-after", "MS", "and come back so much later, in ms divided by ROM_WIZARD_CLOCK",
     [](Faults& faults, Value time) { faults.replugMilliseconds = ParseNumber32(time); }},
    {"--port-held", nullptr, "from the start of a transfer somebody else has both ports open",
     [](Faults& faults, Value) { faults.portHeld = true; }},
    {"--noise", "SEED", "random bytes to the PC at random moments; what comes early is taken",
     [](Faults& faults, Value seed) { faults.noiseSeed = ParseNumber(seed); }},
    {"--ragged-sizes", nullptr, "a size that is no whole number of pieces is taken, rounded up",
     [](Faults& faults, Value) { faults.raggedSizes = true; }},
};

} // namespace

std::span<const FaultRow> FaultTable() { return Rows; }

} // namespace simulator
