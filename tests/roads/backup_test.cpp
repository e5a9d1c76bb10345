// Everything that can go wrong with a backup, and what it leaves behind.
// label: threads

#include "testing/image_file.h"
#include "tests/roads/road.h"

#include <csignal>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

using namespace road;
using test_support::Environment;
using test_support::HeaderFor;
using test_support::IsWholeImage;
using test_support::ReadBytes;

constexpr std::size_t Header = 32;
constexpr std::size_t Piece = 0x40000;
constexpr std::size_t RomSize = 0xF80000;
constexpr char Old[] = "an earlier backup";

// A handheld of the smallest ROM, and a backup of it in place of an older file.
class Backup : public testing::Test {
protected:
    void SetUp() override {
        home_.AddLanguageFolder();
        // However the folder spells it, the handheld has it under one name.
        std::filesystem::rename(home_.Tree() / "English/sarvel.exe",
                                home_.Tree() / "English/SARVEL.EXE");
        std::ofstream(file_) << Old;
    }

    void Connect(const std::vector<std::string>& faults = {}) {
        if (cradle_)
            cradle_->RestartHandheld(faults);
        else
            cradle_.emplace(home_, CradleOptions{.flashMegabytes = 16, .run = faults});
        const std::string bytes = ReadBytes(home_.Device() / "flash.bin");
        rom_ = bytes.substr(0, RomSize);
    }
    // The backup is under way; the user has let the old file be replaced.
    WizardRun& Begin(const char* clock = "100") {
        wizard_.emplace(home_, Environment{{"ROM_WIZARD_CLOCK", clock}});
        ChooseUpgrade(*wizard_);
        GoToBackup(*wizard_, file_.filename().string());
        wizard_->Answer(FileExistsPage, "1");
        wizard_->ExpectPage(BackupPage);
        return *wizard_;
    }
    void ExpectSuccess(WizardRun& wizard) {
        wizard.ExpectPage(UpgradeReadyPage);
        EXPECT_EQ(0, wizard.Finish());
    }
    // The run ends with that page, by itself once the user has left it.
    void ExpectFailure(WizardRun& wizard, int page) {
        wizard.ExpectPage(page);
        if (page == RemoteProgramErrorPage)
            cradle_->Handheld().ExpectLine("RAPI connection ended");
        wizard.Send("2");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(page, wizard.Pages().back());
        EXPECT_FALSE(HasProgressRecord(home_));
        EXPECT_FALSE(IsWholeImage(Written()));
    }
    std::string Written() const { return ReadBytes(file_); }
    std::string Whole() const { return HeaderFor("TOLKP1000-ENG-1.10", rom_) + rom_; }

    TestHome home_;
    const std::filesystem::path file_ = home_.Tree() / "TOLKROM110.nbf";
    std::optional<Cradle> cradle_;
    std::optional<WizardRun> wizard_;
    std::string rom_;
};

TEST_F(Backup, that_breaks_off_shows_its_page_and_leaves_what_has_arrived) {
    const struct {
        std::vector<std::string> faults;
        int page;
        std::size_t good, pieces; // in the file; 0: it still is the old one
    } failures[] = {
        {{"--refuse-program", "sarvel.exe"}, RemoteProgramErrorPage, 0, 0},
        {{"--piece-never", "3"}, BackupFailedPage, 2, 2},
        {{"--piece-late", "2", "--piece-tries", "2002"}, BackupFailedPage, 1, 1},
        // The piece that breaks off keeps its space in the file.
        {{"--drop-rapi-at", "ReadFile \\Temp\\image.nb", "--drop-rapi-after", "3"},
         BackupFailedPage,
         3,
         4},
        {{"--drop-rapi-at", "ReadFile \\Temp\\image.nb", "--drop-rapi-halfway"},
         BackupFailedPage,
         0,
         1},
    };
    for (const auto& failure : failures) {
        SCOPED_TRACE(failure.faults[0]);
        Connect(failure.faults);
        ExpectFailure(Begin(), failure.page);
        EXPECT_TRUE(cradle_->HasFile("Temp/sarvel.exe"));
        const std::string part = std::string(Header, '\0') + rom_.substr(0, failure.good * Piece);
        const std::string written = Written();
        if (failure.pieces == 0) {
            EXPECT_EQ(Old, written);
        } else {
            EXPECT_EQ(Header + failure.pieces * Piece, written.size());
            EXPECT_TRUE(written.starts_with(part));
        }
    }
    // None of it is in the way of the next one, nor of the last try for a piece.
    Connect({"--piece-late", "2", "--piece-tries", "2001"});
    WizardRun& wizard = Begin();
    wizard.ExpectLine("60 minutes");
    ExpectSuccess(wizard);
    EXPECT_TRUE(Written() == Whole());
}

TEST_F(Backup, without_its_program_on_the_pc_does_not_start_an_old_one) {
    Connect();
    std::ofstream(cradle_->File("Temp/sarvel.exe")) << "old";
    std::filesystem::remove(home_.Tree() / "English/SARVEL.EXE");
    ExpectFailure(Begin(), RemoteProgramErrorPage);
    EXPECT_FALSE(cradle_->HasFile("Temp/sarvel.exe"));
    EXPECT_FALSE(cradle_->Handheld().Has("no whole program"));
}

// The image has been verified and is going to be flashed.
TEST_F(Backup, does_not_replace_a_file_in_use_nor_the_image_of_the_upgrade) {
    Connect();
    const int reader = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(0, flock(reader, LOCK_SH));
    ExpectFailure(Begin(), ImageOpenErrorPage);
    close(reader);
    EXPECT_EQ(Old, Written());
    const auto image = home_.Tree() / "English/TOLKROM.nbf";
    const std::string before = ReadBytes(image);
    std::filesystem::remove(file_);
    std::filesystem::create_hard_link(image, file_);
    WizardRun& wizard = Begin();
    ExpectQuit(wizard, ImageOpenErrorPage);
    EXPECT_TRUE(ReadBytes(image) == before);
}

