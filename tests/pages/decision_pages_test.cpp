// The pages on which the user commits to something: durations, the choice of the link, and every
// way through the choice of a backup's file.

#include "pages/decision_pages.h"

#include "pages/duration_texts.h"
#include "pages/image_file_dialog.h"
#include "testing/page_test.h"
#include "testing/registry_values.h"

#include <dlfcn.h>
#include <sys/statvfs.h>

#include <cstdio>
#include <cstring>
#include <deque>

namespace {

long freeBytes = -1; // what a drive reports as its free space, while that is set

} // namespace

extern "C" int statvfs(const char* path, struct statvfs* status) noexcept {
    static const auto next = reinterpret_cast<decltype(&statvfs)>(dlsym(RTLD_NEXT, "statvfs"));
    const int result = next(path, status);
    if (result == 0 && freeBytes >= 0) {
        status->f_frsize = 1;
        status->f_bavail = static_cast<fsblkcnt_t>(freeBytes);
    }
    return result;
}

namespace {

using namespace page_test;

struct DurationFact {
    DurationFamily family;
    unsigned serialShort, usbShort, serialLong, usbLong;
};

const DurationFact Durations[] = {
    {DurationFamily::BackupChoice, 11030, 11061, 11092, 11093},
    {DurationFamily::Backup, 11066, 11067, 11090, 11091},
    {DurationFamily::UpgradeReady, 11062, 11063, 11094, 11095},
    {DurationFamily::Progress, 11113, 11112, 11096, 11097},
};

class DecisionPages : public PageTest {
protected:
    INT_PTR ChooseLink(std::initializer_list<const char*> clicks) {
        for (const char* click : clicks)
            user_.steps.push_back({158, click});
        return ShowPage(ConnectionTypePage);
    }
};

TEST_F(DecisionPages, a_duration_depends_on_the_link_and_on_the_language_of_the_handheld) {
    for (const DurationFact& fact : Durations) {
        for (const char* folder : {"English", "French", "German", "Italian", "Spanish", "fRENCH"}) {
            EXPECT_EQ(fact.serialShort, DurationText(fact.family, true, folder)) << folder;
            EXPECT_EQ(fact.usbShort, DurationText(fact.family, false, folder)) << folder;
        }
        for (const char* folder : {"Japanese", "TChinese", "SChinese", "", "Frenc"}) {
            EXPECT_EQ(fact.serialLong, DurationText(fact.family, true, folder)) << folder;
            EXPECT_EQ(fact.usbLong, DurationText(fact.family, false, folder)) << folder;
        }
    }
}

TEST_F(DecisionPages, an_ordinary_host_offers_both_links_and_holds_next_back_until_one_is_marked) {
    user_.steps.push_back({158, ""}); // Enter, with the default button grey
    EXPECT_EQ(0, ChooseLink({"1150", "1"}));
    EXPECT_FALSE(State.Run.SerialLinkSelected);
    const PageView& page = First(158);
    EXPECT_TRUE(IsEnabled(page, 1150) && IsEnabled(page, 1151));
    EXPECT_FALSE(Find(page, 1150)->checked || Find(page, 1151)->checked);
    EXPECT_FALSE(IsEnabled(page, 1));
    EXPECT_TRUE(IsEnabled(Last(158), 1));
}

TEST_F(DecisionPages, the_link_marked_last_counts_and_cancel_changes_nothing) {
    State.Run.SerialLinkSelected = false;
    EXPECT_EQ(0, ChooseLink({"1150", "1151", "1"}));
    EXPECT_TRUE(State.Run.SerialLinkSelected);
    EXPECT_EQ(1, ChooseLink({"1150", "2"}));
    EXPECT_TRUE(State.Run.SerialLinkSelected);
    EXPECT_EQ(0, ChooseLink({"1151", "1150", "1"}));
    EXPECT_FALSE(State.Run.SerialLinkSelected);
}

TEST_F(DecisionPages, a_host_without_usb_has_the_serial_link_marked_and_next_active) {
    const struct {
        const char *key, *value, *text;
    } hosts[] = {
        {"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentVersion", "4.0"},
        {"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", "ProductName", "Microsoft Windows 95"},
    };
    for (const auto& host : hosts) {
        test_support::StoreText(host.key, host.value, host.text);
        State.Run.SerialLinkSelected = false;
        user_.opened.clear();
        EXPECT_EQ(0, ChooseLink({"1"}));
        EXPECT_TRUE(State.Run.SerialLinkSelected);
        EXPECT_FALSE(IsEnabled(First(158), 1150));
        EXPECT_TRUE(Find(First(158), 1151)->checked);
        EXPECT_TRUE(IsEnabled(First(158), 1));
        test_support::StoreText(host.key, host.value, "5.0");
    }
}

TEST_F(DecisionPages, a_finished_backup_is_reported_once) {
    State.Run.BackupDone = true;
    for (const char* text : {"La sauvegarde de la ROM est maintenant terminée.", ""}) {
        user_.steps.push_back({130, "1"});
        EXPECT_EQ(1, ShowPage(UpgradeReadyPage));
        EXPECT_EQ(text, TextOf(Last(130), 1128));
    }
}

// The offer of a backup, with the working directory in a folder of its own.
class SaveSequence : public DecisionPages {
protected:
    using Events = std::vector<std::string>;

    void SetUp() override {
        DecisionPages::SetUp();
        before_ = std::filesystem::current_path();
        std::filesystem::current_path(folder_);
    }
    void TearDown() override {
        freeBytes = -1;
        std::filesystem::current_path(before_);
        DecisionPages::TearDown();
    }

