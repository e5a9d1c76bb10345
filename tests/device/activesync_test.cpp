// Ending the connection manager by its windows, and starting it again from the registry.

#include "device/activesync.h"

#include "tests/device/wizard_place.h"

#include <csignal>

namespace {

class ActiveSync : public ConnectedPlace {
protected:
    static HWND OpenWindow(const char* title, HWND owner = nullptr) {
        WNDCLASSEXA windowClass = {};
        windowClass.cbSize = sizeof(windowClass);
        windowClass.lpfnWndProc = DefWindowProcA;
        windowClass.lpszClassName = "ACTIVESYNCTEST";
        RegisterClassExA(&windowClass); // the second time it is there already
        return CreateWindowExA(0, "ACTIVESYNCTEST", title, owner ? WS_POPUP : WS_OVERLAPPEDWINDOW,
                               0, 0, 0, 0, owner, nullptr, nullptr, nullptr);
    }

    void TearDown() override {
        for (const HWND window : {owned_, State.Windows.MainWindow}) {
            if (window)
                DestroyWindow(window);
        }
        State.Windows.MainWindow = nullptr;
        ConnectedPlace::TearDown();
    }

    HWND owned_ = nullptr;
};

TEST_F(ActiveSync, is_ended_and_comes_back_from_the_path_in_the_registry) {
    Connect();
    State.Windows.MainWindow = OpenWindow("wizard");
    StopActiveSync();
    EXPECT_EQ(128 + SIGKILL, Device().Manager().Wait());
    StopActiveSync(); // finds nothing, does nothing
    StartActiveSync();
    for (int tries = 0; tries < 3000 && !FindWindowA(nullptr, "DccMan"); ++tries)
        Sleep(400);
    EXPECT_TRUE(FindWindowA(nullptr, "WCES Manager Thunk Window"));
}

TEST_F(ActiveSync, windows_above_the_wizard_with_a_parent_or_a_longer_title_are_left_alone) {
    State.Windows.MainWindow = OpenWindow("wizard");
    owned_ = OpenWindow("WCES Manager Thunk Window", State.Windows.MainWindow);
    Connect(); // its windows are newer, hence above
    StopActiveSync();
    CeFindData found = {}; // the manager still carries RAPI
    const CeHandle search = CeFindFirstFile(u"\\Windows\\Morvikor.exe", &found);
    EXPECT_NE(CeInvalidHandle, search);
    CeFindClose(search);
}

TEST_F(ActiveSync, that_is_not_installed_is_not_started) {
    RegDeleteKeyA(HKEY_LOCAL_MACHINE,
                  "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\WCESCOMM.EXE");
    StartActiveSync();
    EXPECT_FALSE(FindWindowA(nullptr, "DccMan"));
}

} // namespace
