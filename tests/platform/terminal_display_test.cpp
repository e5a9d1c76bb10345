// The terminal display, led over pipes as a script leads it.
// label: threads

#include "tests/platform/window_support.h"

#include <commctrl.h>

#include <thread>

using namespace window_support;

namespace {

constexpr char Script[] = R"(#include <windows.h>
158 DIALOGEX 0, 0, 410, 200
STYLE WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME
CAPTION " Choix"
FONT 8, "Arial"
BEGIN
  DEFPUSHBUTTON "Suivant", 1, 300, 175, 50, 14, WS_DISABLED
  PUSHBUTTON "&Annuler", 2, 355, 175, 50, 14
  AUTORADIOBUTTON "Série", 1151, 171, 60, 60, 10, WS_GROUP
  AUTORADIOBUTTON "USB", 1150, 171, 45, 60, 10
  LTEXT "Deuxième ligne", 1154, 171, 20, 200, 20
  LTEXT "Première ligne", 1152, 171, 10, 200, 16
  CONTROL "", 1134, "Button", BS_AUTOCHECKBOX | WS_GROUP, 171, 100, 10, 10
  LTEXT "Lire le fichier", 1133, 185, 100, 100, 8
END
102 DIALOGEX 0, 0, 339, 95
STYLE WS_POPUP | DS_MODALFRAME
FONT 8, "Arial"
BEGIN
  LTEXT "Mise à niveau", 1043, 10, 10, 300, 8
  CONTROL "", 1020, "msctls_progress32", 0, 10, 50, 250, 12
  LTEXT "0", 1023, 270, 50, 15, 8
  LTEXT "%", -1, 287, 50, 10, 8
END
165 DIALOGEX 0, 0, 200, 50
STYLE WS_POPUP | WS_CAPTION
FONT 8, "Arial"
BEGIN
  LTEXT "Erreur", 1, 10, 10, 100, 8
  PUSHBUTTON "Quitter", 1175, 10, 30, 50, 14
END
)";

INT_PTR CALLBACK ChoiceProcedure(HWND page, UINT message, WPARAM first, LPARAM) {
    int id = LOWORD(first);
    if (message != WM_COMMAND)
        return FALSE;
    if (id == 1150 || id == 1151)
        EnableWindow(GetDlgItem(page, 1), TRUE);
    else if (id == 1134)
        SetDlgItemTextA(page, 1152, "Nouvelle ligne\r\nen deux\r\nsur trois");
    else
        EndDialog(page, id);
    return TRUE;
}

// Its text holds control characters.
INT_PTR CALLBACK QuitProcedure(HWND page, UINT message, WPARAM first, LPARAM) {
    if (message == WM_INITDIALOG)
        SetDlgItemTextA(page, 1, "a\x1B[2Jb\x81\a c");
    if (message == WM_COMMAND && LOWORD(first) == 1175)
        EndDialog(page, 1175);
    return FALSE;
}

// Moves the bar from another thread, as workers do: 0, 36 and 37 percent, and the figure to 100.
INT_PTR CALLBACK ProgressProcedure(HWND page, UINT message, WPARAM, LPARAM) {
    if (message != WM_INITDIALOG)
        return FALSE;
    std::thread([page] {
        SendDlgItemMessageA(page, 1020, PBM_SETRANGE32, 0, 100);
        for (UINT percent : {0u, 36u, 36u, 37u, 100u}) {
            SendDlgItemMessageA(page, 1020, PBM_SETPOS, percent, 0);
            SetDlgItemInt(page, 1023, percent, FALSE);
        }
        EndDialog(page, 1);
    }).detach();
    return FALSE;
}

int Show(int id, DLGPROC procedure) {
    return static_cast<int>(DialogBoxParamA(nullptr, MAKEINTRESOURCEA(id), nullptr, procedure, 0));
}

int ShowChoice() { return Show(158, ChoiceProcedure); }
int ShowProgress() { return Show(102, ProgressProcedure); } // has no controls: reads no line

const std::string ChoicePage = "== 158 == Choix\n"
                               "Première ligne\n"
                               "Deuxième ligne\n"
                               "Lire le fichier\n"
                               "( ) [1150] USB\n"
                               "( ) [1151] Série\n"
                               "[ ] [1134] Lire le fichier\n"
                               "[-] Suivant\n"
                               "[2] Annuler\n";

class TerminalDisplay : public testing::Test {
protected:
    TerminalDisplay() : bytes_(CompileScript(Script)) { UseBytes(bytes_); }

private:
    std::string bytes_;
};

} // namespace

TEST_F(TerminalDisplay, prints_a_page_and_each_change_and_accepts_numbers) {
    struct {
        const char *line, *printed;
    } const steps[] = {
        {"1", "not available now: 1\n"},
        {"77", "no such number on this page: 77\n"},
        {"x y", "not understood: x y (a number in brackets, an empty line for Enter, esc)\n"},
        {"", ""}, // Enter, where the default button is disabled
        {"1151", "(x) [1151] Série\n[1] Suivant\n"},
        {"1150", "( ) [1151] Série\n(x) [1150] USB\n"},
        // Its text gets three lines, and its control is two high.
        {"1134", "[x] [1134] Lire le fichier\nNouvelle ligne\nen deux\n"},
        {"", "-- 158 --\n"},
    };
    ChildProcess program(ShowChoice);
    std::string expected = ChoicePage;
    for (const auto& [line, printed] : steps) {
        program.Send(line);
        expected += printed;
    }
    EXPECT_EQ(program.AllOutput(), expected);
    EXPECT_EQ(program.Wait(), 1);
}

TEST_F(TerminalDisplay, keeps_lines_typed_ahead_for_the_pages_they_are_meant_for) {
    ChildProcess program([] {
        const int first = ShowChoice();
        ShowProgress();
        return first * 10 + ShowChoice();
    });
    program.Type("1151\n1\nesc\n");
    EXPECT_EQ(program.AllOutput(),
              ChoicePage +
                  "(x) [1151] Série\n[1] Suivant\n-- 158 --\n== 102 ==\nMise à niveau\n"
                  "0%\n36%\n37%\n100%\n-- 102 --\n" +
                  ChoicePage + "-- 158 --\n");
    EXPECT_EQ(program.Wait(), 12);
}

TEST_F(TerminalDisplay, writes_the_percentage_over_the_one_before_on_a_real_terminal) {
    ChildProcess program(ShowProgress, true);
    EXPECT_EQ(program.AllOutput(), "== 102 ==\nMise à niveau\n0%  36% 37% 100%\n-- 102 --\n");
}

TEST_F(TerminalDisplay, gives_the_line_to_the_newest_of_two_pages_on_two_threads) {
    ChildProcess program([] {
        int older = 0;
        std::thread owner([&] { older = ShowChoice(); });
        ComesTrue([] { return IsWindowVisible(FindWindowA("#32770", " Choix")); });
        const int newer = Show(165, QuitProcedure);
        owner.join();
        return newer == 1175 && older == IDCANCEL ? 0 : 1;
    });
    program.ExpectLine("[1175] Quitter");
    program.Type("2\n1175\n2\n");
    EXPECT_EQ(program.AllOutput(), ChoicePage + "== 165 ==\na[2Jb c\n[1175] Quitter\n"
                                                "no such number on this page: 2\n"
                                                "-- 165 --\n-- 158 --\n");
    EXPECT_EQ(program.Wait(), 0);
}
