// Backups: there and back again in every ROM size, and everything that can go wrong, with what it
// leaves behind.
// label: threads

#include "tests/support/image_file.h"
#include "tests/wizard/road.h"

#include <algorithm>
#include <csignal>
#include <optional>
#include <sstream>

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

constexpr std::uint32_t Header = 32;
constexpr std::uint32_t Piece = 0x40000;
constexpr char Old[] = "an earlier backup";

std::string FlashOf(const TestHome& home) { return ReadBytes(home.Device() / "flash.bin"); }

// The percentages of the page that is up, in their order.
std::vector<int> Percentages(const std::string& pageText) {
    std::vector<int> percentages;
    std::istringstream lines(pageText);
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with("%"))
            percentages.push_back(std::stoi(line));
    }
    return percentages;
}

struct RomKind {
    const char *folder, *language, *version, *next;
    std::uint32_t size;
    const char* link;
    const char* duration;
};

class RoundTrip : public testing::TestWithParam<RomKind> {
protected:
    void Upgrade(WizardRun& wizard) {
        wizard.Answer(UpgradeReadyPage, "1");
        wizard.ExpectPage(PreparePage);
        wizard.ExpectPage(ProgressPage);
        FinishUpgrade(wizard, GetParam().link == Usb ? FinishUsbPage : FinishPage);
        EXPECT_EQ(0, wizard.Wait());
    }
};

TEST_P(RoundTrip, a_backup_brings_the_flash_back_to_the_last_bit) {
    const RomKind& rom = GetParam();
    TestHome home;
    home.AddLanguageFolder({.folder = rom.folder,
                            .language = rom.language,
                            .version = rom.next,
                            .size = rom.size + Header});
    Cradle cradle(home, {.version = rom.version,
                         .language = rom.language,
                         .flashMegabytes = rom.size > 0x1000000 ? 32U : 16U});
    const std::string flash = FlashOf(home);
    const auto backup = home.Path("saved.nbf");
    {
        WizardRun wizard(home);
        GoToActionChoice(wizard, rom.link);
        wizard.Send("1035");
        GoToBackup(wizard, backup.string());
        wizard.ExpectPage(BackupPage);
        wizard.ExpectLine(rom.duration);
        wizard.ExpectEnd(BackupPage);
        const std::vector<int> percentages = Percentages(wizard.PageText(BackupPage));
        EXPECT_TRUE(std::ranges::is_sorted(percentages));
        EXPECT_EQ(100, percentages.back());
        EXPECT_FALSE(std::filesystem::exists(cradle.File("Temp/sarvel.exe")));
        EXPECT_FALSE(std::filesystem::exists(cradle.File("Temp/image.nb")));
        Upgrade(wizard);
        EXPECT_NE(std::string::npos,
                  wizard.PageText(UpgradeReadyPage).find("sauvegarde de la ROM"));
    }
    const std::string body = flash.substr(0, rom.size);
    const std::string identity = std::string("TOLKP1000-") + rom.language + "-" + rom.version;
    EXPECT_TRUE(ReadBytes(backup) == HeaderFor(identity, body) + body);
    cradle.Reset();
    EXPECT_EQ(rom.next + std::string(".00"), cradle.StatusOf("version"));
    EXPECT_FALSE(FlashOf(home) == flash);
    home.AwaitConnectionManager();
    {
        WizardRun wizard(home);
        GoToActionChoice(wizard, rom.link);
        wizard.Send("1036");
        wizard.ExpectLine("== open ==");
        wizard.Send(backup.string());
        wizard.ExpectPage(BusyPage);
        wizard.Answer(VersionConfirmPage, "1");
        wizard.Answer(BackupChoicePage, "1");
        Upgrade(wizard);
    }
    cradle.Reset();
    EXPECT_EQ(rom.version + std::string(".00"), cradle.StatusOf("version"));
    EXPECT_TRUE(FlashOf(home) == flash);
    EXPECT_EQ("", cradle.Refused());
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, RoundTrip,
    testing::Values(RomKind{"English", "ENG", "1.87", "1.99", 0xF80000, Serial, "60 minutes"},
                    RomKind{"French", "FRE", "2.00", "2.10", 0x1000000, Usb, "8 minutes"},
                    RomKind{"Japanese", "JPN", "1.99", "1.10", 0x1F80000, Serial, "120 minutes"},
                    RomKind{"SChinese", "CHS", "2.01", "3.00", 0x2000000, Usb, "16 minutes"}),
    [](const auto& rom) { return rom.param.language + std::to_string(rom.param.size >> 18); });

