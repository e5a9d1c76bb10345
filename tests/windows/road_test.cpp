// Whole runs of the Windows program against the simulated handheld, in the time that they take.
// label: windows

#include "testing/cradle.h"
#include "testing/wine.h"
#include "testing/wizard_run.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

namespace {

using namespace test_support;
using namespace test_support::pages;

constexpr char ProgressRecord[] = "Software\\FlashUtility";

// What the user does, page by page.
struct PageInput {
    int page;
    const char* input;
};

class Windows : public testing::Test {
protected:
    void SetUp() override {
        if (WindowsFolder().empty())
            GTEST_SKIP() << "no Windows here: scripts/test-windows-program brings it";
    }

    // What the handheld saw is half of what a failure tells.
    void TearDown() override {
        if (HasFailure() && cradle_)
            std::printf("the handheld printed:\n%s", cradle_->Handheld().Transcript().c_str());
    }

    // Puts a handheld into the cradle of a PC.
    void Connect(const CradleOptions& options = {}) {
        image_ = home_.AddLanguageFolder();
        Insert(options);
        pc_ = std::make_unique<WindowsPc>(home_);
    }
    void Insert(CradleOptions options) {
        options.withManager = false;
        cradle_ = std::make_unique<Cradle>(home_, options);
    }
    std::string Flash() const { return ReadBytes(home_.Device() / "flash.bin"); }

    static void AnswerPages(WindowsRun& wizard, const std::vector<PageInput>& inputs) {
        for (const auto& [page, input] : inputs)
            wizard.Answer(page, input);
    }

    static void PassIntroduction(WindowsRun& wizard) {
        AnswerPages(wizard, {{UpgradeNoticePage, "1181"},
                             {WelcomePage, "1"},
                             {HostChecklistPage, "1"},
                             {DeviceChecklistPage, ""}});
    }
    // From the start to the choice of the action.
    static void GoToActionChoice(WindowsRun& wizard, const char* link = Serial) {
        PassIntroduction(wizard);
        ChooseLink(wizard, link);
    }
    static void ChooseLink(WindowsRun& wizard, const char* link) {
        wizard.Answer(ConnectionTypePage, link);
        wizard.Send("1");
        wizard.ExpectPage(ActionChoicePage);
    }

    static void ConfirmWithoutBackup(WindowsRun& wizard) {
        AnswerPages(wizard,
                    {{VersionConfirmPage, "1"}, {BackupChoicePage, "1"}, {UpgradeReadyPage, "1"}});
    }
    static void Upgrade(WindowsRun& wizard) {
        GoToActionChoice(wizard);
        wizard.Send("1035");
        ConfirmWithoutBackup(wizard);
    }

    // What ends a program from outside: another one's WM_CLOSE, and the end of the user's session.
    // In the middle of a transfer neither does.
    void TryToEnd(WindowsRun& wizard) {
        AwaitProgress();
        wizard.Send("close");
        pc_->Start({"wineboot.exe", "-e"})->Wait();
    }

    // Each piece takes a second at least. Gives whether it was the last one.
    bool AwaitProgress() {
        const auto isProgress = [](const std::string& line) {
            return line.find(": piece") != std::string::npos ||
                   line.find(": complete") != std::string::npos;
        };
        const std::string line = cradle_->Handheld().ExpectLine(isProgress, "of the transfer");
        return line.find(": complete") != std::string::npos;
    }
    void AwaitTransfer() {
        while (!AwaitProgress()) {
        }
    }

    // The wizard brings ActiveSync back before its last page.
    static void Finish(WindowsRun& wizard) {
        wizard.Answer(UpgradeDonePage, "1181");
        wizard.ExpectPage(FinishPage);
        wizard.Send("window DccMan");
        wizard.Send("1134"); // no readme
        wizard.Send("1");
        EXPECT_EQ(0, wizard.Wait()) << wizard.User().Transcript();
    }

