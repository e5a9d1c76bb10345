// Interrupted upgrades: the prepared homes, answering the pages, and what must hold at each end.

#include "testing/trial.h"

#include "testing/pc_registry.h"

#include <algorithm>
#include <csignal>
#include <future>
#include <stdexcept>

namespace test_support {

namespace {

namespace fs = std::filesystem;
using namespace pages;

const char* PortOf(Link link) { return link == Link::Serial ? Serial : Usb; }

void CopyIfThere(const fs::path& from, const fs::path& to) {
    if (fs::exists(from))
        fs::copy(from, to, fs::copy_options::recursive);
}

} // namespace

void BringState(const fs::path& folder, const TestHome& home) {
    CopyIfThere(folder / "registry.reg", home.Home() / "registry.reg");
    CopyIfThere(folder / "device", home.Device());
}

void ExpectComplete(ChildProcess& handheld, std::size_t firstLine) {
    const auto isComplete = [](const std::string& line) {
        return line.find(": complete") != std::string::npos;
    };
    const std::vector<std::string> lines = handheld.Lines();
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(firstLine);
    if (std::none_of(first, lines.end(), isComplete))
        handheld.ExpectLine(isComplete, "that all has come");
}

const char* NameOf(Link link) { return link == Link::Serial ? "serial" : "USB"; }

const char* NameOf(Start start) {
    constexpr const char* Names[] = {"fresh", "resumed", "bootloader"};
    return Names[static_cast<int>(start)];
}

PreparedHomes::PreparedHomes() {
    image_ = home_.AddLanguageFolder({.size = ImageSize});
    std::vector<std::future<void>> preparations; // each takes as long as a stall timer
    for (const Link link : {Link::Serial, Link::Usb}) {
        const fs::path folder = FolderOf(Start::Fresh, link);
        fs::create_directories(folder);
        home_.RunHandheld(
            {"create", (folder / "device").string(), "--flash", std::to_string(FlashMegabytes)});
        for (const auto& [start, step] :
             {std::pair(Start::Resumed, 1U), std::pair(Start::Bootloader, Pieces - 1)})
            preparations.push_back(std::async(std::launch::async, &PreparedHomes::Prepare, this,
                                              start, link, std::to_string(step)));
    }
    for (std::future<void>& preparation : preparations)
        preparation.get();
}

fs::path PreparedHomes::FolderOf(Start start, Link link) const {
    return home_.Path(std::string(NameOf(start)) + " " + NameOf(link));
}

void PreparedHomes::Prepare(Start start, Link link, const std::string& silentAt) {
    Trial trial(*this, FolderOf(Start::Fresh, link), link);
    trial.Run({.faults = {"--silent-at", silentAt}});
    trial.Keep(FolderOf(start, link));
}

Trial::Trial(const PreparedHomes& homes, const fs::path& folder, Link link, const char* clock)
    : homes_(homes), link_(link), clock_(clock) {
    fs::remove(home_.Tree());
    fs::create_directory_symlink(homes.Tree(), home_.Tree());
    BringState(folder, home_);
}

void Trial::Keep(const fs::path& folder) {
    cradle_->TakeOut();
    fs::create_directories(folder);
    CopyIfThere(home_.Home() / "registry.reg", folder / "registry.reg");
    CopyIfThere(home_.Device(), folder / "device");
}

// A running handheld without new faults is reset by its button; otherwise it is put in anew.
void Trial::StartHandheld(const std::vector<std::string>& faults, bool navigatorKey) {
    std::string mode;
    const auto isMode = [](const std::string& line) { return line.starts_with("mode "); };
    firstLine_ = 0;
    if (cradle_ && faults.empty() && !handheldKilled_) {
        firstLine_ = cradle_->Handheld().Lines().size();
        cradle_->Handheld().Signal(navigatorKey ? SIGUSR2 : SIGUSR1);
        cradle_->Handheld().ExpectLine("reset");
        mode = cradle_->Handheld().ExpectLine(isMode, "with its mode");
        cradle_->Handheld().ExpectLine("ready");
    } else {
        std::vector<std::string> options = faults;
        if (navigatorKey)
            options.push_back("--bootloader");
        if (cradle_)
            cradle_->RestartHandheld(options);
        else
            cradle_ = std::make_unique<Cradle>(
                home_, CradleOptions{
                           .run = options, .withManager = false, .create = false, .clock = clock_});
        const std::vector<std::string> lines = cradle_->Handheld().Lines();
        mode = *std::ranges::find_if(lines, isMode); // printed ahead of "ready"
    }
    handheldKilled_ = false;
    if (mode == "mode normal")
        cradle_->StartManager();
}

int Trial::Run(const Interruption& interruption, bool navigatorKey) {
    past_ = Transcript();
    StartHandheld(interruption.faults, navigatorKey);
    wizard_ = std::make_unique<WizardRun>(home_, Environment{{"ROM_WIZARD_CLOCK", clock_}});
    if (interruption.then != Interruption::Then::Nothing) {
        wizard_->AnswerUpgrade(PortOf(link_), ProgressPage);
        cradle_->Handheld().ExpectLine("fault: ");
        Act(interruption.then);
        if (interruption.then == Interruption::Then::KillWizard)
            return Killed;
    }
    const int page = wizard_->AnswerUpgrade(PortOf(link_));
    if (wizard_->StandingPages() != std::vector{page})
        Fail("another page stands behind page " + std::to_string(page));
    wizard_->Send(page == UpgradeDonePage ? "esc" : "2");
    if (const int code = wizard_->Wait())
        Fail("the wizard ended with " + std::to_string(code));
    Check(page);
    return page;
}

void Trial::Act(Interruption::Then then) {
    if (then == Interruption::Then::ResetHandheld) {
        cradle_->Handheld().Signal(SIGUSR1);
        cradle_->Handheld().ExpectLine("ready");
        return;
    }
    handheldKilled_ = then == Interruption::Then::KillHandheld;
    ChildProcess& process = handheldKilled_ ? cradle_->Handheld() : wizard_->Process();
    process.Signal(SIGKILL);
    process.Wait();
}

void Trial::Check(int page) {
    const bool record = HasProgressRecord(home_);
    const bool critical = IsMarkedCritical(home_);
    switch (page) {
    case UpgradeDonePage:
        ExpectComplete(cradle_->Handheld(), firstLine_);
        if (!cradle_->FlashEquals(homes_.Image()))
            Fail("the flash differs from the image");
        if (record || critical || HasHeldBackNote(home_))
            Fail("the upgrade is done and its record is still there");
        break;
    case UpgradeErrorPage:
        if (!record || critical || HasHeldBackNote(home_))
            Fail("the record is not that of a transfer that can be repeated");
        break;
    case CommunicationErrorPage:
        if (!record || !critical)
            Fail("the record is not that of a handheld that needs its bootloader");
        break;
    case PortErrorPage:
        if (!record)
            Fail("the record has gone");
        break;
    default:
        Fail("page " + std::to_string(page));
    }
}

unsigned Trial::Recover(int page, unsigned maxRuns) {
    unsigned runs = 0;
    while (page != UpgradeDonePage) {
        if (runs++ == maxRuns)
            Fail("not upgraded after " + std::to_string(maxRuns) + " more runs");
        page = Run({}, page == CommunicationErrorPage);
    }
    return runs;
}

std::string Trial::Transcript() {
    std::string text = past_;
    if (cradle_)
        text += " handheld\n" + cradle_->Handheld().Transcript();
    if (wizard_)
        text += " wizard\n" + wizard_->Process().Transcript();
    return text;
}

void Trial::Fail(const std::string& what) {
    throw std::runtime_error(what + " after:\n" + Transcript());
}

} // namespace test_support
