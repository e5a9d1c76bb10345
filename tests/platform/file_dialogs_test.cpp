// The file dialogs on the terminal display.
// label: threads

#include "tests/platform/page_program.h"
#include "tests/platform/window_support.h"

#include <commdlg.h>

#include <algorithm>

using namespace window_support;

namespace {

OPENFILENAMEA Dialog(char* buffer, DWORD capacity) {
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = OPENFILENAME_SIZE_VERSION_400A;
    dialog.lpstrFilter = "ROM image (*.nbf)\0*.nbf\0All files (*.*)\0*.*\0";
    dialog.lpstrFile = buffer;
    dialog.nMaxFile = capacity;
    dialog.lpstrInitialDir = "%USERPROFILE%\\My Documents";
    dialog.lpstrDefExt = "nbf";
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR;
    return dialog;
}

// Prints the result in brackets, its bytes above 7F as they are.
int RunDialog(bool save, DWORD capacity = 260) {
    std::string buffer(capacity, '\0');
    if (save)
        buffer.replace(0, 8, "PROPOSED");
    OPENFILENAMEA dialog = Dialog(buffer.data(), capacity);
    bool chosen = save ? GetSaveFileNameA(&dialog) : GetOpenFileNameA(&dialog);
    std::printf("<%s>\n", chosen ? buffer.c_str() : "cancelled");
    return chosen;
}

class FileDialogs : public testing::Test {
protected:
    FileDialogs() {
        std::filesystem::create_directory(folder_);
        std::ofstream(folder_ / "Été 1.nbf") << "image";
        std::ofstream(folder_ / "plain") << "image";
        std::filesystem::current_path(folder_);
        setenv("HOME", ownHome.Work().c_str(), 1);
    }
    ~FileDialogs() override { std::filesystem::current_path("/"); }

    // The Windows path of a file in the folder, Windows-1252.
    std::string Path(const std::string& name) const {
        std::string path = "Z:" + (folder_ / "").string() + name;
        std::replace(path.begin(), path.end(), '/', '\\');
        return path;
    }
    std::string Result(const std::string& name) const { return "<" + Path(name) + ">\n"; }

    std::filesystem::path folder_ = ownHome.Work() / "folder";
};

constexpr char OpenQuestion[] = "== open ==\nROM image (*.nbf)\nAll files (*.*)\n";

} // namespace

TEST_F(FileDialogs, opening_accepts_windows_and_host_paths_and_gives_the_full_one) {
    for (const std::string& line :
         {std::string("Été 1.nbf"), std::string("Été 1"), std::string("./ÉTÉ 1.NBF"),
          std::string("~/folder/Été 1.nbf"), "'" + (folder_ / "Été 1.nbf").string() + "'",
          std::string("..\\folder\\Été 1.nbf")}) {
        PageProgram program([] { return RunDialog(false); });
        program.Send(line + "\n");
        EXPECT_EQ(program.Rest(), OpenQuestion + Result("\xC9t\xE9 1.nbf")) << line;
    }
    PageProgram program([] { return RunDialog(false); });
    program.Send("plain\n");
    EXPECT_EQ(program.Rest(), OpenQuestion + Result("plain")) << "it exists as it was given";
}

TEST_F(FileDialogs, opening_asks_again_after_an_unusable_path) {
    std::string folder = folder_.string();
    PageProgram program([] { return RunDialog(false); });
    program.Send("missing\n" + folder + "\n../nowhere/file.nbf\nC:\\file.nbf\n日本.nbf\n\n");
    std::string asked = OpenQuestion;
    EXPECT_EQ(program.Rest(), asked + "there is no such file: " + folder + "/missing.nbf\n" +
                                  asked + "this is a folder, not a file: " + folder + "\n" + asked +
                                  "there is no such folder: " + ownHome.Work().string() +
                                  "/nowhere\n" + asked + "there is no such drive: C:\\file.nbf\n" +
                                  asked +
                                  "the name has letters that cannot be used here: 日本.nbf\n" +
                                  asked + "<cancelled>\n");
    EXPECT_EQ(program.Finish(), 0);
}

TEST_F(FileDialogs, saving_adds_the_extension_and_refuses_a_path_longer_than_the_buffer) {
    auto capacity = static_cast<DWORD>(Path("fits.nbf").size() + 1);
    PageProgram program([capacity] { return RunDialog(true, capacity); });
    program.Send("longer.nbf\n" + std::string(300, 'x') + "\n" + folder_.string() + "\nfits\n");
    std::string asked = "== save ==\nROM image (*.nbf)\nAll files (*.*)\nproposed: PROPOSED\n";
    EXPECT_EQ(program.Rest(), asked + "the name is too long\n" + asked + "the name is too long\n" +
                                  asked + "this is a folder, not a file: " + folder_.string() +
                                  "\n" + asked + Result("fits.nbf"));
    EXPECT_EQ(program.Finish(), 1);
}

TEST_F(FileDialogs, the_end_of_input_a_quit_message_and_the_end_of_the_owner_cancel) {
    PageProgram ended([] { return RunDialog(false); });
    ended.CloseInput();
    EXPECT_EQ(ended.Rest(), std::string(OpenQuestion) + "<cancelled>\n");
    PageProgram quit([] {
        PostQuitMessage(3);
        RunDialog(false);
        MSG message;
        return PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) && message.message == WM_QUIT;
    });
    EXPECT_EQ(quit.Rest(), std::string(OpenQuestion) + "<cancelled>\n");
    EXPECT_EQ(quit.Finish(), 1) << "the quit message stays for the outer loop";
    PageProgram owned([] {
        HWND owner = OpenPlainWindow("OWNER", "owner");
        char buffer[260] = {};
        OPENFILENAMEA dialog = Dialog(buffer, sizeof(buffer));
        dialog.hwndOwner = owner;
        PostMessageA(owner, WM_CLOSE, 0, 0);
        return GetOpenFileNameA(&dialog) ? 1 : 0;
    });
    EXPECT_EQ(owned.Rest(), OpenQuestion);
    EXPECT_EQ(owned.Finish(), 0);
}
