// What can be made to go wrong at a running handheld.
//
// Every fault is a row of one table, which gives the option, its usage and its effect. Tokens are
// named by the step after which they are sent: `start` (the flasher is ready), `size`, or the
// number of the piece that was written, from 1; for the bootloader `start` is its prompt, `sync`
// and `record` the tokens after these, and a number counts blocks.
#pragma once

#include "simulator/host_files.h"

namespace simulator {

struct Faults {
    std::vector<std::string> refusedPrograms; // file names that do not start
    bool noTypeFile = false;                  // the flash size is not reported
    std::string refusedCall;                  // whole line of a call; empty: none
    std::string dropRapiAt;                   // part of the line of a call; empty: none
    std::uint32_t dropRapiAfter = 0;          // such calls that are answered first
    bool dropRapiHalfway = false;             // in the middle of the answer
    std::uint32_t pieceNever = 0;             // piece of a backup, from 1; 0: none
    std::uint32_t pieceShort = 0;
    std::uint32_t pieceLate = 0;
    std::uint32_t pieceTries = 0; // openings of the late piece, the one that succeeds included
    std::string silentAt;         // steps, empty: none
    std::string strayAt;
    std::string burstAt;
    std::string splitAt;
    std::string lateAt;
    std::uint32_t lateMilliseconds = 0;
    std::optional<std::uint32_t> splitMilliseconds; // 50 ms of the host, if none
    std::string deafAt;                             // step, empty: none
    std::uint32_t deafMilliseconds = 0;
    std::optional<std::uint32_t> rapiMilliseconds;   // from power-on until it answers
    std::uint32_t listensMilliseconds = 0;           // from the flasher's start until it hears
    std::uint8_t batteryByte = 0;                    // reported for no external power
    std::optional<std::uint64_t> diesAt;             // bytes received over the link since power-on
    std::optional<std::uint64_t> unplugAt;           // the same, until it leaves the bus
    std::optional<std::uint32_t> replugMilliseconds; // not before a reset, if none
    bool portHeld = false;                           // the PC finds its ports in use
    std::optional<std::uint64_t> noiseSeed;
    bool raggedSizes = false; // a size that is no whole number of pieces is accepted
};

struct FaultRow {
    const char* option;
    const char* value; // its name in the usage; null: it has none
    const char* effect;
    void (*set)(Faults& faults, const std::string& value);
};

std::span<const FaultRow> FaultTable();

} // namespace simulator
