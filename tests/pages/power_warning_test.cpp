// The page that waits for the power adapter, with a handheld in its cradle.
// label: threads

#include "pages/introduction_pages.h"
#include "rapi/rapi.h"
#include "testing/page_test.h"
#include "testing/wizard_fixture.h"

namespace {

using namespace page_test;

class PowerWarning : public PageTest {};

// With the watch at rest, the button is as active as in the first moments of the page.
TEST_F(PowerWarning, next_reads_the_power_once_more_and_needs_the_adapter_or_no_answer) {
    std::filesystem::remove_all(HomeOfTests().Device());
    const test_support::Cradle cradle(HomeOfTests(), {.run = {"--battery"}});
    ConnectRapi();
    State.Link.StopReceive = true;
    user_.steps.push_back({105, "1"});
    user_.steps.push_back(
        {105, "1", [&](const PageView& page) {
             EXPECT_TRUE(IsEnabled(page, 1));
             HomeOfTests().RunHandheld({"power", HomeOfTests().Device().string(), "on"});
             return true;
         }});
    EXPECT_EQ(0, ShowPage(PowerWarningPage));
    EXPECT_EQ(1, State.Handheld.PowerStatus);
    EXPECT_EQ(nullptr, State.Windows.PowerWarningPage.load());
    CeRapiUninit();
    user_.steps.push_back({105, "1"});
    EXPECT_EQ(0, ShowPage(PowerWarningPage));
}

} // namespace