// A handheld of the smallest ROM, and a backup of it in place of an older file.
class Backup : public testing::Test {
protected:
    void SetUp() override { home_.AddLanguageFolder(); }

    void Connect(const std::vector<std::string>& faults = {}) {
        std::ofstream(file_) << Old;
        cradle_.emplace(home_, CradleOptions{.flashMegabytes = 16, .run = faults});
    }
    // Up to the page that says that the file exists, and yes to it.
    WizardRun& Begin(const Environment& environment = {{"ROM_WIZARD_CLOCK", "100"}},
                     const std::string& before = ":") {
        wizard_.emplace(home_, environment, before);
        GoToActionChoice(*wizard_);
        wizard_->Send("1035");
        GoToBackup(*wizard_, file_.string());
        wizard_->Answer(FileExistsPage, "1");
        wizard_->ExpectPage(BackupPage);
        return *wizard_;
    }
    // A run that ends with that page, and by itself once the user has left it.
    void ExpectFailure(WizardRun& wizard, int page) {
        wizard.Answer(page, "2");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(page, wizard.Pages().back());
        EXPECT_FALSE(HasProgressRecord(home_));
    }
    bool IsOnDevice(const std::string& name) {
        return std::filesystem::exists(cradle_->File(name));
    }
    std::string Written() const { return ReadBytes(file_); }
    // So many pieces came, and no header.
    void ExpectPart(std::size_t pieces) {
        const std::string flash = FlashOf(home_);
        EXPECT_TRUE(Written() ==
                    std::string(pieces == 0 ? 0 : Header, '\0') + flash.substr(0, pieces * Piece));
        EXPECT_FALSE(IsWholeImage(Written()));
    }

    TestHome home_;
    const std::filesystem::path file_ = home_.Tree() / "TOLKROM110.nbf";
    std::optional<Cradle> cradle_;
    std::optional<WizardRun> wizard_;
};

TEST_F(Backup, that_cannot_start_its_program_shows_error_106_and_touches_no_file) {
    Connect({"--refuse-program", "sarvel.exe"});
    ExpectFailure(Begin(), RemoteProgramErrorPage);
    EXPECT_EQ(Old, Written());
    EXPECT_TRUE(IsOnDevice("Temp/sarvel.exe"));
    std::filesystem::remove(home_.Tree() / "English/sarvel.exe");
    ExpectFailure(Begin(), RemoteProgramErrorPage);
    EXPECT_EQ(Old, Written());
    EXPECT_FALSE(IsOnDevice("Temp/sarvel.exe")) << "an old one must not be started";
}

TEST_F(Backup, into_a_file_in_use_shows_error_104_and_leaves_it_whole) {
    Connect();
    const int reader = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(0, flock(reader, LOCK_SH));
    ExpectFailure(Begin(), ImageOpenErrorPage);
    close(reader);
    EXPECT_EQ(Old, Written());
    EXPECT_TRUE(IsOnDevice("Temp/sarvel.exe"));
}

// It has been verified and is going to be flashed.
TEST_F(Backup, does_not_replace_the_image_of_the_upgrade_under_another_name) {
    Connect();
    const auto image = home_.Tree() / "English/TOLKROM.nbf";
    const std::string before = ReadBytes(image);
    std::filesystem::remove(file_);
    std::filesystem::create_hard_link(image, file_);
    ExpectFailure(Begin(), ImageOpenErrorPage);
    EXPECT_TRUE(ReadBytes(image) == before);
}

