// Runs with a failing call: the wizard's start, its answers, and what must hold when it has ended.

#include "testing/call_errors.h"

#include "testing/image_file.h"
#include "testing/pc_registry.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace test_support {

namespace {

namespace fs = std::filesystem;
using namespace pages;

constexpr const char* ErrandNames[] = {"upgrade", "resume", "backup", "restore"};
constexpr const char* KindNames[CallKinds] = {"open",   "read",   "write",  "port",    "sync",
                                              "rename", "close",  "lock",   "control", "status",
                                              "wait",   "socket", "memory", "thread"};
constexpr std::pair<int, const char*> WayNames[] = {
    {0, "none"},         {EIO, "EIO"},       {ENOSPC, "ENOSPC"}, {EINTR, "EINTR"},
    {EACCES, "EACCES"},  {EAGAIN, "EAGAIN"}, {ENOMEM, "ENOMEM"}, {KilledAtCall, "killed"},
    {ShortCall, "short"}};

constexpr char OldBackup[] = "an earlier backup";
constexpr std::size_t SavedRom = 0xF80000;
constexpr unsigned MaxRunsAfter = 3;

bool IsTransfer(Errand errand) { return errand != Errand::Backup; }

// No stall timer runs in a backup, but one piece is awaited 2001 times.
const char* ClockOf(Errand errand) { return IsTransfer(errand) ? Trial::UsualClock : "100"; }

// A report that the library in the wizard writes and this process reads.
class SharedReport {
public:
    explicit SharedReport(const TestHome& home) : path_(home.Path("calls").string()) {
        WriteFileBytes(path_, std::string(sizeof(CallReport), '\0'));
    }
    std::string Path() const { return path_; }
    CallErrors::Result Read() const {
        std::array<std::uint32_t, CallKinds + 1> numbers{};
        const std::string bytes = ReadBytes(path_);
        std::memcpy(numbers.data(), bytes.data(), std::min(bytes.size(), sizeof(numbers)));
        CallErrors::Result result{{}, numbers.back() != 0, 0};
        std::copy_n(numbers.begin(), CallKinds, result.calls.begin());
        return result;
    }

private:
    const std::string path_;
};

// What a shell exports before it becomes the wizard.
std::string Preloading(const CallError& error, const SharedReport& report) {
    const std::string prefix = (fs::temp_directory_path() / "rom-wizard-").string();
    const std::string library = ProgramFolder() + "/testing/libfailing_calls.so";
    return "export ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD='" + library + "' " +
           FailingCallVariable + "=" + std::to_string(static_cast<int>(error.kind)) + "," +
           std::to_string(error.number) + "," + std::to_string(error.how) + ",'" + prefix + "','" +
           report.Path() + "'";
}

// One home, from the run with the error to the last one.
class Course {
public:
    Course(Errand errand, const fs::path& start, const fs::path& image)
        : errand_(errand), image_(image) {
        fs::remove(home_.Tree());
        fs::copy(image.parent_path().parent_path(), home_.Tree(), fs::copy_options::recursive);
        BringState(start, home_);
        WriteFileBytes(Backup(), OldBackup);
        tree_ = Listing(home_.Tree());
    }

    CallErrors::Result Run(const CallError& error);
    std::string Transcript() {
        return past_ + (cradle_ ? " handheld\n" + cradle_->Handheld().Transcript() : "") +
               (wizard_ ? " wizard\n" + wizard_->Process().Transcript() : "");
    }

private:
    static constexpr int NoPage = 0;

    fs::path Backup() const { return home_.Tree() / "saved.nbf"; }
    fs::path Image() const { return home_.Tree() / "English" / image_.filename(); }
    int Start(const std::string& before, bool navigatorKey);
    int AnswerPages();
    void Check(int page, bool killed);
    void CheckBackup(int page);
    void CheckRecord();
    void CheckWhatIsLeft();
    bool Done(int page) const {
        return page == (IsTransfer(errand_) ? UpgradeDonePage : UpgradeReadyPage);
    }
    static std::vector<std::string> Listing(const fs::path& folder);