    // RAPI is up since the start of the run, and finds the handheld by itself.
    void FinishResumed(WindowsRun& wizard) {
        wizard.ExpectPage(UpgradeDonePage);
        cradle_->Reset();
        wizard.Send("1181");
        cradle_->Handheld().ExpectLine("RAPI Hello");
        wizard.Answer(FinishPage, "esc");
        EXPECT_EQ(0, wizard.Wait()) << wizard.User().Transcript();
        EXPECT_NE("never set", cradle_->StatusOf("clock"));
    }

    // An upgrade that dies on the way, after so many bytes.
    void BreakOff(const std::string& bytes, int page) {
        Connect({.run = {"--dies-at", bytes}});
        pc_->StartActiveSync();
        WindowsRun wizard(*pc_);
        Upgrade(wizard);
        TryToEnd(wizard);
        wizard.Answer(page, ""); // Enter presses the only button
        EXPECT_EQ(0, wizard.Wait());
        ExpectRecord(page == CommunicationErrorPage);
    }
    // What the run has left for the next one, which finds the PC started anew.
    void ExpectRecord(bool isCritical) {
        pc_->ShutDown();
        const std::string record = pc_->UserKey(ProgressRecord);
        EXPECT_NE(std::string::npos, record.find("\"Flash\"=dword:00000001\n")) << record;
        EXPECT_EQ(isCritical, record.find("\"Critical\"=dword:00000001\n") != std::string::npos)
            << record;
    }
    void ExpectUpgraded() {
        EXPECT_TRUE(cradle_->FlashEquals(image_));
        EXPECT_EQ("", cradle_->Refused());
        pc_->ShutDown();
        EXPECT_EQ("", pc_->UserKey(ProgressRecord));
    }

