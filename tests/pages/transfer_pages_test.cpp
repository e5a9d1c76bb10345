// The pages around a transfer: the running one with its real workers, and the two that follow a
// good one.
// label: threads

#include "pages/closing_pages.h"
#include "pages/progress_pages.h"
#include "platform/windows/pages.h"
#include "testing/comes_true.h"
#include "testing/page_test.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

using namespace page_test;

class TransferPages : public PageTest {
protected:
    void SetUp() override {
        PageTest::SetUp();
        State.Link.Verdict = TransferVerdict::Open;
        State.Run.TransferAborted = State.Link.StopReceive = false;
        State.Run.BusyCursor = true;
    }
    void WriteImage(const char* header) {
        const std::filesystem::path path = folder_ / "image.nbf";
        test_support::WriteFileBytes(path, header + std::string(64, '\0'));
        std::snprintf(State.Paths.ImagePath, sizeof(State.Paths.ImagePath), "%s",
                      WindowsPathOf(path).c_str());
    }

    // A program on the PATH that writes down from where and with what it was started. Gives the
    // file of that record.
    std::filesystem::path AddProgram(const std::string& name) {
        const std::filesystem::path program = folder_ / name;
        std::filesystem::path record = program.string() + ".started";
        std::filesystem::create_directories(program.parent_path());
        std::ofstream(program) << "#!/bin/sh\n(pwd; echo \"$@\") > " << record.string()
                               << ".part\nmv " << record.string() << ".part " << record.string()
                               << "\n";
        chmod(program.c_str(), 0755);
        setenv("PATH", (program.parent_path().string() + ":/usr/bin:/bin").c_str(), 1);
        return record;
    }

    static std::string WaitForText(const std::filesystem::path& path) {
        test_support::ComesTrue([&] { return std::filesystem::exists(path); });
        return ReadBytes(path);
    }
};

TEST_F(TransferPages, a_link_on_which_nobody_answers_ends_the_page_with_2) {
    EXPECT_EQ(2, ShowPage(ProgressPage));
    EXPECT_TRUE(State.Run.TransferAborted);
    EXPECT_TRUE(State.Link.StopReceive);
    EXPECT_EQ(nullptr, State.Windows.ProgressPage.load());
    const PageView& page = Last(102);
    EXPECT_EQ("", page.title);
    EXPECT_EQ(Utf8(CatalogText(11033)), TextOf(page, 1043));
    EXPECT_EQ(Utf8(CatalogText(11110)), TextOf(page, 1131));
    EXPECT_EQ(Utf8(CatalogText(11113)), TextOf(page, 1132));
    EXPECT_EQ("0", TextOf(page, 1023));
    EXPECT_EQ(RGB(255, 0, 0), Find(page, 1131)->painted.textColour);
    EXPECT_TRUE(page.pictures.empty());
}

TEST_F(TransferPages, a_resumed_run_with_another_models_image_marks_the_model_alone) {
    OpenMainWindow();
    WriteImage("TOLKP2000-JPN-2.01-1234---------");
    std::strcpy(State.Handheld.DeviceLanguage, "FRE");
    State.Run.SerialLinkSelected = false;
    State.Run.BootloaderResume = true;
    State.Run.BusyCursor = false;
    PageView progress;
    user_.steps.push_back({123, "2", [&](const PageView&) {
                               const HWND page = State.Windows.ProgressPage;
                               progress = platform::ViewOf(*platform::FindWindowByHandle(page));
                               return true;
                           }});
    EXPECT_EQ(PageNotShown, ShowPage(ResumeProgressPage));
    EXPECT_TRUE(State.Run.BusyCursor);
    const PageView& error = Last(123);
    EXPECT_EQ(0, progress.rect.right - progress.rect.left) << "the page covers the error";
    ASSERT_TRUE(Find(error, 1060) && Find(error, 1062));
    EXPECT_EQ(RGB(255, 0, 0), Find(error, 1060)->painted.background);
    EXPECT_NE(RGB(255, 0, 0), Find(error, 1062)->painted.background);
    // Though the record says USB: the bootloader is reached over the serial port.
    EXPECT_EQ(Utf8(CatalogText(11113)), TextOf(progress, 1132));
}

TEST_F(TransferPages, the_readme_is_opened_in_the_folder_of_the_images_language) {
    const std::filesystem::path early = AddProgram("early/wordpad.exe");
    std::filesystem::create_directory(folder_ / "Japanese");
    std::snprintf(State.Paths.AppDirectory, sizeof(State.Paths.AppDirectory), "%s",
                  WindowsPathOf(folder_).c_str());
    const Step clear = {160, "1134"}, finish = {160, "1"}, leave = {160, "esc"};
    user_.steps = {leave};
    EXPECT_EQ(1, ShowPage(FinishPage()));
    user_.steps = {clear, finish};
    EXPECT_EQ(0, ShowPage(FinishPage()));
    const std::filesystem::path late = AddProgram("late/wordpad.exe");
    user_.steps = {finish};
    EXPECT_EQ(0, ShowPage(FinishPage()));
    EXPECT_EQ((folder_ / "Japanese").string() + "\nreadme.doc\n", WaitForText(late));
    EXPECT_FALSE(std::filesystem::exists(early));
}

} // namespace
