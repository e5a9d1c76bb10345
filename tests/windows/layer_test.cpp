// The layer's tests of what Windows does, on Windows.
// label: windows

#include "testing/wine.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

TEST(LayerOnWindows, does_what_windows_does) {
    if (WindowsFolder().empty())
        GTEST_SKIP() << "no Windows here: scripts/test-windows-program brings it";
    const TestHome home;
    const WindowsPc pc(home);
    const auto tests = pc.Start({WindowsFolder() + "/layer-tests.exe"});
    EXPECT_EQ(0, tests->Wait()) << tests->Transcript();
    EXPECT_NE(std::string::npos, tests->Transcript().find("[  PASSED  ]"));
}

} // namespace