    const Errand errand_;
    const fs::path image_;
    TestHome home_;
    std::vector<std::string> tree_;
    std::unique_ptr<Cradle> cradle_;
    std::unique_ptr<WizardRun> wizard_;
    std::string past_;
    CallKind failing_{};
};

std::vector<std::string> Course::Listing(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        names.push_back(entry.path().string());
    std::ranges::sort(names);
    return names;
}

// The page behind which the run has ended, or none where it ended before.
int Course::AnswerPages() {
    const bool saves = errand_ == Errand::Backup;
    const Answers answers = {
        {ActionChoicePage, {errand_ == Errand::Restore ? "1036" : "1035"}},
        {OpenDialog, {Image().string()}},
        {BackupChoicePage, {saves ? "1030" : "1"}},
        {SaveDialog, {Backup().string()}},
        {FileExistsPage, {"1"}},            // the old file may be replaced
        {BackupSpaceErrorPage, {"2", "2"}}, // back to the choice, and out
        {BackupPage, {}},
    };
    try {
        int page = wizard_->AnswerUpgrade(Serial, saves ? UpgradeReadyPage : ProgressPage, answers);
        if (page == ProgressPage) {
            CheckRecord();
            page = wizard_->AnswerUpgrade(Serial, NoPage, answers);
        }
        return page;
    } catch (const std::runtime_error&) {
        wizard_->Process().ExpectEndOfOutput(); // which throws where it still waits
        return NoPage;
    }
}

int Course::Start(const std::string& before, bool navigatorKey) {
    past_ = Transcript();
    std::vector<std::string> options;
    if (navigatorKey)
        options.emplace_back("--bootloader");
    if (cradle_)
        cradle_->RestartHandheld(options);
    else
        cradle_ = std::make_unique<Cradle>(
            home_, CradleOptions{.withManager = false, .create = false, .clock = ClockOf(errand_)});
    if (cradle_->Handheld().Has("mode normal"))
        cradle_->StartManager();
    wizard_ = std::make_unique<WizardRun>(
        home_, Environment{{"ROM_WIZARD_CLOCK", ClockOf(errand_)}}, before);
    const int page = AnswerPages();
    if (page == NoPage)
        return page;
    wizard_->Send(page == UpgradeDonePage ? "esc" : page == ActiveSyncVersionPage ? "1175" : "2");
    return page;
}

// A file that verifies is the handheld's ROM, and only that counts as saved. A connection that
// breaks off in the last piece is no failure, but the file does not verify.
void Course::CheckBackup(int page) {
    const std::string found = ReadBytes(Backup());
    const bool whole = IsWholeImage(found);
    if (whole &&
        found.compare(32, found.npos, ReadBytes(home_.Device() / "flash.bin"), 0, SavedRom))
        throw std::runtime_error("a file that is not the ROM verifies");
    if (errand_ == Errand::Backup && Done(page) && !whole && failing_ != CallKind::Socket)
        throw std::runtime_error("the backup is done and its file is not whole");
    if (page == BackupFailedPage && whole && failing_ == CallKind::Sync)
        throw std::runtime_error("a file verifies that may not be on the disk");
    if (errand_ != Errand::Backup && found != OldBackup)
        throw std::runtime_error("a file of the user has changed");
}

// All seven values, and perhaps the eighth, or none.
void Course::CheckRecord() {
    std::istringstream lines(ReadBytes(home_.Home() / "registry.reg"));
    bool inRecord = false;
    int values = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('['))
            inRecord = line.ends_with("\\FlashUtility]");
        else
            values += inRecord && line.find('=') != line.npos ? 1 : 0;
    }
    if (values != 0 && values != 7 && values != 8)
        throw std::runtime_error("the record has " + std::to_string(values) + " values");
}

void Course::CheckWhatIsLeft() {
    if (HasProgressRecord(home_) || HasHeldBackNote(home_))
        throw std::runtime_error("the record is still there");
    if (fs::exists(home_.Home() / "registry.new") || Listing(home_.Tree()) != tree_)
        throw std::runtime_error("a file is left over");
}

