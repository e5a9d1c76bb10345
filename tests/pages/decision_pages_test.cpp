// The pages on which the user commits to something: the choice of the link, and every way through
// the choice of a backup's file.

#include "pages/decision_pages.h"

#include "pages/image_file_dialog.h"
#include "testing/page_test.h"
#include "testing/registry_values.h"

#include <dlfcn.h>
#include <sys/statvfs.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <iterator>

namespace {

// What a drive reports as its free space, or one of these.
constexpr long AsItIs = -1, Unknown = -2;
long freeBytes = AsItIs;

} // namespace

extern "C" int statvfs(const char* path, struct statvfs* status) noexcept {
    static const auto next = reinterpret_cast<decltype(&statvfs)>(dlsym(RTLD_NEXT, "statvfs"));
    const int result = freeBytes == Unknown ? -1 : next(path, status);
    if (result == 0 && freeBytes >= 0) {
        status->f_frsize = 1;
        status->f_bavail = static_cast<fsblkcnt_t>(freeBytes);
    }
    return result;
}

namespace {

using namespace page_test;

class DecisionPages : public PageTest {};

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
        user_.steps = {{158, "1"}};
        EXPECT_EQ(0, ShowPage(ConnectionTypePage));
        EXPECT_TRUE(State.Run.SerialLinkSelected);
        EXPECT_FALSE(IsEnabled(First(158), 1150));
        EXPECT_TRUE(Find(First(158), 1151)->checked);
        EXPECT_TRUE(IsEnabled(First(158), 1));
        test_support::StoreText(host.key, host.value, "5.0");
    }
}

// The offer of a backup, with the working directory in a folder of its own.
class SaveSequence : public PageTest {
protected:
    void SetUp() override {
        PageTest::SetUp();
        before_ = std::filesystem::current_path();
        std::filesystem::current_path(folder_);
    }
    void TearDown() override {
        freeBytes = AsItIs;
        std::filesystem::current_path(before_);
        PageTest::TearDown();
    }

    // Presses the button and answers the file dialogs; `later` are the steps after that.
    INT_PTR Save(std::deque<std::string> answers, const std::vector<Step>& later = {}) {
        user_.files = std::move(answers);
        user_.steps.push_back({125, "1030"});
        user_.steps.insert(user_.steps.end(), later.begin(), later.end());
        return ShowPage(BackupChoicePage);
    }

    // What happened on the screen, in a line; files of the folder by their names.
    std::string Events() const {
        const std::string folder = platform::Utf8FromAnsi(WindowsPathOf(folder_ / "").c_str());
        std::string events;
        for (const std::string& event : user_.events)
            events += (events.empty() ? "" : ", ") + event;
        for (std::size_t at = 0; (at = events.find(folder)) != std::string::npos;)
            events.erase(at, folder.size());
        return events;
    }

    std::filesystem::path before_;
};

struct SaveCase {
    const char* name;
    long freeBytes;
    std::deque<std::string> answers;
    std::vector<Step> later;
    INT_PTR result;
    const char* chosen; // empty: no file was accepted
};

// A backup takes 16 MiB at most.
const std::vector<Step> fullTwice = {{145, "2"}, {125, "1030"}, {152, "1"}, {145, "2"}, {125, "1"}};
const SaveCase SaveCases[] = {
    {"new", AsItIs, {"mine"}, {}, 1000, "mine.nbf"},
    {"given up", AsItIs, {"", ""}, {{125, "1030"}, {125, "1"}}, 1, ""},
    {"replaced", AsItIs, {"old"}, {{152, "1"}}, 1000, "old.nbf"},
    {"refused", AsItIs, {"old", "old.nbf", "new"}, {{152, "2"}, {152, "esc"}}, 1000, "new.nbf"},
    {"refused, given up", AsItIs, {"old", ""}, {{152, "2"}, {125, "2"}}, 2, ""},
    {"drive full", 0xFFFFFF, {"new", "old"}, fullTwice, 1, ""},
    {"unknown", Unknown, {"new"}, {}, 1000, "new.nbf"},
    {"just enough", 0x1000000, {"new"}, {}, 1000, "new.nbf"},
};

// Nothing is created or replaced before a backup begins.
TEST_F(SaveSequence, ends_with_a_file_that_may_be_written_or_with_the_offer_as_it_was) {
    std::string events;
    for (const SaveCase& one : SaveCases) {
        SCOPED_TRACE(one.name);
        test_support::WriteFileBytes(folder_ / "old.nbf", "an earlier backup");
        user_.events.clear();
        freeBytes = one.freeBytes;
        EXPECT_EQ(one.result, Save(one.answers, one.later));
        EXPECT_TRUE(!*one.chosen || WindowsPathOf(folder_ / one.chosen) == State.Paths.BackupPath);
        EXPECT_EQ("an earlier backup", ReadBytes(folder_ / "old.nbf"));
        EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder_), {}));
        events += one.name + (": " + Events()) + "\n";
    }
    EXPECT_EQ("new: show 125, save TOLKROM187, end 125\n"
              "given up: show 125, save TOLKROM187, save TOLKROM187, end 125\n"
              "replaced: show 125, save TOLKROM187, hide 125, show 152, end 152, end 125\n"
              "refused: show 125, save TOLKROM187, hide 125, show 152, end 152, show 125, "
              "save old.nbf, hide 125, show 152, end 152, show 125, save old.nbf, end 125\n"
              "refused, given up: show 125, save TOLKROM187, hide 125, show 152, end 152, "
              "show 125, save old.nbf, end 125\n"
              "drive full: show 125, save TOLKROM187, hide 125, show 145, end 145, show 125, "
              "save TOLKROM187, hide 125, show 152, end 152, show 145, end 145, show 125, end 125\n"
              "unknown: show 125, save TOLKROM187, end 125\n"
              "just enough: show 125, save TOLKROM187, end 125\n",
              events);
}

TEST_F(SaveSequence, proposes_the_version_without_its_point_whatever_the_version) {
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

// Files are looked for beside the place where the wizard was started.
TEST_F(SaveSequence, neither_dialog_changes_the_working_directory) {
    std::filesystem::create_directory(folder_ / "other");
    test_support::WriteFileBytes(folder_ / "other/image.nbf", "image");
    EXPECT_EQ(1000, Save({"other/mine"}));
    user_.files = {"other/image.nbf"};
    char path[260] = "";
    EXPECT_TRUE(AskForImageFile(nullptr, path));
    EXPECT_EQ(folder_, std::filesystem::current_path());
}

} // namespace
