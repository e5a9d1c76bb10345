// Runs that find a record and no handheld: what goes over the wire to the bootloader, and what
// prevents a resumed transfer without losing the record.
// label: threads

#include "testing/image_file.h"
#include "tests/roads/road.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace road;
namespace fs = std::filesystem;

struct Record {
    fs::path image;
    std::string model = "TOLKP1000";
    std::string language = "ENG";
    std::string folder = "English";
    bool usb = false;
    bool critical = false;
    bool heldBack = false; // the note beside it
};

void WriteRecord(const TestHome& home, const Record& record) {
    std::string path;
    for (const char character : test_support::WindowsPathOf(record.image))
        path += character == '\\' ? "\\\\" : std::string(1, character);
    std::ostringstream text;
    text << "[HKEY_CURRENT_USER\\Software\\FlashUtility]\n"
         << "\"Flash\"=dword:00000001\n\"Language\"=\"" << record.folder << "\"\n\"ModelID\"=\""
         << record.model << "\"\n\"Lang\"=\"" << record.language << "\"\n\"Version\"=\"1.10\"\n"
         << "\"USB\"=dword:0000000" << record.usb << "\n\"FlashFile\"=\"" << path << "\"\n"
         << (record.critical ? "\"Critical\"=dword:00000001\n" : "")
         << (record.heldBack ? "\n[HKEY_CURRENT_USER\\Software\\FlashUtilityHeldBack]\n" : "");
    AppendToRegistry(home, text.str());
}

// As a transfer leaves it that died before the held-back block.
void RestartInFlasher(const TestHome& home, Cradle& cradle,
                      const std::vector<std::string>& options = {}) {
    cradle.TakeOut();
    std::ofstream(home.Device() / "state") << "mode=flasher\ntouched=1\n";
    cradle.RestartHandheld(options);
}

TEST(Resume, without_its_image_or_with_one_for_another_handheld_keeps_the_record) {
    struct Case {
        const char* name;
        Record record;
        int page;
    };
    TestHome home;
    const fs::path image = home.AddLanguageFolder();
    const Case cases[] = {
        {"gone", {.image = home.Path("gone.nbf")}, ImageOpenErrorPage},
        {"model", {.image = image, .model = "TOLKP2000"}, IncompatibleImagePage},
        {"language", {.image = image, .language = "FRE"}, IncompatibleImagePage},
    };
    Cradle cradle(home);
    const std::string registry = test_support::ReadBytes(home.Home() / "registry.reg");
    RestartInFlasher(home, cradle);
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        test_support::WriteFileBytes(home.Home() / "registry.reg", registry);
        WriteRecord(home, one.record);
        WizardRun wizard(home);
        EXPECT_EQ(one.page, wizard.AnswerUpgrade(Serial));
        EXPECT_EQ(std::vector{one.page}, wizard.StandingPages());
        wizard.Send("2");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(one.page, wizard.Pages().back());
        EXPECT_TRUE(HasProgressRecord(home));
        EXPECT_FALSE(IsMarkedCritical(home));
    }
    EXPECT_EQ("", cradle.Refused()); // not a byte has gone out
}

// A wizard that was killed in the held-back block has shown no page. Its flasher may be listening
// still, and is asked over its own link; only where it is silent the note makes it the bootloader's
// turn.
TEST(Resume, with_the_note_of_the_held_back_block_asks_the_flasher_first) {
    struct Case {
        const char* name;
        bool usb, noted;
        std::vector<std::string> faults;
        int page;
    };
    const Case cases[] = {
        {"listens on usb", true, true, {}, UpgradeDonePage},
        {"silent", false, true, {"--silent-at", "start"}, CommunicationErrorPage},
        {"silent, much was left", false, false, {"--silent-at", "start"}, UpgradeErrorPage},
        {"silent later", false, true, {"--silent-at", "size"}, UpgradeErrorPage},
        {"off the bus", true, true, {"--port-held"}, PortErrorPage},
        {"off the bus, much was left", true, false, {"--port-held"}, PortErrorPage},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        auto&& [home, image, cradle] = PcWithHandheld();
        WriteRecord(home, {.image = image, .usb = one.usb, .heldBack = one.noted});
        RestartInFlasher(home, cradle, one.faults);
        for (const bool again : {false, true}) {
            WizardRun wizard(home);
            wizard.ExpectPages({BusyPage, ProgressPage});
            if (one.page == UpgradeDonePage) {
                for (const char* line : {"4 minutes", "12%", "25%", "37%", "50%", "62%", "75%"})
                    wizard.ExpectLine(line);
            }
            wizard.Answer(one.page, "esc");
            const bool gone = again && one.noted;
            if (one.page == PortErrorPage && gone)
                wizard.Answer(CommunicationErrorPage, "2");
            EXPECT_EQ(0, wizard.Wait());
            EXPECT_EQ(128 + SIGKILL, cradle.Manager().Wait()); // it may have the port open
            EXPECT_EQ(one.page == CommunicationErrorPage || (one.page == PortErrorPage && gone),
                      IsMarkedCritical(home));
            if (one.page != PortErrorPage)
                break;
        }
        EXPECT_EQ(one.page == UpgradeDonePage, !HasProgressRecord(home));
    }
}

// With a handheld that answers, the transfer is one with its flasher, whatever the last one was.
TEST(Resume, an_old_mark_of_the_bootloader_does_not_choose_the_page_of_a_fresh_run) {
    auto&& [home, image, cradle] = PcWithHandheld({.run = {"--silent-at", "start"}});
    WriteRecord(home, {.image = image, .critical = true});
    WizardRun wizard(home);
    EXPECT_EQ(UpgradeErrorPage, wizard.AnswerUpgrade(Serial));
    wizard.Send("2");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_FALSE(IsMarkedCritical(home));
}

TEST(Resume, the_bootloader_hears_every_block_in_order_and_erased_flash_behind_the_end) {
    for (const std::uint32_t more : {0U, 0x123U}) { // a whole number of blocks, and not
        TestHome home;
        const fs::path image = home.AddLanguageFolder();
        fs::resize_file(image, fs::file_size(image) + more);
        Cradle cradle(home);
        const std::string log = home.Path("wire").string();
        cradle.RestartHandheld({"--bootloader", "--log", log});
        EXPECT_EQ("bootloader, shows its picture", cradle.StatusOf("mode"));
        WriteRecord(home, {.image = image, .usb = true, .critical = true});
        if (more != 0)
            MoveToSecondPort(home);
        WizardRun wizard(home);
        wizard.ExpectPages({BusyPage, ProgressPage});
        wizard.ExpectLine("30 minutes"); // the serial link's, whatever the first attempt used
        for (const char* percentage : {"33%", "66%", "99%", "133%", "100%"})
            wizard.ExpectLine(percentage);
        FinishUpgrade(wizard, FinishUsbPage);
        EXPECT_TRUE(test_support::ReadBytes(log) ==
                    test_support::BootloaderWire(test_support::ReadBytes(image)));
        EXPECT_EQ("", cradle.Refused());
        EXPECT_FALSE(HasProgressRecord(home));
    }
}

} // namespace