void Course::Check(int page, bool killed) {
    const int code = wizard_->Wait();
    if (code > 128 && !(killed && code == 128 + SIGKILL))
        throw std::runtime_error("the wizard ended by signal " + std::to_string(code - 128));
    for (const char* fault : {"AddressSanitizer", "LeakSanitizer", "runtime error:"}) {
        if (wizard_->Process().Has(fault))
            throw std::runtime_error("the wizard has a fault");
    }
    if (page == UpgradeDonePage) {
        ExpectComplete(cradle_->Handheld());
        if (!cradle_->FlashEquals(image_))
            throw std::runtime_error("the flash differs from the image");
    }
    if (page != NoPage) // killed between two values, before the handheld was touched
        CheckRecord();
    // A power report that fails, and a list of modules that has no size, end a run silently.
    const std::vector<int> pages = wizard_->Pages();
    const bool silent = code == 0 && !pages.empty() && pages.back() == BusyPage;
    if (page == NoPage && !killed && !silent && !wizard_->Process().Has("rom-wizard: "))
        throw std::runtime_error("the wizard ended without a page and without a message");
    CheckBackup(page);
    if (ReadBytes(Image()) != ReadBytes(image_))
        throw std::runtime_error("the image has changed");
}

CallErrors::Result Course::Run(const CallError& error) {
    const SharedReport report(home_);
    failing_ = error.kind;
    int page = Start(Preloading(error, report), false);
    Check(page, error.how == KilledAtCall);
    CallErrors::Result result = report.Read();
    result.runs = 1;
    // The record of an upgrade that is done may have been kept, which the next one makes good.
    while (!Done(page) || HasProgressRecord(home_) || HasHeldBackNote(home_)) {
        if (result.runs++ > MaxRunsAfter)
            throw std::runtime_error("not done after so many more runs");
        page = Start(":", page == CommunicationErrorPage);
        Check(page, false);
    }
    CheckWhatIsLeft();
    return result;
}

} // namespace

const char* NameOf(Errand errand) { return ErrandNames[static_cast<int>(errand)]; }

std::string Describe(const CallError& error) {
    const auto way = std::ranges::find(WayNames, error.how, &std::pair<int, const char*>::first);
    return std::string(NameOf(error.errand)) + "," + KindNames[static_cast<int>(error.kind)] + "," +
           std::to_string(error.number) + "," + way->second;
}

std::vector<int> WaysToFail(CallKind kind) {
    switch (kind) {
    case CallKind::Memory:
        return {ENOMEM};
    case CallKind::Thread:
        return {EAGAIN};
    case CallKind::Wait:
        return {EINTR};
    case CallKind::Read:
    case CallKind::Write:
    case CallKind::Port:
    case CallKind::Socket:
        return {EIO, ENOSPC, EINTR, EACCES, EAGAIN, KilledAtCall, ShortCall};
    default:
        return {EIO, ENOSPC, EINTR, EACCES, EAGAIN, KilledAtCall};
    }
}

CallErrors::CallErrors() {
    largeHome_.AddLanguageFolder();
    largeHome_.RunHandheld({"create", largeHome_.Device().string(), "--flash", "16"});
}

CallErrors::Result CallErrors::Run(const CallError& error) const {
    const bool transfer = IsTransfer(error.errand);
    Course course(
        error.errand,
        transfer ? homes_.FolderOf(error.errand == Errand::Resume ? Start::Resumed : Start::Fresh,
                                   Link::Serial)
                 : largeHome_.Path(),
        (transfer ? homes_.Tree() : largeHome_.Tree()) / "English" / "TOLKROM.nbf");
    try {
        return course.Run(error);
    } catch (const std::exception& fault) {
        throw std::runtime_error(Describe(error) + ": " + fault.what() + "\n" +
                                 course.Transcript());
    }
}

} // namespace test_support