TEST_F(Backup, whose_piece_never_comes_ends_with_error_109_and_what_it_has) {
    Connect({"--piece-never", "3"});
    ExpectFailure(Begin(), BackupFailedPage);
    ExpectPart(2);
    EXPECT_TRUE(IsOnDevice("Temp/sarvel.exe"));
    // The next one begins afresh, also on the handheld.
    cradle_->RestartHandheld();
    WizardRun& again = Begin();
    again.ExpectPage(UpgradeReadyPage);
    EXPECT_EQ(0, again.Finish());
    EXPECT_TRUE(IsWholeImage(Written()));
}

TEST_F(Backup, takes_a_piece_at_the_2001st_try_and_gives_up_before_the_next) {
    Connect({"--piece-late", "2", "--piece-tries", "2001"});
    WizardRun& good = Begin();
    good.ExpectPage(UpgradeReadyPage);
    EXPECT_EQ(0, good.Finish());
    EXPECT_TRUE(IsWholeImage(Written()));
    cradle_->RestartHandheld({"--piece-late", "2", "--piece-tries", "2002"});
    ExpectFailure(Begin(), BackupFailedPage);
    ExpectPart(1);
}

// The rest of that piece is what the buffer held before: a file of full length that must not pass.
TEST_F(Backup, with_a_piece_cut_short_does_not_verify_and_is_not_restored) {
    Connect({"--piece-short", "5"});
    WizardRun& wizard = Begin();
    wizard.ExpectPage(UpgradeReadyPage);
    EXPECT_EQ(0, wizard.Finish());
    EXPECT_EQ(Header + 0xF80000, Written().size());
    EXPECT_FALSE(IsWholeImage(Written()));
    WizardRun restore(home_);
    GoToActionChoice(restore);
    restore.Send("1036");
    restore.ExpectLine("== open ==");
    restore.Send(file_.filename().string());
    restore.ExpectPage(BusyPage);
    restore.Answer(ChecksumErrorPage, "2");
    EXPECT_EQ(0, restore.Wait());
}

TEST_F(Backup, whose_connection_drops_in_the_middle_ends_by_its_tries) {
    for (const bool halfway : {false, true}) {
        std::vector<std::string> faults = {"--drop-rapi-at", "ReadFile \\Temp\\image.nb",
                                           "--drop-rapi-after", "3"};
        if (halfway)
            faults.push_back("--drop-rapi-halfway");
        if (!cradle_)
            Connect(faults);
        else
            cradle_->RestartHandheld(faults);
        ExpectFailure(Begin(), BackupFailedPage);
        // The piece that broke off takes up its room.
        EXPECT_EQ(Header + 4 * Piece, Written().size());
        EXPECT_FALSE(IsWholeImage(Written()));
    }
}

TEST_F(Backup, into_a_file_that_may_not_grow_ends_with_error_109) {
    Connect();
    // 8000 KiB, in units of 512 bytes.
    ExpectFailure(Begin({{"ROM_WIZARD_CLOCK", "100"}}, "trap '' XFSZ; ulimit -f 16000"),
                  BackupFailedPage);
    EXPECT_EQ(8000U * 1024, Written().size());
    EXPECT_FALSE(IsWholeImage(Written()));
    EXPECT_TRUE(IsOnDevice("Temp/sarvel.exe"));
    EXPECT_TRUE(IsOnDevice("Temp/image.nb"));
}