    // Presses the button and answers the file dialogs; `later` are the steps after that.
    INT_PTR Save(std::deque<std::string> answers, std::initializer_list<Step> later = {}) {
        user_.files = std::move(answers);
        user_.steps.push_back({125, "1030"});
        user_.steps.insert(user_.steps.end(), later.begin(), later.end());
        return ShowPage(BackupChoicePage);
    }

    // A file of the folder as the wizard sees it.
    std::string Named(const std::string& name) const { return WindowsPathOf(folder_ / name); }

    std::string MakeFile(const std::string& name) const {
        test_support::WriteFileBytes(folder_ / name, "an earlier backup");
        return (folder_ / name).string();
    }

    std::filesystem::path before_;
};

TEST_F(SaveSequence, a_new_file_is_accepted_with_its_extension_and_not_yet_created) {
    EXPECT_EQ(1000, Save({"mine"}));
    EXPECT_EQ(Named("mine.nbf"), State.Paths.BackupPath);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "mine.nbf"));
    EXPECT_EQ((Events{"show 125", "save TOLKROM187", "end 125"}), user_.events);
}

TEST_F(SaveSequence, the_proposed_name_is_the_version_without_its_point_whatever_the_version) {
    const std::pair<const char*, const char*> names[] = {
        {"1.14", "TOLKROM114"}, {"12345", "TOLKROM134"}, {"1", "TOLKROM1"}, {"", "TOLKROM"}};
    for (const auto& [version, name] : names) {
        char(&text)[20] = State.Handheld.DeviceVersionText;
        std::memset(text, 0, sizeof(text));
        std::snprintf(text, sizeof(text), "%s", version);
        user_.events.clear();
        EXPECT_EQ(2, Save({""}, {{125, "2"}}));
        EXPECT_EQ(std::string("save ") + name, user_.events.at(1));
    }
}

TEST_F(SaveSequence, a_cancelled_dialog_leaves_the_page_up_and_the_next_one_starts_afresh) {
    State.Paths.BackupPath[0] = '\0';
    EXPECT_EQ(1, Save({"", ""}, {{125, "1030"}, {125, "1"}}));
    EXPECT_EQ((Events{"show 125", "save TOLKROM187", "save TOLKROM187", "end 125"}), user_.events);
}

TEST_F(SaveSequence, an_existing_file_is_replaced_only_when_the_user_says_so) {
    const std::string old = MakeFile("old.nbf");
    EXPECT_EQ(1000, Save({"old"}, {{152, "1"}}));
    EXPECT_EQ(Named("old.nbf"), State.Paths.BackupPath);
    EXPECT_EQ("an earlier backup", ReadBytes(old));
    EXPECT_EQ((Events{"show 125", "save TOLKROM187", "hide 125", "show 152", "end 152", "end 125"}),
              user_.events);
}

TEST_F(SaveSequence, a_refused_file_brings_the_dialog_back_on_the_name_that_was_chosen) {
    MakeFile("old.nbf");
    EXPECT_EQ(1000, Save({"old", "old.nbf", "new"}, {{152, "2"}, {152, "esc"}}));
    EXPECT_EQ(Named("new.nbf"), State.Paths.BackupPath);
    const std::string again = "save " + platform::Utf8FromAnsi(Named("old.nbf"));
    EXPECT_EQ((Events{"show 125", "save TOLKROM187", "hide 125", "show 152", "end 152", "show 125",
                      again, "hide 125", "show 152", "end 152", "show 125", again, "end 125"}),
              user_.events);
}

TEST_F(SaveSequence, the_dialog_after_a_refused_file_may_be_cancelled) {
    MakeFile("old.nbf");
    EXPECT_EQ(2, Save({"old", ""}, {{152, "2"}, {125, "2"}}));
    EXPECT_EQ("show 125", user_.events.at(5));
}

TEST_F(SaveSequence, a_full_drive_shows_its_page_and_brings_the_offer_back) {
    const std::string old = MakeFile("old.nbf");
    freeBytes = 0xFFFFFF; // one less than the largest backup takes
    EXPECT_EQ(
        1, Save({"new", "old"}, {{145, "2"}, {125, "1030"}, {152, "1"}, {145, "2"}, {125, "1"}}));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "new.nbf"));
    EXPECT_EQ("an earlier backup", ReadBytes(old));
    EXPECT_EQ((Events{"show 125", "save TOLKROM187", "hide 125", "show 145", "end 145", "show 125",
                      "save TOLKROM187", "hide 125", "show 152", "end 152", "show 145", "end 145",
                      "show 125", "end 125"}),
              user_.events);
    freeBytes = 0x1000000;
    EXPECT_EQ(1000, Save({"new"}));
}

TEST_F(SaveSequence, a_drive_whose_space_is_unknown_does_not_stop_a_backup) {
    const std::filesystem::path gone = folder_ / "gone";
    std::filesystem::create_directory(gone);
    std::filesystem::current_path(gone);
    std::filesystem::remove(gone);
    ULARGE_INTEGER space;
    ASSERT_FALSE(GetDiskFreeSpaceExA("Z:", &space, nullptr, nullptr));
    EXPECT_EQ(1000, Save({folder_ / "new"}));
}

// Files are looked for beside the place where the wizard was started.
TEST_F(SaveSequence, neither_dialog_changes_the_working_directory) {
    std::filesystem::create_directory(folder_ / "other");
    MakeFile("other/image.nbf");
    EXPECT_EQ(1000, Save({"other/mine"}));
    user_.files = {"other/image.nbf"};
    char path[260] = "";
    EXPECT_TRUE(AskForImageFile(nullptr, path));
    EXPECT_EQ(folder_, std::filesystem::current_path());
}

} // namespace
