// Opening a document, with programs of the test's own in PATH.
// label: threads

#include "platform/files/paths.h"
#include "testing/comes_true.h"
#include "testing/test_home.h"

#include <windows.h>

#include <shellapi.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

namespace fs = std::filesystem;
using test_support::HomeOfTests;
using test_support::WriteFileBytes;

// A program that writes down its name, folder and arguments, in one step.
void Install(const fs::path& program, const fs::path& recorded) {
    WriteFileBytes(program, "#!/bin/sh\nprintf '%s|' \"${0##*/}\" \"$PWD\" \"$@\" > " +
                                recorded.string() + ".new\nmv " + recorded.string() + ".new " +
                                recorded.string() + "\n");
    fs::permissions(program, fs::perms::owner_all);
}

bool Execute(const fs::path& folder) {
    const std::string windowsFolder = platform::WindowsPath(folder.string());
    SHELLEXECUTEINFOA info = {};
    info.cbSize = sizeof(info);
    info.fMask = SEE_MASK_NOCLOSEPROCESS;
    info.lpFile = "wordpad.exe";
    info.lpParameters = "readme.doc";
    info.lpDirectory = windowsFolder.c_str();
    info.nShow = SW_SHOWMAXIMIZED;
    return ShellExecuteExA(&info) && info.hProcess && CloseHandle(info.hProcess);
}

TEST(Shell, starts_the_program_of_the_host_or_else_opens_the_document) {
    const auto bin = HomeOfTests().Path("bin"), recorded = HomeOfTests().Path("recorded");
    // No command line of Windows could carry its name.
    const auto folder = HomeOfTests().Path("\" --manual \"日");
    WriteFileBytes(folder / "Readme.doc", "text");
    Install(bin / "xdg-open", recorded);
    // The current folder, which a PATH may name, is not searched.
    Install(HomeOfTests().Tree() / "wordpad.exe", recorded);
    fs::current_path(HomeOfTests().Tree());
    setenv("PATH", (".::" + bin.string() + ":/usr/bin:/bin").c_str(), 1);
    const auto execute = [&] {
        fs::remove(recorded);
        EXPECT_TRUE(Execute(folder));
        EXPECT_TRUE(test_support::ComesTrue([&] { return fs::exists(recorded); }));
        return test_support::ReadBytes(recorded);
    };
    const std::string there = folder.string() + "|";
    EXPECT_EQ(execute(), "xdg-open|" + there + folder.string() + "/Readme.doc|");
    Install(bin / "wordpad.exe", recorded);
    EXPECT_EQ(execute(), "wordpad.exe|" + there + "readme.doc|");
    fs::remove(bin / "wordpad.exe");
    fs::remove(folder / "Readme.doc");
    EXPECT_FALSE(Execute(folder));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

} // namespace
