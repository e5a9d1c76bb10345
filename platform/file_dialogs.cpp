// Asking for a file: the question goes to the display, the answer is judged here, and what cannot
// be meant is asked again with a plain word. The thread's messages are served meanwhile.
//
// The caller's buffer holds Windows-1252. A path with other letters, or too long for the buffer,
// is refused while the user can still choose another: cut or with '?' it would name another file.

#include "platform/pages.h"
#include "platform/paths.h"
#include "platform/text.h"

#include <windows.h>

#include <commdlg.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr DWORD SizeOn32Bits = 76;

bool IsUsable(const OPENFILENAMEA* dialog) {
    return dialog && dialog->lpstrFile && dialog->nMaxFile > 0 &&
           (dialog->lStructSize == sizeof(OPENFILENAMEA) || dialog->lStructSize == SizeOn32Bits ||
            dialog->lStructSize == OPENFILENAME_SIZE_VERSION_400A);
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

FileQuestion QuestionOf(const OPENFILENAMEA& dialog, bool save) {
    std::string proposal(dialog.lpstrFile, strnlen(dialog.lpstrFile, dialog.nMaxFile));
    return {save, dialog.hwndOwner, Utf8FromAnsi(proposal), FilterNames(dialog.lpstrFilter)};
}

// What became of an answer: a path, or why it cannot be taken.
struct Judgement {
    fs::path host;
    std::string windows; // Windows-1252
    std::string complaint;
};

Judgement Refuse(std::string complaint) { return {{}, {}, std::move(complaint)}; }

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

// The default extension goes to a name without one; a file that exists as it was given is meant.
fs::path WithExtension(const std::string& ansi, const fs::path& host, const OPENFILENAMEA& dialog,
                       bool save) {
    if (!dialog.lpstrDefExt || HasExtension(host) || IsFolder(host) || (!save && Exists(host)))
        return host;
    return HostOf(ansi + "." + dialog.lpstrDefExt);
}

// The path as the caller will see it: must lead back to the same file.
Judgement InCallersTerms(const fs::path& host, const OPENFILENAMEA& dialog) {
    std::string windows = WindowsPath(host.string());
    if (HostOf(windows) != host)
        return Refuse("the name has letters that cannot be used here: " + host.string());
    if (windows.size() >= dialog.nMaxFile)
        return Refuse("the name is too long");
    return {host, windows, {}};
}

Judgement Judge(const std::string& answer, const OPENFILENAMEA& dialog, bool save) {
    std::string utf8 = Plain(answer);
    std::string ansi = AnsiFromUtf8(utf8);
    if (Utf8FromAnsi(ansi) != utf8)
        return Refuse("the name has letters that cannot be used here: " + utf8);
    fs::path host = HostOf(ansi);
    if (host.empty())
        return Refuse("there is no such drive: " + utf8);
    host = WithExtension(ansi, host, dialog, save);
    if (IsFolder(host) || !host.has_filename())
        return Refuse("this is a folder, not a file: " + host.string());
    if (!IsFolder(host.parent_path()))
        return Refuse("there is no such folder: " + host.parent_path().string());
    if (!save && (dialog.Flags & OFN_FILEMUSTEXIST) && !Exists(host))
        return Refuse("there is no such file: " + host.string());
    return InCallersTerms(host, dialog);
}

void CopyTitle(const std::string& name, OPENFILENAMEA& dialog) {
    if (!dialog.lpstrFileTitle || dialog.nMaxFileTitle == 0)
        return;
    std::size_t length = std::min<std::size_t>(name.size(), dialog.nMaxFileTitle - 1);
    std::memcpy(dialog.lpstrFileTitle, name.data(), length);
    dialog.lpstrFileTitle[length] = '\0';
}

void Give(const Judgement& judgement, OPENFILENAMEA& dialog) {
    const std::string& path = judgement.windows;
    std::memcpy(dialog.lpstrFile, path.c_str(), path.size() + 1);
    std::size_t name = path.find_last_of('\\') + 1;
    std::size_t dot = path.find_last_of('.');
    dialog.nFileOffset = static_cast<WORD>(name);
    dialog.nFileExtension =
        dot == std::string::npos || dot < name ? WORD{0} : static_cast<WORD>(dot + 1);
    CopyTitle(path.substr(name), dialog);
    std::error_code ignored; // where the folder cannot be entered, the program stays where it is
    if (!(dialog.Flags & OFN_NOCHANGEDIR))
        fs::current_path(judgement.host.parent_path(), ignored);
}

// A question that is up: registered with the displays' input from construction to the end.
class StandingQuestion {
public:
    StandingQuestion(FileQuestion question, HWND owner)
        : question_(std::move(question)), owner_(owner), open_{CurrentQueue(), 0, std::nullopt} {
        auto lock = LockWindows();
        open_.showOrder = ++Windows().lastShowOrder;
        Windows().questions.push_back(&open_);
        TheDisplay().AskFile(question_);
    }
    StandingQuestion(const StandingQuestion&) = delete;
    StandingQuestion& operator=(const StandingQuestion&) = delete;
    ~StandingQuestion() {
        auto lock = LockWindows();
        std::erase(Windows().questions, &open_);
        TheDisplay().EndQuestion();
        WakeAllThreads();
    }

    // None: cancelled, or cut short by a quit message or the end of the owner.
    std::optional<std::string> Answer();

    void AskAgain(const std::string& complaint) {
        auto lock = LockWindows();
        open_.answer.reset();
        TheDisplay().Complain(complaint);
        TheDisplay().AskFile(question_);
    }

private:
    bool IsOver() const { return open_.answer || (owner_ && !FindWindowByHandle(owner_)); }

    FileQuestion question_;
    HWND owner_;
    OpenQuestion open_;
};

std::optional<std::string> StandingQuestion::Answer() {
    MSG message;
    for (;;) {
        Fetched fetched = FetchMessage(message, [this] { return IsOver(); });
        if (fetched == Fetched::Message) {
            DispatchMessageA(&message);
            continue;
        }
        if (fetched == Fetched::Quit)
            PostQuitMessage(static_cast<int>(message.wParam));
        if (!open_.answer || open_.answer->cancelled)
            return std::nullopt;
        return open_.answer->path;
    }
}

bool AskUntilUsable(OPENFILENAMEA& dialog, bool save) {
    StandingQuestion question(QuestionOf(dialog, save), dialog.hwndOwner);
    while (auto answer = question.Answer()) {
        Judgement judgement = Judge(*answer, dialog, save);
        if (judgement.complaint.empty()) {
            Give(judgement, dialog);
            return true;
        }
        question.AskAgain(judgement.complaint);
    }
    return false;
}

BOOL RunFileDialog(OPENFILENAMEA* dialog, bool save) {
    if (!IsUsable(dialog))
        return FALSE;
    HWND owner = dialog->hwndOwner;
    bool ownerWasInUse = owner && !EnableWindow(owner, FALSE);
    bool chosen = AskUntilUsable(*dialog, save);
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