// The tree of a home on a disk of its own, small.
class SmallDisk {
public:
    SmallDisk(const TestHome& home, const char* size) : place_(home.Tree()) {
        std::filesystem::create_directories(place_);
        const std::string options = std::string("size=") + size;
        mounted_ = mount("none", place_.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~SmallDisk() {
        if (mounted_)
            umount2(place_.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool IsMounted() const { return mounted_; }

private:
    const std::filesystem::path place_;
    bool mounted_ = false;
};

class BackupDisk : public testing::Test {
protected:
    // A disk with the tree of a handheld of the large ROM. False where nobody may mount one.
    bool Prepare(const char* size) {
        disk_.emplace(home_, size);
        if (!disk_->IsMounted())
            return false;
        home_.AddLanguageFolder({.folder = "Japanese", .language = "JPN"});
        cradle_.emplace(home_, CradleOptions{.language = "JPN", .flashMegabytes = 32});
        return true;
    }
    void GoToChoice(WizardRun& wizard) {
        GoToActionChoice(wizard);
        wizard.Send("1035");
        wizard.Answer(VersionConfirmPage, "1");
        wizard.ExpectPage(BackupChoicePage);
    }

    TestHome home_;
    std::optional<SmallDisk> disk_;
    std::optional<Cradle> cradle_;
};

constexpr char NoDisk[] = "this host lets nobody mount a disk";

TEST_F(BackupDisk, that_fills_up_half_way_ends_with_error_109) {
    if (!Prepare("20m"))
        GTEST_SKIP() << NoDisk;
    WizardRun wizard(home_);
    GoToChoice(wizard);
    wizard.Send("1030");
    wizard.ExpectLine("== save ==");
    wizard.Send("new"); // there is room for the 16 MiB that are asked for, but not for 31.5
    wizard.ExpectPage(BackupPage);
    wizard.Answer(BackupFailedPage, "2");
    EXPECT_EQ(0, wizard.Wait());
    const std::string written = ReadBytes(home_.Tree() / "new.nbf");
    EXPECT_GT(written.size(), 16U << 20);
    EXPECT_FALSE(IsWholeImage(written));
    EXPECT_TRUE(std::filesystem::exists(cradle_->File("Temp/image.nb")));
}

TEST_F(BackupDisk, that_is_too_small_brings_the_offer_back_on_every_road_to_it) {
    if (!Prepare("8m"))
        GTEST_SKIP() << NoDisk;
    const auto old = home_.Tree() / "old.nbf";
    std::ofstream(old) << Old;
    WizardRun wizard(home_);
    GoToChoice(wizard);
    const auto save = [&](const char* proposed, const char* answer) {
        wizard.ExpectLine("== save ==");
        wizard.ExpectLine(std::string("proposed: ") + proposed);
        wizard.Send(answer);
    };
    wizard.Send("1030");
    save("TOLKROM110", ""); // cancelled: the page stays up
    wizard.Send("1030");
    save("TOLKROM110", "old");
    wizard.Answer(FileExistsPage, "2");
    wizard.ExpectPage(BackupChoicePage);
    save("Z:", ""); // the name that was chosen
    wizard.Send("1030");
    save("TOLKROM110", "old");
    wizard.Answer(FileExistsPage, "1");
    wizard.Answer(BackupSpaceErrorPage, "2");
    wizard.Answer(BackupChoicePage, "1030");
    save("TOLKROM110", "new");
    wizard.Answer(BackupSpaceErrorPage, "2");
    wizard.Answer(BackupChoicePage, "1"); // without a backup
    wizard.ExpectPage(UpgradeReadyPage);
    EXPECT_EQ(0, wizard.Finish());
    EXPECT_EQ(Old, ReadBytes(old));
    EXPECT_FALSE(std::filesystem::exists(home_.Tree() / "new.nbf"));
    EXPECT_FALSE(cradle_->Handheld().Has("sarvel"));
}

// Killed when the handheld has told so many reads of a piece; 0: before the first.
TEST_F(Backup, killed_at_any_moment_leaves_the_old_file_or_one_that_verifies_only_if_whole) {
    Connect();
    const std::string body = FlashOf(home_).substr(0, 0xF80000);
    const std::string whole = HeaderFor("TOLKP1000-ENG-1.10", body) + body;
    for (const int reads : {0, 1, 30, 61, 62}) {
        std::ofstream(file_) << Old;
        // The sleep of five seconds before the file is created lasts until the kill.
        Begin({{"ROM_WIZARD_CLOCK", reads == 0 ? "100,0.05" : "20"}});
        cradle_->Handheld().ExpectLine("CreateProcess \\Temp\\sarvel.exe");
        for (int read = 0; read < reads; ++read)
            cradle_->Handheld().ExpectLine("ReadFile \\Temp\\image.nb");
        wizard_->Process().Signal(SIGKILL);
        EXPECT_EQ(128 + SIGKILL, wizard_->Process().Wait());
        EXPECT_TRUE(reads > 0 || Written() == Old);
        EXPECT_TRUE(!IsWholeImage(Written()) || Written() == whole) << reads;
    }
}

} // namespace
