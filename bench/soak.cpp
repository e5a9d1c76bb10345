// A long life of one handheld with one PC: backup, upgrade, restore, and transfers that are broken
// off at either end and healed by the next runs, over and over at a clock of 50. What the processes
// hold and what lies on the disk has to be at the end what it was after the first rounds.
//
//   soak MINUTES    of the host; 60 of them are two days of the handheld

#include "bench/costs.h"
#include "testing/cradle.h"
#include "testing/wizard_run.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <random>
#include <stdexcept>

namespace {

using namespace test_support;
using namespace pages;
namespace fs = std::filesystem;

constexpr char FastClock[] = "50";
constexpr std::uint32_t HeaderSize = 0x20;
constexpr std::uint32_t RomSize = 0xF80000; // of a version before 2
constexpr int FirstRounds = 4;              // after which nothing may grow any more
constexpr int MaxRunsToHeal = 4;

struct Figures {
    long handheldKilobytes, handheldDescriptors, managerKilobytes, managerDescriptors;
    long wizardKilobytes; // the peak of the greatest run of a round
    long files, diskKilobytes;
};

long ResidentKilobytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:"))
            return std::stol(line.substr(6));
    }
    throw std::runtime_error("process " + std::to_string(process) + " has gone");
}

long Descriptors(pid_t process) {
    const fs::directory_iterator open("/proc/" + std::to_string(process) + "/fd");
    return std::distance(begin(open), end(open));
}

// What the user wants: the answers that lead there, and the image that is in the flash then.
struct Errand {
    Answers answers;
    fs::path image;
};

class Life {
public:
    // A backup with an upgrade, the restore of it, both of them broken off and healed.
    void Round(const char* link) {
        link_ = link;
        wizardPeak_ = 0;
        fs::remove(backup_);
        const Errand upgrade = {{}, image_};
        const Errand restore = {{{ActionChoicePage, {"1036", backup_.string()}}}, backup_};
        Transfer(upgrade, {{BackupChoicePage, {"1030", backup_.string()}}, {BackupPage, {}}});
        if (firstBackup_.empty())
            firstBackup_ = ReadBytes(backup_);
        if (ReadBytes(backup_) != firstBackup_)
            throw std::runtime_error("the ROM is not what it was at first");
        Transfer(restore, restore.answers);
        KillWizard(upgrade);
        ResetHandheld(restore);
        // What a broken transfer leaves on the cable is refused, and noted.
        fs::remove(home_.Device() / "refused");
    }

    Figures Now() {
        const pid_t handheld = cradle_.Handheld().Id();
        const pid_t manager = home_.AwaitConnectionManager();
        Figures figures = {.handheldKilobytes = ResidentKilobytes(handheld),
                           .handheldDescriptors = Descriptors(handheld),
                           .managerKilobytes = ResidentKilobytes(manager),
                           .managerDescriptors = Descriptors(manager),
                           .wizardKilobytes = wizardPeak_,
                           .files = 0,
                           .diskKilobytes = 0};
        for (const auto& entry : fs::recursive_directory_iterator(home_.Path())) {
            ++figures.files;
            if (entry.is_regular_file())
                figures.diskKilobytes += static_cast<long>(entry.file_size() / 1024);
        }
        return figures;
    }

    unsigned Runs() const { return runs_; }
    unsigned Broken() const { return broken_; }

private:
    Environment Clock() const { return {{"ROM_WIZARD_CLOCK", FastClock}}; }

    void Transfer(const Errand& errand, const Answers& answers) {
        WizardRun wizard(home_, Clock());
        Heal(errand, wizard, wizard.AnswerUpgrade(link_, 0, answers));
    }

    void KillWizard(const Errand& errand) {
        {
            WizardRun wizard(home_, Clock());
            AwaitSomePercent(wizard, errand.answers);
            wizard.Process().Signal(SIGKILL);
            wizard.Process().Wait();
        }
        ++broken_;
        ResetAfterFailure(false);
        Transfer(errand, errand.answers);
    }

    void ResetHandheld(const Errand& errand) {
        WizardRun wizard(home_, Clock());
        AwaitSomePercent(wizard, errand.answers);
        cradle_.Reset();
        Heal(errand, wizard, wizard.AnswerUpgrade(link_));
    }

