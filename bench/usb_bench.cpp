// An upgrade over USB against a plain loop of raw writes of the same size through the same tty.
//
// The loop comes right behind each upgrade: the flasher has the whole image by then
// and drops what comes.

#include "bench/upgrade_run.h"

#include "platform/base/descriptor.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

using namespace bench;

constexpr std::size_t WriteSize = 12288;
constexpr int Rounds = 5;

class Tty {
public:
    explicit Tty(const std::string& name)
        : tty_(open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        termios settings{};
        if (!tty_ || tcgetattr(tty_.Number(), &settings) != 0)
            throw std::runtime_error("cannot open " + name);
        cfmakeraw(&settings);
        tcsetattr(tty_.Number(), TCSANOW, &settings);
    }

    void Write(const std::vector<char>& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count = write(tty_.Number(), bytes.data() + done, bytes.size() - done);
            if (count <= 0)
                throw std::runtime_error("the tty takes nothing more");
            done += static_cast<std::size_t>(count);
        }
    }

private:
    platform::Descriptor tty_;
};

double PlainBytesPerSecond(const std::string& tty, double total) {
    Tty port(tty);
    const std::vector<char> bytes(WriteSize, 'x');
    port.Write(bytes); // its refusal is written down before the clock runs
    usleep(200000);
    const auto begin = std::chrono::steady_clock::now();
    std::size_t sent = 0;
    for (; static_cast<double>(sent) < total; sent += WriteSize)
        port.Write(bytes);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return static_cast<double>(sent) / time.count();
}

struct Round {
    double ratio;
    double processorPerMegabyte; // of the wizard, in milliseconds
    long peakKilobytes;
};

Round Measure(const std::vector<std::string>& pacing, std::uint32_t pieces) {
    UpgradeRun run({.imageSize = ImageFileSize(pieces), .handheld = pacing, .usb = true});
    const double bytes = static_cast<double>(PieceSize) * pieces;
    const double wizard = bytes / run.RecordedTimes().DataPhase();
    const double seconds = run.After().processorSeconds - run.Before().processorSeconds;
    run.EndWizard();
    const double plain =
        PlainBytesPerSecond((run.Home().Home() / "ports/WCEUSBSH001").string(), bytes);
    return {wizard / plain, 1000 * seconds / (bytes / (1 << 20)), run.After().peakKilobytes};
}

void Print(const char* name, const std::vector<std::string>& pacing, std::uint32_t pieces,
           int rounds) {
    std::vector<Round> all;
    for (int round = 0; round < rounds; ++round)
        all.push_back(Measure(pacing, pieces));
    std::ranges::sort(all, {}, &Round::ratio);
    const Round& middle = all[all.size() / 2];
    std::printf("USB, %s: %.3f of a plain loop (%.3f to %.3f), processor %.1f ms a megabyte, peak "
                "memory %ld KiB\n",
                name, middle.ratio, all.front().ratio, all.back().ratio,
                middle.processorPerMegabyte, middle.peakKilobytes);
}

} // namespace

int main(int count, char** words) {
    const bool smoke = count > 1 && std::string(words[1]) == "--smoke";
    // 12 Mbit/s, the rate that USB calls full speed.
    Print("12 Mbit/s", {"--usb-baud", "12000000"}, smoke ? 8 : 64, smoke ? 1 : Rounds);
    Print("unpaced", {}, smoke ? 8 : 128, smoke ? 1 : Rounds);
    return 0;
}
