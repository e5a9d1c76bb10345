// The user of a Windows program with pages: starts it, prints what is on the screen, and carries
// out the lines of its input with mouse and keyboard.
//
//   page-user PROGRAM      in the working directory that the program is to have
//
// It prints what the wizard's own terminal does, so that tests can drive either: "== 158 ==" when a
// page has come up, its texts, "-- 158 --" when it has gone, "== save ==" and "== open ==" for the
// file dialogs. A text of a page that is cut comes as "page-user: cut: " with it.
// A line of input is the number of a control to click, "" for Enter, "esc" for Escape, "away" for a
// look at another window, or a path for a file dialog. "window TITLE" waits for a window of any
// program, "focus 2" for that control to have the focus, 0 for the page itself; "close" is another
// program that wants this one to end. It ends with the program, and with its exit code.

#include "tests/windows/inside/page_layout.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <iterator>
#include <mutex>
#include <ranges>
#include <string>
#include <thread>
#include <vector>

namespace {

using page_test::TextOf;

constexpr DWORD PollMilliseconds = 10;
constexpr int MaxTries = 6000; // of a wait for something on the screen: a minute

// A dialog does not know the number of its template; a control that no other page has identifies
// it.
struct Mark {
    int page, control;
};
constexpr Mark Marks[] = {
    {102, 1131}, {103, 1038}, {105, 1040}, {109, 1064}, {114, 1039}, {121, 1044}, {122, 1072},
    {123, 1055}, {124, 1048}, {125, 1041}, {130, 1128}, {132, 1087}, {138, 1091}, {139, 1093},
    {140, 1095}, {141, 1097}, {142, 1099}, {143, 1105}, {144, 1106}, {145, 1108}, {146, 1110},
    {147, 1113}, {151, 1116}, {152, 1122}, {158, 1152}, {160, 1088}, {161, 1045}, {165, 1172},
    {166, 1176}, {167, 1193}, {153, 1127}, // which the last page has too
};

std::string NameOf(HWND dialog) {
    char label[32] = "";
    GetDlgItemTextA(dialog, IDOK, label, sizeof(label));
    const std::string button(label);
    if (button == "&Save" || button == "&Open") // of a common file dialog; here they are English
        return button == "&Save" ? "save" : "open";
    const auto mark = std::ranges::find_if(
        Marks, [dialog](const Mark& one) { return GetDlgItem(dialog, one.control) != nullptr; });
    return mark == std::end(Marks) ? "?" : std::to_string(mark->page);
}

struct Shown {
    HWND window;
    std::string name;
};

DWORD program = 0;             // whose dialogs are looked at
std::vector<Shown> shownPages; // the newest last

bool IsOnScreen(HWND dialog) {
    RECT rect = {};
    return IsWindowVisible(dialog) && GetWindowRect(dialog, &rect) && rect.right > rect.left;
}

// Whether it is a window of the program, of that class.
bool IsOfProgram(HWND window, const std::string& className) {
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    char name[16] = "";
    GetClassNameA(window, name, sizeof(name));
    return owner == program && name == className;
}

BOOL CALLBACK CollectDialog(HWND window, LPARAM list) {
    if (IsOfProgram(window, "#32770") && IsOnScreen(window))
        reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
}

BOOL CALLBACK PostClose(HWND window, LPARAM) {
    if (IsOfProgram(window, "#32770") || IsOfProgram(window, "SETUP"))
        PostMessageA(window, WM_CLOSE, 0, 0);
    return TRUE;
}

BOOL CALLBACK AppendControl(HWND control, LPARAM lines) {
    if (IsWindowVisible(control))
        *reinterpret_cast<std::string*>(lines) += "[" + std::to_string(GetDlgCtrlID(control)) +
                                                  (IsWindowEnabled(control) ? "] " : "]- ") +
                                                  TextOf(control) + "\n";
    return TRUE;
}

void Open(HWND dialog) {
    const std::string name = NameOf(dialog);
    std::string lines = "== " + name + " ==  " + TextOf(dialog) + "\n";
    EnumChildWindows(dialog, AppendControl, reinterpret_cast<LPARAM>(&lines));
    if (std::atoi(name.c_str()) != 0) { // else Windows' own
        for (const std::string& text : page_test::CutTexts(dialog))
            lines += "page-user: cut: " + text + "\n";
    }
    if (!IsWindow(dialog))
        return; // a waiting page that went while it was looked at
    shownPages.push_back({dialog, name});
    std::fputs(lines.c_str(), stdout);
}

void PrintChanges() {
    std::vector<HWND> dialogs;
    EnumWindows(CollectDialog, reinterpret_cast<LPARAM>(&dialogs));
    std::erase_if(shownPages, [&](const Shown& shown) {
        const bool gone = std::ranges::find(dialogs, shown.window) == dialogs.end();
        if (gone)
            std::printf("-- %s --\n", shown.name.c_str());
        return gone;
    });
    for (const HWND dialog : std::views::reverse(dialogs)) { // the one in front last
        if (std::ranges::find(shownPages, dialog, &Shown::window) == shownPages.end())
            Open(dialog);
    }
}

void Send(const std::vector<INPUT>& inputs) {
    SendInput(static_cast<UINT>(inputs.size()), const_cast<INPUT*>(inputs.data()), sizeof(INPUT));
}

INPUT Key(WORD key, WORD character, DWORD flags) {
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = character;
    input.ki.dwFlags = flags;
    return input;
}

void Press(WORD key) { Send({Key(key, 0, 0), Key(key, 0, KEYEVENTF_KEYUP)}); }

void Type(const std::string& text) {
    for (const char character : text) {
        const auto unit = static_cast<WORD>(static_cast<unsigned char>(character));
        Send({Key(0, unit, KEYEVENTF_UNICODE), Key(0, unit, KEYEVENTF_UNICODE | KEYEVENTF_KEYUP)});
    }
}

// What a click comes to once the system has found the control below the mouse. The mouse itself
// is the X server's, and arrives where it is moved to in its own time.
void Click(HWND control) {
    RECT inside = {};
    GetClientRect(control, &inside);
    const LPARAM middle = MAKELPARAM(inside.right / 2, inside.bottom / 2);
    PostMessageA(control, WM_LBUTTONDOWN, MK_LBUTTON, middle);
    PostMessageA(control, WM_LBUTTONUP, 0, middle);
}

// To the desktop and not to a window: the X server, which tells of its focus in its own time, is
// left out of it.
void GoAwayAndBack(HWND page) {
    SetForegroundWindow(GetDesktopWindow());
    SetForegroundWindow(page);
}

// The number of the control, 0 for the page itself, -1 for neither.
int FocusOf(HWND page) {
    GUITHREADINFO thread = {};
    thread.cbSize = sizeof(thread);
    GetGUIThreadInfo(GetWindowThreadProcessId(page, nullptr), &thread);
    return thread.hwndFocus == page ? 0 : thread.hwndFocus ? GetDlgCtrlID(thread.hwndFocus) : -1;
}

bool ClickControl(HWND page, int id) {
    const HWND control = GetDlgItem(page, id);
    if (!control || !IsWindowEnabled(control) || !IsWindowVisible(control))
        return false;
    Click(control);
    return true;
}

// False where it cannot be done yet.
bool Do(const std::string& order) {
    if (order.starts_with("window "))
        return FindWindowA(nullptr, order.c_str() + 7) != nullptr;
    if (order == "close")
        return EnumWindows(PostClose, 0) != FALSE;
    if (shownPages.empty() || GetForegroundWindow() != shownPages.back().window)
        return false;
    const auto& [window, name] = shownPages.back();
    if (order.empty())
        Press(VK_RETURN);
    else if (order == "esc")
        Press(VK_ESCAPE);
    else if (order.starts_with("focus "))
        return FocusOf(window) == std::atoi(order.c_str() + 6);
    else if (order == "away")
        GoAwayAndBack(window);
    else if (name == "save" || name == "open")
        Type(order), Press(VK_RETURN);
    else
        return ClickControl(window, std::atoi(order.c_str()));
    return true;
}

std::mutex inputLock;
std::deque<std::string> input;

void ReadInput() {
    for (std::string line; std::getline(std::cin, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        const std::lock_guard lock(inputLock);
        input.push_back(line);
    }
}

// The first line of the input, tried anew until it can be done.
void FollowInput() {
    static int tries = 0;
    const std::lock_guard lock(inputLock);
    if (input.empty())
        return;
    if (Do(input.front())) {
        input.pop_front();
        tries = 0;
    } else if (++tries > MaxTries) {
        std::printf("page-user: in vain: %s\n", input.front().c_str());
        std::exit(3);
    }
}

HANDLE Start(const char* path) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(path, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        std::fprintf(stderr, "page-user: %s: error %lu\n", path, GetLastError());
        std::exit(2);
    }
    CloseHandle(process.hThread);
    program = process.dwProcessId;
    return process.hProcess;
}

} // namespace

int main(int count, char** words) {
    std::setvbuf(stdout, nullptr, _IONBF, 0); // every line at once
    if (count != 2) {
        std::fputs("usage: page-user PROGRAM\n", stderr);
        return 2;
    }
    const HANDLE process = Start(words[1]);
    std::thread(ReadInput).detach();
    while (WaitForSingleObject(process, PollMilliseconds) == WAIT_TIMEOUT) {
        PrintChanges();
        FollowInput();
    }
    PrintChanges(); // the last page has gone
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    std::printf("ended with %lu\n", code);
    std::exit(static_cast<int>(code)); // the reader still waits for a line
}
