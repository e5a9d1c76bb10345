// A backup, an upgrade and the restore of the backup, in every ROM size.

#include "link/backup_transfer.h"
#include "testing/image_file.h"
#include "tests/roads/road.h"

#include <algorithm>
#include <sstream>

namespace {

using namespace road;
using test_support::HeaderFor;
using test_support::ReadBytes;

constexpr std::uint32_t Header = 32;

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
    const char* duration;
};

class RoundTrip : public testing::TestWithParam<RomKind> {
protected:
    void Upgrade(WizardRun& wizard) {
        wizard.Answer(UpgradeReadyPage, "1");
        wizard.ExpectPages({PreparePage, ProgressPage});
        FinishUpgrade(wizard, FinishUsbPage);
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
        ChooseUpgrade(wizard, Usb);
        GoToBackup(wizard, backup.string());
        wizard.ExpectPage(BackupPage);
        wizard.ExpectLine(rom.duration);
        wizard.ExpectEnd(BackupPage);
        const std::vector<int> percentages = Percentages(wizard.PageText(BackupPage));
        EXPECT_TRUE(std::ranges::is_sorted(percentages));
        EXPECT_EQ(100, percentages.back());
        EXPECT_FALSE(cradle.HasFile("Temp/sarvel.exe"));
        EXPECT_FALSE(cradle.HasFile("Temp/image.nb"));
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
        GoToActionChoice(wizard, Usb);
        ChooseRestore(wizard, backup.string());
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
    testing::Values(RomKind{"English", "ENG", "1.87", "1.99", 0xF80000, "8 minutes"},
                    RomKind{"SChinese", "CHS", "2.01", "3.00", 0x2000000, "16 minutes"}),
    [](const auto& rom) { return rom.param.language + std::to_string(rom.param.size >> 18); });

TEST(RomSizes, depend_on_the_language_and_grow_with_version_2) {
    const struct {
        const char *folder, *version;
        std::uint32_t size;
    } roms[] = {
        {"English", "1.10", 0xF80000},   {"English", "1.99", 0xF80000},
        {"English", "2.00", 0x1000000},  {"French", "2.10", 0x1000000},
        {"Japanese", "1.99", 0x1F80000}, {"Japanese", "2.00", 0x2000000},
        {"SChinese", "1.10", 0x1F80000}, {"SChinese", "3.00", 0x2000000},
    };
    for (const auto& rom : roms)
        EXPECT_EQ(rom.size, RomSize(rom.folder, rom.version)) << rom.folder << rom.version;
}

} // namespace