    TestHome home_;
    std::filesystem::path image_;
    std::unique_ptr<Cradle> cradle_;
    std::unique_ptr<WindowsPc> pc_;
};

TEST_F(Windows, an_upgrade_writes_the_image) {
    Connect();
    pc_->StartActiveSync();
    WindowsRun wizard(*pc_);
    Upgrade(wizard);
    AwaitTransfer();
    Finish(wizard);
    ExpectUpgraded();
}

// The backup is restored to another handheld of the kind, so that all of its flash has to change.
TEST_F(Windows, a_backup_is_saved_and_restored) {
    Connect({.flashMegabytes = 16});
    const std::string flash = Flash();
    const auto saved = home_.Path("saved.nbf");
    pc_->StartActiveSync();
    {
        WindowsRun wizard(*pc_);
        GoToActionChoice(wizard);
        wizard.Send("1035");
        AnswerPages(wizard, {{VersionConfirmPage, "1"}, {BackupChoicePage, "1030"}});
        wizard.User().ExpectLine("== save ==");
        wizard.Send(WindowsPathOf(saved));
        wizard.Answer(UpgradeReadyPage, "2");
        EXPECT_EQ(0, wizard.Wait());
    }
    cradle_.reset();
    std::filesystem::remove_all(home_.Device());
    Insert({.version = "1.14", .flashMegabytes = 16});
    EXPECT_FALSE(cradle_->FlashEquals(saved));
    WindowsRun wizard(*pc_);
    GoToActionChoice(wizard);
    wizard.Send("1036");
    wizard.User().ExpectLine("== open ==");
    wizard.Send(WindowsPathOf(saved));
    ConfirmWithoutBackup(wizard);
    TryToEnd(wizard);
    AwaitTransfer();
    Finish(wizard);
    EXPECT_TRUE(cradle_->FlashEquals(saved));
    EXPECT_EQ("", cradle_->Refused());
    cradle_->Reset();
    EXPECT_EQ("1.10.00", cradle_->StatusOf("version"));
    EXPECT_TRUE(Flash() == flash);
}

// The library reports the loss again at the start of the flasher, which it has not sent.
TEST_F(Windows, a_connection_lost_in_the_preparation_is_a_flasher_that_did_not_start) {
    Connect({.run = {"--drop-rapi-at", "RegSetValue"}});
    pc_->StartActiveSync();
    WindowsRun wizard(*pc_);
    Upgrade(wizard);
    wizard.Answer(RemoteProgramErrorPage, "2");
    EXPECT_EQ(0, wizard.Wait());
    pc_->ShutDown();
    EXPECT_EQ("", pc_->UserKey(ProgressRecord));
}

TEST_F(Windows, a_transfer_that_broke_off_is_resumed_by_another) {
    BreakOff("300000", UpgradeErrorPage);
    cradle_->Reset();
    pc_->StartActiveSync();
    WindowsRun wizard(*pc_);
    FinishResumed(wizard);
    ExpectUpgraded();
}

TEST_F(Windows, one_that_is_ended_by_force_is_resumed_by_another) {
    Connect();
    pc_->StartActiveSync();
    {
        WindowsRun wizard(*pc_);
        Upgrade(wizard);
        AwaitProgress();
        ExpectRecord(false); // Windows is shut down
    }
    cradle_->Reset();
    WindowsRun wizard(*pc_);
    Finish(wizard);
    ExpectUpgraded();
}

TEST_F(Windows, one_that_broke_off_in_the_held_back_block_is_resumed_by_the_bootloader) {
    BreakOff("560000", CommunicationErrorPage);
    cradle_->Reset(true);
    pc_->StartActiveSync();
    WindowsRun wizard(*pc_);
    FinishResumed(wizard);
    ExpectUpgraded();
}

// The first button of a page may be grey, and then it is the second that leaves; on the page of the
// two actions Enter is neither, also once the user has been elsewhere.
TEST_F(Windows, enter_presses_no_button_that_the_page_has_not_given_the_focus) {
    Connect();
    pc_->StartActiveSync();
    WindowsRun wizard(*pc_);
    for (const int page : {UpgradeNoticePage, WelcomePage, HostChecklistPage, DeviceChecklistPage})
        wizard.Answer(page, "");
    wizard.ExpectPage(ConnectionTypePage);
    for (const char* input : {"focus 1150", "", "away", "focus 1150", Serial, ""})
        wizard.Send(input);
    wizard.ExpectPage(ActionChoicePage);
    for (const char* input : {"focus 0", "away", "focus 0", ""})
        wizard.Send(input);
    EXPECT_EQ(0, wizard.Wait()) << wizard.User().Transcript();
}

// The working directory is a folder from elsewhere, and what lies in it is not run.
TEST_F(Windows, without_its_library_in_the_system_folder_no_handheld_answers) {
    Connect();
    pc_->StartActiveSync();
    std::filesystem::rename(pc_->SystemFolder() / "rapi.dll", home_.Tree() / "rapi.dll");
    WindowsRun wizard(*pc_);
    PassIntroduction(wizard);
    wizard.ExpectPage(ConnectionErrorPage);
    EXPECT_FALSE(cradle_->Handheld().Has("RAPI"));
    const auto second = pc_->Start({WindowsFolder() + "/rom-wizard.exe"});
    EXPECT_EQ(0, second->Wait()) << second->Transcript();
    wizard.Send("");
    EXPECT_EQ(0, wizard.Wait());
}

// Neither with a port that is not there nor with one whose requests fail can there be a transfer,
// and each ends on its page with the record of it kept.
TEST_F(Windows, without_the_usb_driver_the_run_ends_on_the_page_for_what_is_wrong) {
    Connect();
    for (const int page : {PortErrorPage, UpgradeErrorPage}) {
        pc_->StartActiveSync();
        WindowsRun wizard(*pc_);
        if (page == PortErrorPage)
            GoToActionChoice(wizard, Usb);
        else
            ChooseLink(wizard, Usb); // a record is there, and so is the handheld
        wizard.Send("1035");
        ConfirmWithoutBackup(wizard);
        wizard.Answer(page, "2");
        EXPECT_EQ(0, wizard.Wait());
        ExpectRecord(false);
        cradle_->Reset();
        if (page == PortErrorPage)
            pc_->AddDriverlessUsbPort();
    }
}

} // namespace
