// A whole upgrade over a serial link that the handheld paces to 115200 baud: how close the data
// phase comes to the bits on the wire, how fast the PC turns round, what it costs the PC.
//
// The handheld notes when each token went out and when the first and the last byte of each piece
// came in; processor time and peak memory of the wizard are read while it stands on the page after
// the transfer.

#include "tests/support/cradle.h"
#include "tests/support/wizard_run.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace test_support;

constexpr double Baud = 115200;
constexpr double BitsPerByte = 10;
constexpr double PieceBytes = 0x20000;

struct Times {
    std::map<std::string, double> tokens;          // by step, in seconds
    std::vector<std::pair<double, double>> pieces; // first and last byte
    double Phase() const { return pieces.back().second - pieces.front().first; }
};

Times ReadTimes(const std::string& path) {
    Times times;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string kind, name;
        double one = 0, other = 0;
        words >> kind >> name >> one >> other;
        if (kind == "token")
            times.tokens[name] = one / 1e9;
        else if (kind == "piece")
            times.pieces.emplace_back(one / 1e9, other / 1e9);
    }
    return times;
}

// From each token to the first byte of the piece that answers it.
std::vector<double> TurnRounds(const Times& times) {
    std::vector<double> turns;
    for (std::size_t piece = 0; piece < times.pieces.size(); ++piece) {
        const auto token = times.tokens.find(piece == 0 ? "size" : std::to_string(piece));
        if (token != times.tokens.end())
            turns.push_back(times.pieces[piece].first - token->second);
    }
    std::sort(turns.begin(), turns.end());
    return turns;
}

struct Costs {
    double processorSeconds;
    long peakKilobytes;
};

Costs CostsOf(pid_t process) {
    Costs costs{};
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream stat(folder + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double user = 0, system = 0;
    fields >> user >> system;
    costs.processorSeconds = (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            costs.peakKilobytes = std::stol(line.substr(6));
    }
    return costs;
}

struct Run {
    Times times;
    Costs before, after; // the transfer
};

Run Upgrade(std::uint32_t imageSize, const std::vector<std::string>& pacing,
            const std::string& clock) {
    TestHome home;
    home.AddLanguageFolder({.size = imageSize});
    const std::string file = home.Path("times").string();
    std::vector<std::string> options = pacing;
    options.insert(options.end(), {"--times", file});
    Cradle cradle(home, {.flashMegabytes = 32, .run = options});
    WizardRun wizard(home, {{"ROM_WIZARD_CLOCK", clock}});
    for (const char* line : {"1181", "1", "1", "1", "1151", "1", "1035", "1", "1", "1"})
        wizard.Send(line);
    while (!wizard.Process().Has("== 102 =="))
        usleep(10000);
    Run run;
    run.before = CostsOf(wizard.Process().Id());
    while (!wizard.Process().Has("== 167 =="))
        usleep(10000);
    run.after = CostsOf(wizard.Process().Id());
    run.times = ReadTimes(file);
    wizard.Finish();
    return run;
}

void PrintTransfer(const Run& run) {
    const double ideal =
        static_cast<double>(run.times.pieces.size()) * PieceBytes * BitsPerByte / Baud;
    const std::vector<double> turns = TurnRounds(run.times);
    std::printf("data phase over the bits on the wire: %.4f (wanted: 1.005), %zu pieces\n",
                run.times.Phase() / ideal, run.times.pieces.size());
    std::printf("turn-round, token to first byte: median %.2f ms (wanted: 2), longest %.2f ms\n",
                1000 * turns[turns.size() / 2], 1000 * turns.back());
    std::printf("processor time while sending: %.2f %% of the wire's time (wanted: 0.5)\n",
                100 * (run.after.processorSeconds - run.before.processorSeconds) /
                    run.times.Phase());
}

} // namespace

int main(int count, char** words) {
    const bool smoke = count > 1 && std::string(words[1]) == "--smoke";
    if (smoke) {
        PrintTransfer(Upgrade(0xA0020 + 2 * 0x20000, {}, "20"));
    } else {
        PrintTransfer(Upgrade(0x80020 + 6 * 0x20000, {"--baud", "115200"}, "1"));
    }
    const long small = Upgrade(0x1000020, {}, "40").after.peakKilobytes;
    const long large = smoke ? small : Upgrade(0x2000020, {}, "40").after.peakKilobytes;
    std::printf("peak memory: %ld KiB with an image of 16 MiB, %ld KiB with one of 32\n", small,
                large);
    return 0;
}
