// Pages: from the start to the first one, at a terminal and on the desktop; from a key to the next
// page on a loaded desktop; and what the page costs that watches the power adapter.

#include "bench/costs.h"
#include "bench/median.h"

#include "testing/cradle.h"
#include "testing/pc_side.h"
#include "testing/x_desktop.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace test_support;
using namespace test_support::pages;
using Clock = std::chrono::steady_clock;

constexpr int IntroductionPages[] = {UpgradeNoticePage, WelcomePage, HostChecklistPage,
                                     DeviceChecklistPage};

double MillisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

// As many processes as there are cores, each with nothing to do but to spin.
class Load {
public:
    Load() {
        for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core)
            spinners_.push_back(std::make_unique<ChildProcess>(
                std::vector<std::string>{"/bin/sh", "-c", "while :; do :; done"}));
    }

private:
    std::vector<std::unique_ptr<ChildProcess>> spinners_;
};

void PrintStarts(const TestHome& home, XDesktop& desktop, int rounds) {
    const Cradle cradle(home);
    std::vector<double> times[2];
    long memory[2] = {};
    for (int round = 0; round < 2 * rounds; ++round) { // by turns
        const bool onDesktop = round % 2 != 0;
        const auto begin = Clock::now();
        WizardRun wizard(home, onDesktop ? desktop.Variables() : Environment());
        if (onDesktop)
            desktop.AwaitPage(IntroductionPages[0]);
        else
            wizard.ExpectPage(IntroductionPages[0]);
        times[onDesktop].push_back(MillisecondsSince(begin));
        memory[onDesktop] = bench::CostsOf(wizard.Process().Id()).peakKilobytes;
        wizard.Process().Signal(SIGTERM);
        wizard.Wait();
    }
    std::printf("from the start to the first page, and memory: %.0f ms and %ld KiB at a terminal, "
                "%.0f ms and %ld KiB on the desktop\n",
                bench::Median(times[0]), memory[0], bench::Median(times[1]), memory[1]);
}

std::vector<double> TimePageChanges(const TestHome& home, XDesktop& desktop) {
    WizardRun wizard(home, desktop.Variables());
    std::vector<double> times;
    desktop.AwaitPage(IntroductionPages[0]);
    for (std::size_t page = 1; page < std::size(IntroductionPages); ++page) {
        const auto begin = Clock::now();
        desktop.Press("Return");
        desktop.AwaitPage(IntroductionPages[page]);
        times.push_back(MillisecondsSince(begin));
    }
    desktop.Press("Escape");
    wizard.Wait();
    return times;
}

void PrintPageChanges(const TestHome& home, XDesktop& desktop, int rounds) {
    const Cradle cradle(home);
    const Load load;
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const std::vector<double> more = TimePageChanges(home, desktop);
        times.insert(times.end(), more.begin(), more.end());
    }
    std::printf("from a key to the next page, loaded: median %.0f ms, longest of %zu %.0f ms "
                "(wanted: 100)\n",
                bench::Median(times), times.size(), *std::ranges::max_element(times));
}

// Processor time of a bare loop that sleeps and calls the handheld, as often as the watch does.
double CallLoopSeconds(const TestHome& home, int calls) {
    RapiClient client(home, "rapi.sock");
    timespec before = {}, after = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    for (int call = 0; call < calls; ++call) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        client.Call(rapi_wire::Operation::GetSystemPowerStatus);
    }
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    return static_cast<double>(after.tv_sec - before.tv_sec) +
           static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
}

void PrintPowerWatch(const TestHome& home, XDesktop& desktop, int seconds) {
    const Cradle cradle(home, {.run = {"--battery"}});
    Environment environment = desktop.Variables();
    environment.emplace_back("ROM_WIZARD_CLOCK", "1");
    WizardRun wizard(home, environment);
    for (const int page : IntroductionPages) {
        desktop.AwaitPage(page);
        desktop.Press("Return");
    }
    desktop.AwaitPage(ConnectionTypePage);
    desktop.Press("space");
    desktop.Press("Return");
    desktop.AwaitPage(PowerWarningPage);
    std::this_thread::sleep_for(std::chrono::seconds(1)); // until the page is drawn and at rest
    const auto begin = Clock::now();
    const double before = bench::CostsOf(wizard.Process().Id()).processorSeconds;
    const double bare = CallLoopSeconds(home, 10 * seconds);
    const double cost = bench::CostsOf(wizard.Process().Id()).processorSeconds - before;
    const double percent = 100 * 1000 / MillisecondsSince(begin);
    std::printf("watch of the power adapter: %.3f %% of a core (wanted: 0.1); a bare loop beside "
                "it: %.3f %%\n",
                percent * cost, percent * bare);
    desktop.Press("Escape");
    wizard.Wait();
}

} // namespace

int main(int count, char**) {
    const bool smoke = count > 1;
    XDesktop desktop;
    const auto measure = [&](auto print, int amount) {
        const TestHome home;
        home.AddLanguageFolder();
        print(home, desktop, amount);
    };
    measure(PrintStarts, smoke ? 1 : 10);
    measure(PrintPageChanges, smoke ? 1 : 10);
    measure(PrintPowerWatch, smoke ? 1 : 30);
    return 0;
}
