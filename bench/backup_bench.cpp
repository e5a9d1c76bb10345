// A backup through the real wizard against a plain copy of as many bytes through the same socket.
//
// The copy reads one file of the handheld in the same portions and brings it to the disk as the
// backup is: written, flushed. What the backup sleeps between two looks for a piece is counted, by
// the looks that the handheld has seen, and taken off.

#include "bench/costs.h"

#include "platform/base/descriptor.h"
#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace test_support;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t RomSize = 0xF80000;
constexpr std::uint32_t PieceSize = 0x40000;
constexpr double PollSeconds = 0.01; // 100 ms at a clock of 10
constexpr char FastClock[] = "10";
constexpr int Rounds = 5;

double SecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

struct BackupCost {
    double seconds; // from the first look for a piece to the flushed file
    double polls;   // of these, asleep
    long growth;    // of the peak memory while it ran, in KiB
    long peak;
};

BackupCost RunBackup(const TestHome& home, Cradle& cradle) {
    const auto file = home.Path("backup.nbf");
    std::filesystem::remove(file);
    WizardRun wizard(home, {{"ROM_WIZARD_CLOCK", FastClock}});
    for (const char* line : {"1181", "1", "1", "1", "1151", "1", "1035", "1", "1030"})
        wizard.Send(line);
    wizard.Send(file.string());
    bench::WaitForPage(wizard, pages::BackupPage);
    const bench::Costs before = bench::CostsOf(wizard.Process().Id());
    cradle.Handheld().ExpectLine("CreateFile \\Temp\\image.nb");
    const auto begin = Clock::now();
    const std::size_t first = cradle.Handheld().Lines().size();
    cradle.Handheld().ExpectLine("DeleteFile \\Temp\\sarvel.exe"); // the file has been flushed
    const double seconds = SecondsSince(begin);
    bench::WaitForPage(wizard, pages::UpgradeReadyPage);
    const bench::Costs after = bench::CostsOf(wizard.Process().Id());
    wizard.Finish();
    const auto lines = cradle.Handheld().Lines();
    const auto looks =
        std::count_if(lines.begin() + static_cast<std::ptrdiff_t>(first), lines.end(),
                      [](const std::string& line) {
                          return line.find("CreateFile \\Temp\\image.nb") != std::string::npos;
                      });
    return {seconds, PollSeconds * static_cast<double>(looks),
            after.peakKilobytes - before.peakKilobytes, after.peakKilobytes};
}

double CopySeconds(const TestHome& home) {
    RapiClient client(home, "rapi.sock");
    const auto path = home.Path("copy");
    const platform::Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    std::uint32_t handle = 0;
    if (!file || client.CreateFile(u"\\rom.bin", 0x80000000, 1, 3, 0x80, &handle) != 0)
        throw std::runtime_error("cannot copy");
    const auto begin = Clock::now();
    for (std::uint32_t done = 0; done < RomSize; done += PieceSize) {
        const ByteList piece = client
                                   .Call(rapi_wire::Operation::ReadFile,
                                         rapi_wire::Writer().Number(handle).Number(PieceSize))
                                   .outputs.Data();
        if (write(file.Number(), piece.data(), piece.size()) != PieceSize)
            throw std::runtime_error("cannot write the copy");
    }
    fsync(file.Number());
    const double seconds = SecondsSince(begin);
    client.CloseHandle(handle);
    return seconds;
}

} // namespace

int main(int count, char** words) {
    const bool smoke = count > 1 && std::string(words[1]) == "--smoke";
    TestHome home;
    home.AddLanguageFolder();
    Cradle cradle(home, {.flashMegabytes = 16});
    std::filesystem::copy_file(home.Device() / "flash.bin", cradle.File("rom.bin"));
    struct Round {
        double ratio;
        BackupCost backup;
    };
    std::vector<Round> all;
    for (int round = 0; round < (smoke ? 1 : Rounds); ++round) {
        const BackupCost backup = RunBackup(home, cradle);
        all.push_back({CopySeconds(home) / (backup.seconds - backup.polls), backup});
    }
    std::ranges::sort(all, {}, &Round::ratio);
    const Round& middle = all[all.size() / 2];
    std::printf("backup of 15.5 MiB without its sleep: %.3f of a plain copy (%.3f to %.3f); asleep "
                "%.0f %% of the time at a clock of 10; peak memory %ld KiB, grown by %ld KiB\n",
                middle.ratio, all.front().ratio, all.back().ratio,
                100 * middle.backup.polls / middle.backup.seconds, middle.backup.peak,
                middle.backup.growth);
    return 0;
}
