// The file dialogs on the terminal display.
// label: threads

#include "testing/child_process.h"
#include "testing/test_home.h"

#include <windows.h>

#include <commdlg.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace test_support;

namespace {

// Prints the result in brackets, its bytes above 7F as they are.
int RunDialog(bool save, DWORD capacity) {
    std::string buffer(capacity, '\0');
    if (save)
        buffer.replace(0, 8, "PROPOSED");
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = OPENFILENAME_SIZE_VERSION_400A;
    dialog.lpstrFilter = "ROM image (*.nbf)\0*.nbf\0All files (*.*)\0*.*\0";
    dialog.lpstrFile = buffer.data();
    dialog.nMaxFile = capacity;
    dialog.lpstrInitialDir = "%USERPROFILE%\\My Documents";
    dialog.lpstrDefExt = "nbf";
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR;
    const bool chosen = save ? GetSaveFileNameA(&dialog) : GetOpenFileNameA(&dialog);
    std::printf("<%s>\n", chosen ? buffer.c_str() : "cancelled");
    return chosen;
}

class FileDialogs : public testing::Test {
protected:
    FileDialogs() {
        WriteFileBytes(folder_ / "Été 1.nbf", "image");
        WriteFileBytes(folder_ / "plain", "image");
        std::filesystem::current_path(folder_);
        setenv("HOME", HomeOfTests().Path().c_str(), 1);
    }

    // All that is printed by a dialog that is given these lines and the end of input.
    static std::string Lead(const std::string& lines, bool save = false, DWORD capacity = 260) {
        ChildProcess program([=] { return RunDialog(save, capacity); });
        program.Type(lines);
        program.CloseInput();
        return program.AllOutput();
    }
    std::string Result(const std::string& name) const {
        return "<" + WindowsPathOf(folder_ / name) + ">\n";
    }

    const std::filesystem::path folder_ = HomeOfTests().Path("folder");
    const std::string asked_ = "== open ==\nROM image (*.nbf)\nAll files (*.*)\n";
};

} // namespace

TEST_F(FileDialogs, opening_accepts_windows_and_host_paths_and_gives_the_full_one) {
    for (const std::string& line :
         {std::string("Été 1.nbf"), std::string("Été 1"), std::string("./ÉTÉ 1.NBF"),
          std::string("~/folder/Été 1.nbf"), "'" + (folder_ / "Été 1.nbf").string() + "'",
          std::string("..\\folder\\Été 1.nbf")})
        EXPECT_EQ(Lead(line + "\n"), asked_ + Result("\xC9t\xE9 1.nbf")) << line;
    EXPECT_EQ(Lead("plain\n"), asked_ + Result("plain")) << "it exists as it was given";
}

TEST_F(FileDialogs, opening_asks_again_after_an_unusable_path) {
    const std::string folder = folder_.string(), above = HomeOfTests().Path("nowhere").string();
    EXPECT_EQ(Lead("missing\n" + folder + "\n../nowhere/file.nbf\nC:\\file.nbf\n日本.nbf\n"),
              asked_ + "there is no such file: " + folder + "/missing.nbf\n" + asked_ +
                  "this is a folder, not a file: " + folder + "\n" + asked_ +
                  "there is no such folder: " + above + "\n" + asked_ +
                  "there is no such drive: C:\\file.nbf\n" + asked_ +
                  "the name has letters that cannot be used here: 日本.nbf\n" + asked_ +
                  "<cancelled>\n");
}

TEST_F(FileDialogs, saving_adds_the_extension_and_refuses_a_path_longer_than_the_buffer) {
    const std::string asked =
        "== save ==\nROM image (*.nbf)\nAll files (*.*)\nproposed: PROPOSED\n";
    const auto capacity = static_cast<DWORD>(WindowsPathOf(folder_ / "fits.nbf").size() + 1);
    EXPECT_EQ(Lead("1fits.nbf\n" + std::string(300, 'x') + "\n" + folder_.string() + "\nfits\n",
                   true, capacity),
              asked + "the name is too long\n" + asked + "the name is too long\n" + asked +
                  "this is a folder, not a file: " + folder_.string() + "\n" + asked +
                  Result("fits.nbf"));
}

TEST_F(FileDialogs, a_quit_message_cancels_and_stays_for_the_outer_loop) {
    ChildProcess program([] {
        PostQuitMessage(3);
        RunDialog(false, 260);
        MSG message;
        return GetMessageA(&message, nullptr, 0, 0) ? -1 : static_cast<int>(message.wParam);
    });
    EXPECT_EQ(program.AllOutput(), asked_ + "<cancelled>\n");
    EXPECT_EQ(program.Wait(), 3);
}
