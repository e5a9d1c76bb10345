// Starting a program or opening a document, with programs of the test's own in PATH.
// label: threads

#include "testing/comes_true.h"
#include "tests/platform/window_support.h"

#include "platform/files/paths.h"

#include <shellapi.h>

using namespace window_support;

namespace {

class Shell : public testing::Test {
protected:
    Shell() {
        std::filesystem::create_directory(Folder());
        std::ofstream(Folder() / "Readme.doc") << "text";
        std::filesystem::remove_all(ownHome.Work() / "bin");
        std::filesystem::create_directory(ownHome.Work() / "bin");
        std::filesystem::remove(Recorded());
        setenv("PATH", ((ownHome.Work() / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
    }

    // A program that writes down its folder and arguments, in one step.
    void Install(const std::string& name) {
        auto path = ownHome.Work() / name;
        std::ofstream(path) << "#!/bin/sh\nprintf '%s|' \"$PWD\" \"$@\" > " << Recorded().string()
                            << ".new\nmv " << Recorded().string() << ".new " << Recorded().string()
                            << "\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    // No command line of Windows could carry its name.
    std::filesystem::path Folder() const { return ownHome.Work() / "\" --manual \"日"; }
    std::filesystem::path Recorded() const { return ownHome.Work() / "recorded"; }

    // Executes, and gives what the program has recorded.
    std::string Execute() {
        std::string folder = platform::WindowsPath(Folder().string());
        SHELLEXECUTEINFOA info = {};
        info.cbSize = sizeof(info);
        info.fMask = SEE_MASK_NOCLOSEPROCESS;
        info.lpFile = "wordpad.exe";
        info.lpParameters = "readme.doc";
        info.lpDirectory = folder.c_str();
        info.nShow = SW_SHOWMAXIMIZED;
        if (!ShellExecuteExA(&info))
            return "failed " + std::to_string(GetLastError());
        EXPECT_NE(info.hProcess, nullptr);
        EXPECT_TRUE(CloseHandle(info.hProcess));
        EXPECT_TRUE(test_support::ComesTrue([this] { return exists(Recorded()); }));
        std::ifstream recorded(Recorded());
        return {std::istreambuf_iterator<char>(recorded), {}};
    }
};

} // namespace

TEST_F(Shell, opens_the_document_where_the_host_has_no_such_program) {
    Install("bin/xdg-open");
    Install("wordpad.exe"); // in the current folder, which a PATH may name
    std::filesystem::current_path(ownHome.Work());
    const char* path = getenv("PATH");
    ASSERT_TRUE(path);
    setenv("PATH", (".::" + std::string(path)).c_str(), 1);
    std::string folder = Folder().string();
    EXPECT_EQ(Execute(), folder + "|" + folder + "/Readme.doc|") << "by its name on the host";
    std::filesystem::remove(folder + "/Readme.doc");
    EXPECT_EQ(Execute(), "failed 2");
}
