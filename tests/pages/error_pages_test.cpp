// Error pages that do more than show their texts.

#include "frame/error_pages.h"

#include "link/link_error_pages.h"
#include "testing/page_test.h"

#include <cstring>

namespace {

using namespace page_test;

class ErrorPages : public PageTest {
protected:
    // With a file as the port; true when the page has closed it.
    template <const Page& page>
    bool ShowWithOpenLink(bool serial) {
        const std::filesystem::path path = folder_ / "port";
        test_support::WriteFileBytes(path, "x");
        State.Link.LinkHandle =
            CreateFileA(WindowsPathOf(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, State.Link.LinkHandle);
        State.Run.SerialLinkSelected = serial;
        user_.steps.push_back({page.dialog, "2"});
        EXPECT_EQ(1, ShowPage(page));
        const bool closed = !State.Link.LinkHandle;
        if (!closed)
            CloseHandle(State.Link.LinkHandle);
        State.Link.LinkHandle = nullptr;
        return closed;
    }
};

TEST_F(ErrorPages, the_longest_values_of_an_image_and_an_ampersand_stay_whole) {
    std::strcpy(State.Handheld.DeviceModel, "AB&CD&&FGHIJKL");
    user_.steps.push_back({123, "2"});
    ShowPage(IncompatibleImagePage);
    EXPECT_EQ("Modèle : AB&CD&&FGHIJKL", TextOf(Last(123), 1056));
}

TEST_F(ErrorPages, a_failed_transfer_gives_a_serial_port_back_and_leaves_usb_to_its_loop) {
    EXPECT_TRUE(ShowWithOpenLink<UpgradeErrorPage>(true));
    EXPECT_TRUE(ShowWithOpenLink<CommunicationErrorPage>(true));
    EXPECT_FALSE(ShowWithOpenLink<UpgradeErrorPage>(false));
    EXPECT_FALSE(ShowWithOpenLink<CommunicationErrorPage>(false));
}

} // namespace