    void AwaitSomePercent(WizardRun& wizard, const Answers& answers) {
        if (wizard.AnswerUpgrade(link_, ProgressPage, answers) != ProgressPage)
            throw std::runtime_error("no transfer begins:\n" + wizard.Process().Transcript());
        const int wanted = static_cast<int>(random_() % 95); // the last ones may never be shown
        wizard.Process().ExpectLine(
            [&](const std::string& line) {
                return (line.ends_with('%') && std::atoi(line.c_str()) >= wanted) ||
                       line.starts_with("-- "); // broken off by the load of the machine
            },
            "of " + std::to_string(wanted) + " per cent");
    }

    // A handheld of which nothing was written runs normally then, and ActiveSync finds it.
    void ResetAfterFailure(bool navigatorKey) {
        cradle_.Reset(navigatorKey);
        if (cradle_.StatusOf("mode") == "normal")
            cradle_.StartManager();
    }

    // From the page behind a transfer to its success, by as many more runs as the pages ask for.
    void Heal(const Errand& errand, WizardRun& wizard, int page, int runs = 1) {
        ++runs_;
        wizardPeak_ = std::max(wizardPeak_, bench::CostsOf(wizard.Process().Id()).peakKilobytes);
        if (page == UpgradeDonePage)
            return End(wizard, errand.image);
        if ((page != UpgradeErrorPage && page != CommunicationErrorPage) || runs == MaxRunsToHeal)
            throw std::runtime_error("not healed:\n" + wizard.Process().Transcript());
        ++broken_;
        wizard.Send("2");
        wizard.Wait();
        ResetAfterFailure(page == CommunicationErrorPage);
        WizardRun next(home_, Clock());
        Heal(errand, next, next.AnswerUpgrade(link_, 0, errand.answers), runs + 1);
    }

    void End(WizardRun& wizard, const fs::path& image) {
        wizard.Send("1181");
        wizard.NextPage();
        wizard.Send("1134"); // no readme
        wizard.Send("1");
        if (wizard.Wait() != 0)
            throw std::runtime_error("the wizard failed:\n" + wizard.Process().Transcript());
        cradle_.Reset();
        home_.AwaitConnectionManager();
        cradle_.AwaitConnection();
        if (!cradle_.FlashEquals(image))
            throw std::runtime_error("the flash differs from " + image.string());
    }

    TestHome home_;
    const fs::path image_ =
        home_.AddLanguageFolder({.version = "1.99", .size = RomSize + HeaderSize});
    std::string firstBackup_;
    const fs::path backup_ = home_.Path("saved.nbf");
    Cradle cradle_{home_, {.version = "1.87", .flashMegabytes = 16, .clock = FastClock}};
    std::mt19937 random_{1};
    const char* link_ = Serial;
    long wizardPeak_ = 0;
    unsigned runs_ = 0, broken_ = 0;
};

void Print(int round, const Figures& now) {
    std::printf("%5d %8ld %8ld %8ld %8ld %8ld %8ld %8ld\n", round, now.handheldKilobytes,
                now.handheldDescriptors, now.managerKilobytes, now.managerDescriptors,
                now.wizardKilobytes, now.files, now.diskKilobytes);
    std::fflush(stdout);
}

// Kilobytes may differ by what an allocator keeps, counts may not.
bool IsAsBefore(const Figures& before, const Figures& now) {
    const auto grew = [](long from, long to) { return to > from + from / 10 + 256; };
    return !grew(before.handheldKilobytes, now.handheldKilobytes) &&
           !grew(before.managerKilobytes, now.managerKilobytes) &&
           !grew(before.wizardKilobytes, now.wizardKilobytes) &&
           before.handheldDescriptors == now.handheldDescriptors &&
           before.managerDescriptors == now.managerDescriptors && before.files == now.files &&
           now.diskKilobytes <= before.diskKilobytes + 64;
}

int Soak(std::chrono::minutes time) {
    const auto end = std::chrono::steady_clock::now() + time;
    Life life;
    Figures before{}, now{};
    std::puts("        handheld          manager           wizard   on disk\n"
              "round       kB    files       kB    files       kB    files       kB");
    int round = 0;
    while (round <= FirstRounds || std::chrono::steady_clock::now() < end) {
        life.Round(round % 2 == 0 ? Serial : Usb);
        now = life.Now();
        if (++round == FirstRounds)
            before = now;
        Print(round, now);
    }
    std::printf("%d rounds, %u runs of the wizard, %u transfers broken off and healed\n", round,
                life.Runs(), life.Broken());
    const bool same = IsAsBefore(before, now);
    std::puts(same ? "nothing has grown" : "SOMETHING HAS GROWN since the first rounds");
    return same ? 0 : 1;
}

} // namespace

int main(int count, char** words) {
    try {
        return Soak(std::chrono::minutes(count > 1 ? std::atoi(words[1]) : 60));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
