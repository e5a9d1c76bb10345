// Names of files as a person types them: what a file dialog accepts leads to one file of the host,
// in a folder that is there, and fits the caller's buffer.

#include "platform/files/file_names.h"
#include "platform/files/paths.h"
#include "platform/windows/display.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <windows.h>

#include <commdlg.h>

#include <utility>

using fuzz::Require;
using namespace platform;

namespace {

// Types one line, and then nothing more.
struct Typist : Display {
    std::optional<std::string> line;

    void ShowPage(const PageView&) override {}
    void HidePage(const PageView&) override {}
    void UpdateControl(const PageView&, const ControlView&) override {}
    void EndPage(const PageView&) override {}
    void ShowFileDialog(const FileRequest&) override {}
    void ShowError(const Sentence& sentence) override { Require(!InEnglish(sentence).empty()); }
    std::optional<FileAnswer> NextAnswer() override {
        return FileAnswer{!line, std::exchange(line, std::nullopt).value_or("")};
    }
};

bool Prepare() {
    const auto folder = test_support::HomeOfTests().Path("folder");
    for (const char* name : {"plain", "image.nbf", "IMAGE.NBF", "\xC3\x89t\xC3\xA9.nbf",
                             "\xC9t\xE9", "\xE6\x97\xA5", "a\\b", "below/x"})
        test_support::WriteFileBytes(folder / name, "");
    std::filesystem::current_path(folder);
    setenv("HOME", folder.c_str(), 1);
    return true;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Typist& typist = *new Typist;
    static const bool ready = Prepare();
    fuzz::Input input(data, size);
    const bool save = !ready || input.Byte() % 2;
    std::string buffer(input.Byte() + 1U, '\0');
    typist.line = input.Text();
    UseDisplay(&typist);
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = OPENFILENAME_SIZE_VERSION_400A;
    dialog.lpstrFile = buffer.data();
    dialog.nMaxFile = static_cast<DWORD>(buffer.size());
    dialog.lpstrDefExt = "nbf";
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR;
    if (!(save ? GetSaveFileNameA(&dialog) : GetOpenFileNameA(&dialog)))
        return 0;
    const std::string path = buffer.c_str();
    const std::filesystem::path host = HostPath(path);
    Require(path.starts_with("Z:\\") && path.size() < buffer.size() &&
            WindowsPath(host.string()) == path);
    Require(std::filesystem::is_directory(host.parent_path()) &&
            !std::filesystem::is_directory(host));
    Require(save || std::filesystem::exists(host));
    return 0;
}
