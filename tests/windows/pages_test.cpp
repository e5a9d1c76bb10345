// Starts the check of every page as Windows draws it: inside/pages_test.cpp, which runs there.
// label: windows

#include "testing/wine.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

TEST(Windows, shows_every_page_whole_and_gives_its_results) {
    if (WindowsFolder().empty())
        GTEST_SKIP() << "no Windows here: scripts/test-windows-program brings it";
    const TestHome home;
    const auto pictures = std::filesystem::path(BUILD_FOLDER) / "pages" / "windows";
    std::filesystem::create_directories(pictures);
    const WindowsPc pc(home);
    const auto judge = pc.Start({WindowsFolder() + "/pages-test.exe"},
                                {{"PAGE_PICTURES", "Z:" + pictures.string()}});
    judge->CloseInput();
    const auto isTest = [](const std::string& line) { return line.starts_with("[ RUN"); };
    const auto isProgress = [&](const std::string& line) {
        return isTest(line) || line.ends_with("ms total)");
    };
    while (isTest(judge->ExpectLine(isProgress, "of the next test"))) {
    }
    EXPECT_EQ(0, judge->Wait()) << judge->Transcript();
}

} // namespace