// The rest of the piece is what the buffer held before: a file of full length that must not pass.
TEST_F(Backup, with_a_piece_cut_short_does_not_verify_and_is_not_restored) {
    Connect({"--piece-short", "5"});
    ExpectSuccess(Begin());
    EXPECT_EQ(Header + RomSize, Written().size());
    WizardRun restore(home_);
    GoToActionChoice(restore);
    ChooseRestore(restore, file_.filename().string());
    ExpectQuit(restore, ChecksumErrorPage);
}

// Killed when the handheld has printed so many reads of a piece; 0: before the first.
TEST_F(Backup, killed_at_any_moment_leaves_the_old_file_or_one_that_verifies_only_if_whole) {
    Connect();
    for (const int reads : {0, 1, 30, 61, 62}) {
        std::ofstream(file_) << Old;
        // The sleep of five seconds before the file is created lasts until the kill.
        Begin(reads == 0 ? "100,0.05" : "20");
        cradle_->Handheld().ExpectLine("CreateProcess \\Temp\\sarvel.exe");
        for (int read = 0; read < reads; ++read)
            cradle_->Handheld().ExpectLine("ReadFile \\Temp\\image.nb");
        wizard_->Process().Signal(SIGKILL);
        EXPECT_EQ(128 + SIGKILL, wizard_->Process().Wait());
        EXPECT_TRUE(reads > 0 || Written() == Old);
        EXPECT_TRUE(!IsWholeImage(Written()) || Written() == Whole()) << reads;
    }
}

// The folder tree on a small disk of its own, and a handheld of a large ROM.
class BackupDisk : public testing::Test {
protected:
    ~BackupDisk() override {
        if (mounted_)
            umount2(home_.Tree().c_str(), MNT_DETACH);
    }
    void Prepare(const char* options) {
        std::filesystem::create_directories(home_.Tree());
        mounted_ = mount("none", home_.Tree().c_str(), "tmpfs", 0, options) == 0;
        home_.AddLanguageFolder({.folder = "Japanese", .language = "JPN"});
        cradle_.emplace(home_, CradleOptions{.language = "JPN", .flashMegabytes = 32});
    }
    void GoToChoice(WizardRun& wizard) {
        ChooseUpgrade(wizard);
        wizard.Answer(VersionConfirmPage, "1");
        wizard.ExpectPage(BackupChoicePage);
    }
    // The file dialog.
    void Save(WizardRun& wizard, const std::string& proposed, const std::string& answer) {
        wizard.ExpectLine("== save ==");
        wizard.ExpectLine("proposed: " + proposed);
        wizard.Send(answer);
    }

    TestHome home_;
    bool mounted_ = false;
    std::optional<Cradle> cradle_;
};

// The disk holds the 16 MiB that are required, but not 31.5. Where nobody may mount a disk
// it is the file that may not grow.
TEST_F(BackupDisk, that_fills_up_half_way_ends_with_error_109) {
    Prepare("size=20m");
    WizardRun wizard(home_, {{"ROM_WIZARD_CLOCK", "100"}},
                     mounted_ ? ":" : "trap '' XFSZ; ulimit -f 40000");
    GoToChoice(wizard);
    wizard.Send("1030");
    Save(wizard, "TOLKROM110", "new");
    wizard.ExpectPage(BackupPage);
    ExpectQuit(wizard, BackupFailedPage);
    const std::string written = ReadBytes(home_.Tree() / "new.nbf");
    EXPECT_GT(written.size(), 16U << 20);
    EXPECT_FALSE(IsWholeImage(written));
    for (const char* left : {"Temp/image.nb", "Temp/sarvel.exe"})
        EXPECT_TRUE(cradle_->HasFile(left)) << left;
}

TEST_F(BackupDisk, that_is_too_small_brings_the_offer_back_for_an_old_and_a_new_file) {
    Prepare("size=8m");
    if (!mounted_)
        GTEST_SKIP() << "this host lets nobody mount a disk";
    const auto old = home_.Tree() / "old.nbf";
    std::ofstream(old) << Old;
    WizardRun wizard(home_);
    GoToChoice(wizard);
    wizard.Send("1030");
    Save(wizard, "TOLKROM110", ""); // cancelled: the page stays up
    wizard.Send("1030");
    Save(wizard, "TOLKROM110", "old");
    wizard.Answer(FileExistsPage, "2");
    wizard.ExpectPage(BackupChoicePage);
    Save(wizard, "Z:", ""); // the name that was chosen, with its path
    wizard.Send("1030");
    Save(wizard, "TOLKROM110", "old");
    wizard.Answer(FileExistsPage, "1");
    wizard.Answer(BackupSpaceErrorPage, "2");
    wizard.Answer(BackupChoicePage, "1030");
    Save(wizard, "TOLKROM110", "new");
    wizard.Answer(BackupSpaceErrorPage, "2");
    wizard.Answer(BackupChoicePage, "1"); // without a backup
    wizard.ExpectPage(UpgradeReadyPage);
    EXPECT_EQ(0, wizard.Finish());
    EXPECT_EQ(Old, ReadBytes(old));
    EXPECT_FALSE(std::filesystem::exists(home_.Tree() / "new.nbf"));
    EXPECT_FALSE(cradle_->Handheld().Has("sarvel"));
}

} // namespace
