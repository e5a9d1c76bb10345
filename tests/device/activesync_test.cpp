// Ending the connection manager by its windows, and starting it again from the registry.

#include "device/activesync.h"

#include "testing/wizard_fixture.h"

#include <csignal>

namespace {

class ActiveSync : public HandheldTest {
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

    void OpenMainWindow() { State.Windows.MainWindow = OpenWindow("wizard"); }

    static bool Await(bool there) {
        for (int tries = 0; tries < 3000; ++tries) {
            if ((FindWindowA(nullptr, "WCES Manager Thunk Window") != nullptr) == there)
                return true;
            Sleep(400);
        }
        return false;
    }

    void TearDown() override {
        DestroyWindow(State.Windows.MainWindow);
        State.Windows.MainWindow = nullptr;
        HandheldTest::TearDown();
    }
};

TEST_F(ActiveSync, is_ended_and_comes_back_from_the_path_in_the_registry) {
    Connect();
    OpenMainWindow();
    StopActiveSync();
    EXPECT_EQ(128 + SIGKILL, Device().Manager().Wait());
    StopActiveSync(); // finds nothing, does nothing
    StartActiveSync();
    EXPECT_TRUE(Await(true));
    DestroyWindow(State.Windows.MainWindow);
    OpenMainWindow(); // above the new one
    StopActiveSync();
    EXPECT_TRUE(Await(false));
}

TEST_F(ActiveSync, windows_above_the_wizard_with_a_parent_or_a_longer_title_are_left_alone) {
    // All but the manager's are this process's own, which would end itself with code 0.
    const HWND owner = OpenWindow("DccMan2");
    const HWND owned = OpenWindow("DccMan", owner);
    OpenMainWindow();
    ASSERT_EQ(owned, GetWindow(State.Windows.MainWindow, GW_HWNDNEXT));
    Connect();
    EXPECT_EXIT(
        {
            StopActiveSync();
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "");
    CeFindData found = {}; // the manager still carries RAPI
    const CeHandle search = CeFindFirstFile(u"\\Windows\\Morvikor.exe", &found);
    EXPECT_NE(CeInvalidHandle, search);
    CeFindClose(search);
    DestroyWindow(owned);
    DestroyWindow(owner);
}

} // namespace
