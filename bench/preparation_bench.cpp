// The preparation of a handheld, in round trips to it: how many it makes, and how long one takes
// beside a bare call. That none is made in vain is judged by tests/preparation.
//
// Both layouts by turns on one handheld, so that each finds what the other has left; then the whole
// preparation up to the start of the flasher.

#include "bench/median.h"

#include "images/header.h"
#include "link/stall.h"
#include "preparation/device_changes.h"
#include "preparation/prepare.h"
#include "rapi/rapi.h"
#include "state/state.h"
#include "testing/cradle.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace test_support;
using Clock = std::chrono::steady_clock;

double MicrosecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

// The calls that the handheld has seen from a line of its output on, up to one that begins so.
std::size_t CallsUpTo(Cradle& cradle, std::size_t from, const std::string& end) {
    cradle.Handheld().ExpectLine("RAPI " + end);
    const auto lines = cradle.Handheld().Lines();
    std::size_t calls = 0;
    for (std::size_t at = from; at < lines.size(); ++at) {
        if (lines[at].starts_with("RAPI " + end))
            break;
        calls += lines[at].starts_with("RAPI ") && !lines[at].starts_with("RAPI   ");
    }
    return calls;
}

struct Trips {
    std::size_t made;
    double microseconds; // each
};

Trips MeasureChange(Cradle& cradle, const char* version) {
    Trips trips{};
    State.Image.ImageVersion = VersionNumber(version);
    const std::size_t before = cradle.Handheld().Lines().size();
    const auto begin = Clock::now();
    ChangeDevice();
    const double all = MicrosecondsSince(begin);
    CeDeleteFile(u"\\the end");
    trips.made = CallsUpTo(cradle, before, "DeleteFile \\the end");
    trips.microseconds = all / static_cast<double>(trips.made);
    return trips;
}

double TimeBareCall(std::size_t count) {
    const auto begin = Clock::now();
    for (std::size_t call = 0; call < count; ++call)
        CeDeleteFile(u"\\nothing");
    return MicrosecondsSince(begin) / static_cast<double>(count);
}

void PrintChanges(Cradle& cradle, int rounds) {
    std::vector<double> ratios, times;
    for (int round = 0; round < rounds; ++round) {
        for (const char* version : {"1.40", "2.00"}) {
            const Trips trips = MeasureChange(cradle, version);
            const double bare = TimeBareCall(trips.made);
            ratios.push_back(trips.microseconds / bare);
            times.push_back(trips.microseconds);
            if (round == rounds - 1)
                std::printf("changes for an image of version %s: %zu round trips\n", version,
                            trips.made);
        }
    }
    std::printf("a round trip: %.0f us, %.2f of a bare call's, medians of %zu turns\n",
                bench::Median(times), bench::Median(ratios), times.size());
}

void PrintPreparation(Cradle& cradle) {
    const std::size_t before = cradle.Handheld().Lines().size();
    PrepareDevice();
    std::printf("up to the start of the flasher: %zu round trips\n",
                CallsUpTo(cradle, before, "CreateProcess"));
    TearDownTransfer();
}

template <std::size_t Size>
void SetText(char (&target)[Size], const std::string& text) {
    std::snprintf(target, Size, "%s", text.c_str());
}

// The run counts as ended, so that no page comes up here.
void Connect(const TestHome& home) {
    SetText(State.Paths.AppDirectory, "Z:" + home.Tree().string());
    SetText(State.Paths.LanguageFolder, "English");
    SetText(State.Paths.SerialPortName, "COM1:");
    SetText(State.Image.ImageLanguage, "ENG");
    State.Run.RunEnded = State.Run.UpgradeUnderway = State.Run.SerialLinkSelected = true;
    State.RapiInit.size = sizeof(State.RapiInit);
    CeRapiInitEx(&State.RapiInit);
    if (WaitForSingleObject(RapiEvent(State.RapiInit), 1200000) != WAIT_OBJECT_0)
        std::exit(1);
}

} // namespace

int main(int count, char**) {
    const bool smoke = count > 1;
    const TestHome home;
    for (const auto& [name, value] : home.Variables())
        setenv(name.c_str(), value.c_str(), 1);
    home.AddLanguageFolder();
    Cradle cradle(home);
    Connect(home);
    PrintChanges(cradle, smoke ? 2 : 20);
    PrintPreparation(cradle);
    return 0;
}
