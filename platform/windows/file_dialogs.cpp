// The calls of commdlg.h: the display asks for a file, the answer is checked here, and an unusable
// one is asked for again, with the reason. The thread's messages are served meanwhile.
//
// The caller's buffer holds Windows-1252. A path with other letters, or too long for the buffer,
// is refused while the user can still choose another: cut or with '?' it would name another file.

#include "platform/base/text.h"
#include "platform/files/paths.h"
#include "platform/windows/pages.h"

#include <windows.h>

#include <commdlg.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace platform {

namespace {

namespace fs = std::filesystem;

bool IsUsable(const OPENFILENAMEA* dialog) {
    return dialog && dialog->lStructSize == OPENFILENAME_SIZE_VERSION_400A && dialog->lpstrFile &&
           dialog->nMaxFile > 0 && (dialog->Flags & OFN_NOCHANGEDIR);
}

std::vector<std::string> FilterNames(const char* filter) {
    std::vector<std::string> names;
    while (filter && *filter) {
        names.push_back(Utf8FromAnsi(filter));
        filter += std::strlen(filter) + 1; // the pattern
        filter += std::strlen(filter) + 1; // the next pair
    }
    return names;
}

FileRequest RequestOf(const OPENFILENAMEA& dialog, bool save) {
    std::string proposal(dialog.lpstrFile, strnlen(dialog.lpstrFile, dialog.nMaxFile));
    return {save, dialog.hwndOwner, Utf8FromAnsi(proposal), FilterNames(dialog.lpstrFilter)};
}

// An answer as checked: its path, or why it is refused.
struct CheckedPath {
    fs::path host;
    std::string windows; // Windows-1252
    std::optional<Sentence> error;
};

CheckedPath Refuse(Phrase reason, std::string value = {}) {
    return {{}, {}, Sentence{reason, std::move(value)}};
}

bool Quoted(const std::string& text) {
    return text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
           text.front() == text.back();
}

// Without the quotes that a terminal puts around a dropped file, and with ~ as the home folder.
std::string Plain(std::string path) {
    if (Quoted(path))
        path = path.substr(1, path.size() - 2);
    const char* home = std::getenv("HOME");
    if (home && !path.empty() && path[0] == '~' &&
        (path.size() == 1 || path[1] == '/' || path[1] == '\\'))
        path = home + path.substr(1);
    return path;
}

fs::path HostOf(const std::string& ansi) {
    std::string host = HostPath(ansi);
    return host.empty() ? fs::path() : fs::absolute(host).lexically_normal();
}

bool HasExtension(const fs::path& path) { return path.extension().string().size() > 1; }

bool Exists(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool IsFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

// Adds the default extension to a name without one, unless a file of just that name can be opened.
fs::path WithExtension(const std::string& ansi, const fs::path& host, const OPENFILENAMEA& dialog,
                       bool save) {
    if (!dialog.lpstrDefExt || HasExtension(host) || IsFolder(host) || (!save && Exists(host)))
        return host;
    return HostOf(ansi + "." + dialog.lpstrDefExt);
}

// The path as the caller will see it: must lead back to the same file.
CheckedPath CheckForCaller(const fs::path& host, const OPENFILENAMEA& dialog) {
    std::string windows = WindowsPath(host.string());
    if (HostOf(windows) != host)
        return Refuse(Phrase::UnusableLetters, host.string());
    if (windows.size() >= dialog.nMaxFile)
        return Refuse(Phrase::NameTooLong);
    return {host, windows, std::nullopt};
}

CheckedPath CheckAnswer(const std::string& answer, const OPENFILENAMEA& dialog, bool save) {
    std::string utf8 = Plain(answer);
    std::string ansi = AnsiFromUtf8(utf8);
    if (Utf8FromAnsi(ansi) != utf8)
        return Refuse(Phrase::UnusableLetters, utf8);
    fs::path host = HostOf(ansi);
    if (host.empty())
        return Refuse(Phrase::NoSuchDrive, utf8);
    host = WithExtension(ansi, host, dialog, save);
    if (IsFolder(host) || !host.has_filename())
        return Refuse(Phrase::IsFolder, host.string());
    if (!IsFolder(host.parent_path()))
        return Refuse(Phrase::NoSuchFolder, host.parent_path().string());
    if (!save && (dialog.Flags & OFN_FILEMUSTEXIST) && !Exists(host))
        return Refuse(Phrase::NoSuchFile, host.string());
    return CheckForCaller(host, dialog);
}

// A file dialog that is up: registered with the display's input from construction to the end.
class FileDialog {
public:
    FileDialog(FileRequest request, HWND owner)
        : request_(std::move(request)), owner_(owner), active_{CurrentQueue(), 0, std::nullopt} {
        auto lock = LockWindows();
        active_.showOrder = ++Model().lastShowOrder;
        Model().fileDialogs.push_back(&active_);
        ActiveDisplay().ShowFileDialog(request_);
    }
    FileDialog(const FileDialog&) = delete;
    FileDialog& operator=(const FileDialog&) = delete;
    ~FileDialog() {
        auto lock = LockWindows();
        std::erase(Model().fileDialogs, &active_);
        ActiveDisplay().CloseFileDialog();
        WakeAllThreads();
    }

    // None: cancelled, or cut short by a quit message or the end of the owner.
    std::optional<std::string> WaitForAnswer();

    void ShowAgain(const Sentence& error) {
        auto lock = LockWindows();
        active_.answer.reset();
        ActiveDisplay().ShowError(error);
        ActiveDisplay().ShowFileDialog(request_);
    }

private:
    bool IsOver() const { return active_.answer || (owner_ && !FindWindowByHandle(owner_)); }

    FileRequest request_;
    HWND owner_;
    ActiveFileDialog active_;
};

std::optional<std::string> FileDialog::WaitForAnswer() {
    MSG message;
    for (;;) {
        FetchResult fetched = FetchMessage(message, [this] { return IsOver(); });
        if (fetched == FetchResult::Message) {
            DispatchMessageA(&message);
            continue;
        }
        if (fetched == FetchResult::Quit)
            PostQuitMessage(static_cast<int>(message.wParam));
        if (!active_.answer || active_.answer->cancelled)
            return std::nullopt;
        return active_.answer->path;
    }
}

bool RunUntilUsable(OPENFILENAMEA& dialog, bool save) {
    FileDialog fileDialog(RequestOf(dialog, save), dialog.hwndOwner);
    while (auto answer = fileDialog.WaitForAnswer()) {
        CheckedPath checked = CheckAnswer(*answer, dialog, save);
        if (!checked.error) {
            std::memcpy(dialog.lpstrFile, checked.windows.c_str(), checked.windows.size() + 1);
            return true;
        }
        fileDialog.ShowAgain(*checked.error);
    }
    return false;
}

BOOL RunFileDialog(OPENFILENAMEA* dialog, bool save) {
    if (!IsUsable(dialog))
        return FALSE;
    HWND owner = dialog->hwndOwner;
    bool ownerWasInUse = owner && !EnableWindow(owner, FALSE);
    bool chosen = RunUntilUsable(*dialog, save);
    if (ownerWasInUse)
        EnableWindow(owner, TRUE);
    return chosen ? TRUE : FALSE;
}

} // namespace

} // namespace platform

BOOL WINAPI GetOpenFileNameA(LPOPENFILENAMEA dialog) {
    return platform::RunFileDialog(dialog, false);
}

BOOL WINAPI GetSaveFileNameA(LPOPENFILENAMEA dialog) {
    return platform::RunFileDialog(dialog, true);
}
