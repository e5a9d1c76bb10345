// The page that waits for the power adapter, with a handheld in its cradle.
// label: threads

#include "pages/introduction_pages.h"
#include "rapi/rapi.h"
#include "testing/page_test.h"
#include "testing/wizard_fixture.h"

#include <optional>

namespace {

using namespace page_test;

class PowerWarning : public PageTest {
protected:
    void SetUp() override {
        PageTest::SetUp();
        std::filesystem::remove_all(HomeOfTests().Device());
        cradle_.emplace(HomeOfTests(), test_support::CradleOptions{.run = {"--battery"}});
        ConnectRapi();
        State.Link.StopReceive = false;
    }
    void TearDown() override {
        State.Link.StopReceive = true; // ends the watch
        CeRapiUninit();
        cradle_.reset();
        PageTest::TearDown();
    }

    void Plug(bool in) {
        HomeOfTests().RunHandheld({"power", HomeOfTests().Device().string(), in ? "on" : "off"});
    }

private:
    std::optional<test_support::Cradle> cradle_;
};

TEST_F(PowerWarning, next_follows_the_adapter_for_as_long_as_the_page_is_up) {
    int changes = 0;
    user_.steps.push_back({105, "1", [&](const PageView& page) {
                               const bool expected = changes % 2 == 1;
                               if (IsEnabled(page, 1) != expected)
                                   return false;
                               if (changes == 3)
                                   return true;
                               Plug(!expected);
                               ++changes;
                               return false;
                           }});
    EXPECT_EQ(0, ShowPage(PowerWarningPage));
    EXPECT_EQ(1, State.Handheld.PowerStatus);
    EXPECT_EQ(nullptr, State.Windows.PowerWarningPage.load());
}

// With the watch at rest, the button is as active as in the first moments of the page.
TEST_F(PowerWarning, next_reads_the_power_once_more_and_stays_while_the_adapter_is_out) {
    State.Link.StopReceive = true;
    user_.steps.push_back({105, "1"});
    user_.steps.push_back({105, "1", [&](const PageView& page) {
                               EXPECT_TRUE(IsEnabled(page, 1));
                               Plug(true);
                               return true;
                           }});
    EXPECT_EQ(0, ShowPage(PowerWarningPage));
}

TEST_F(PowerWarning, next_works_with_a_handheld_that_does_not_answer) {
    State.Link.StopReceive = true;
    CeRapiUninit();
    user_.steps.push_back({105, "1"});
    EXPECT_EQ(0, ShowPage(PowerWarningPage));
}

} // namespace
