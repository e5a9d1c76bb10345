// Everything that can go wrong with a backup, and what it leaves behind.
// label: threads

#include "testing/image_file.h"
#include "tests/roads/road.h"

#include <algorithm>
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
    WizardRun& Begin() {
        wizard_.emplace(home_, Environment{{"ROM_WIZARD_CLOCK", "100"}});
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
        EXPECT_EQ(std::vector{page}, wizard.StandingPages());
        if (page == RemoteProgramErrorPage)
            cradle_->Handheld().ExpectLine("RAPI connection ended");
        wizard.Send("2");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(page, wizard.Pages().back());
        EXPECT_FALSE(HasProgressRecord(home_));
        EXPECT_FALSE(IsWholeImage(Written()));
    }
    // How often the wizard has looked for the piece that came last, or did not come.
    std::ptrdiff_t TriesForLastPiece() {
        std::vector<std::string> lines = cradle_->Handheld().Lines();
        std::ranges::reverse(lines);
        const auto isIn = [](const char* text) {
            return [=](const std::string& line) { return line.find(text) != line.npos; };
        };
        const auto last = std::ranges::find_if(lines, isIn("DeleteFile \\Temp\\image.nb"));
        return std::count_if(lines.begin(), last, isIn("CreateFile \\Temp\\image.nb"));
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
        int tries = 0;            // for the piece that does not come; 0: it does
    } failures[] = {
        {{"--refuse-program", "sarvel.exe"}, RemoteProgramErrorPage, 0, 0},
        {{"--piece-never", "3"}, BackupFailedPage, 2, 2, 2001},
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
        WizardRun& wizard = Begin();
        for (int tries = 0; tries < failure.tries; ++tries) // no wait is for all of them
            cradle_->Handheld().ExpectLine("CreateFile \\Temp\\image.nb");
        ExpectFailure(wizard, failure.page);
        EXPECT_TRUE(failure.tries == 0 || failure.tries == TriesForLastPiece());
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
    // None of it is in the way of the next one, in which a piece is late.
    Connect({"--piece-late", "2", "--piece-tries", "30"});
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

// The disk holds the 16 MiB that are required, but not the 31.5 of this ROM. Where nobody may mount
// a disk it is the file that may not grow.
TEST(BackupDisk, that_fills_up_half_way_ends_with_error_109) {
    TestHome home;
    const bool mounted = mount("none", home.Tree().c_str(), "tmpfs", 0, "size=20m") == 0;
    home.AddLanguageFolder({.folder = "Japanese", .language = "JPN"});
    Cradle cradle(home, {.language = "JPN", .flashMegabytes = 32});
    {
        WizardRun wizard(home, {{"ROM_WIZARD_CLOCK", "100"}},
                         mounted ? ":" : "trap '' XFSZ; ulimit -f 40000");
        ChooseUpgrade(wizard);
        GoToBackup(wizard, "new");
        wizard.ExpectPage(BackupPage);
        ExpectQuit(wizard, BackupFailedPage);
    }
    const std::string written = ReadBytes(home.Tree() / "new.nbf");
    EXPECT_GT(written.size(), 16U << 20);
    EXPECT_FALSE(IsWholeImage(written));
    for (const char* left : {"Temp/image.nb", "Temp/sarvel.exe"})
        EXPECT_TRUE(cradle.HasFile(left)) << left;
    if (mounted)
        umount2(home.Tree().c_str(), MNT_DETACH);
}

} // namespace
