// A whole upgrade over a serial link that the handheld paces to 115200 baud: how close the data
// phase comes to the bits on the wire, how fast the PC answers a token, what it costs the PC.
//
// The handheld notes when each token went out and when the first and the last byte of each piece
// came in; processor time and peak memory of the wizard are read while it shows the page after
// the transfer.

#include "bench/upgrade_run.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace bench;

constexpr double Baud = 115200;
constexpr double BitsPerByte = 10;

// From each token to the first byte of the piece that answers it.
std::vector<double> Turnarounds(const Times& times) {
    std::vector<double> turns;
    for (std::size_t piece = 0; piece < times.pieces.size(); ++piece) {
        const auto token = times.tokens.find(piece == 0 ? "size" : std::to_string(piece));
        if (token != times.tokens.end())
            turns.push_back(times.pieces[piece].first - token->second);
    }
    std::sort(turns.begin(), turns.end());
    return turns;
}

void PrintTransfer(const UpgradeRun& run) {
    const Times& times = run.RecordedTimes();
    const double ideal = static_cast<double>(times.pieces.size()) * PieceSize * BitsPerByte / Baud;
    const std::vector<double> turns = Turnarounds(times);
    std::printf("data phase over the bits on the wire: %.4f (wanted: 1.005), %zu pieces\n",
                times.DataPhase() / ideal, times.pieces.size());
    std::printf("turn-round, token to first byte: median %.2f ms (wanted: 2), longest %.2f ms\n",
                1000 * turns[turns.size() / 2], 1000 * turns.back());
    std::printf("processor time while sending: %.2f %% of the wire's time (wanted: 0.5)\n",
                100 * (run.After().processorSeconds - run.Before().processorSeconds) /
                    times.DataPhase());
}

long PeakMemory(std::uint32_t imageSize) {
    return UpgradeRun({.imageSize = imageSize}).After().peakKilobytes;
}

} // namespace

int main(int count, char** words) {
    if (count > 1 && std::string(words[1]) == "--smoke")
        PrintTransfer(UpgradeRun({.imageSize = ImageFileSize(5), .clock = "20"}));
    else
        PrintTransfer(UpgradeRun(
            {.imageSize = ImageFileSize(8), .handheld = {"--baud", "115200"}, .clock = "1"}));
    const bool smoke = count > 1;
    const long small = PeakMemory(0x1000020);
    const long large = smoke ? small : PeakMemory(0x2000020);
    std::printf("peak memory: %ld KiB with an image of 16 MiB, %ld KiB with one of 32\n", small,
                large);
    return 0;
}
