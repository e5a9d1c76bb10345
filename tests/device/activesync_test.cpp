// Ending the connection manager by its windows, and starting it again from the registry.

#include "device/activesync.h"

#include "testing/comes_true.h"
#include "testing/wizard_fixture.h"

#include <csignal>
#include <cstdlib>

namespace {

class ActiveSync : public HandheldTest {
protected:
    void OpenMainWindow() { State.Windows.MainWindow = OpenPlainWindow("wizard"); }

    static bool ManagerHasWindow() { return FindWindowA(nullptr, "WCES Manager Thunk Window"); }

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
    EXPECT_TRUE(test_support::ComesTrue(ManagerHasWindow));
    DestroyWindow(State.Windows.MainWindow);
    OpenMainWindow(); // above the new one
    StopActiveSync();
    EXPECT_TRUE(test_support::ComesTrue([] { return !ManagerHasWindow(); }));
}

TEST_F(ActiveSync, windows_above_the_wizard_with_a_parent_or_a_longer_title_are_left_alone) {
    // All but the manager's are this process's own, which would end itself with code 0.
    const HWND owner = OpenPlainWindow("DccMan2");
    const HWND owned = OpenPlainWindow("DccMan", owner);
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
