// Error pages that do more than show their texts.

#include "frame/error_pages.h"

#include "link/link_error_pages.h"
#include "state/progress_record.h"
#include "testing/page_test.h"

#include <cstring>

namespace {

using namespace page_test;

constexpr int ModelLines[] = {1056, 1060};
constexpr int LanguageLines[] = {1058, 1062};

class ErrorPages : public PageTest {
protected:
    // What the page of error 100 looked like.
    PageView ShowIncompatible(bool model, bool language) {
        State.Run.ModelMismatch = model;
        State.Run.LanguageMismatch = language;
        user_.steps.push_back({123, "2"});
        EXPECT_EQ(1, ShowPage(IncompatibleImagePage));
        return Last(123);
    }

    static bool IsMarked(const PageView& page, int control) {
        const ControlView* line = Find(page, control);
        return line && line->painted.background == RGB(255, 0, 0) &&
               line->painted.textColour != RGB(255, 0, 0);
    }

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

    static bool RecordIsCritical() {
        State.Run.BootloaderResume = false;
        ReadProgressRecord();
        return State.Run.BootloaderResume;
    }
};

TEST_F(ErrorPages, the_property_that_differs_stands_out_on_both_of_its_lines) {
    const PageView model = ShowIncompatible(true, false);
    const PageView language = ShowIncompatible(false, true);
    const PageView neither = ShowIncompatible(false, false);
    for (int line : ModelLines) {
        EXPECT_TRUE(IsMarked(model, line)) << line;
        EXPECT_FALSE(IsMarked(language, line)) << line;
        EXPECT_FALSE(IsMarked(neither, line)) << line;
    }
    for (int line : LanguageLines) {
        EXPECT_FALSE(IsMarked(model, line)) << line;
        EXPECT_TRUE(IsMarked(language, line)) << line;
        EXPECT_FALSE(IsMarked(neither, line)) << line;
    }
}

TEST_F(ErrorPages, a_mismatch_is_forgotten_when_its_page_ends) {
    ShowIncompatible(true, true);
    EXPECT_FALSE(State.Run.ModelMismatch);
    EXPECT_FALSE(State.Run.LanguageMismatch);
}

TEST_F(ErrorPages, the_longest_values_of_an_image_and_an_ampersand_stay_whole) {
    std::strcpy(State.Handheld.DeviceModel, "AB&CD&&FGHIJKL");
    user_.steps.push_back({123, "2"});
    ShowPage(IncompatibleImagePage);
    EXPECT_EQ("Modèle : AB&CD&&FGHIJKL", TextOf(Last(123), 1056));
}

TEST_F(ErrorPages, escape_does_nothing_on_the_page_of_the_activesync_version) {
    user_.steps.push_back({165, "esc"});
    user_.steps.push_back({165, "1175"});
    EXPECT_EQ(1, ShowPage(ActiveSyncVersionPage));
}

TEST_F(ErrorPages, only_the_late_failure_marks_the_record_for_the_bootloader) {
    DeleteProgressRecord();
    user_.steps.push_back({114, "2"});
    ShowPage(UpgradeErrorPage);
    EXPECT_FALSE(RecordIsCritical());
    user_.steps.push_back({142, "2"});
    ShowPage(CommunicationErrorPage);
    EXPECT_TRUE(RecordIsCritical());
}

TEST_F(ErrorPages, a_failed_transfer_gives_a_serial_port_back_and_leaves_usb_to_its_loop) {
    EXPECT_TRUE(ShowWithOpenLink<UpgradeErrorPage>(true));
    EXPECT_TRUE(ShowWithOpenLink<CommunicationErrorPage>(true));
    EXPECT_FALSE(ShowWithOpenLink<UpgradeErrorPage>(false));
    EXPECT_FALSE(ShowWithOpenLink<CommunicationErrorPage>(false));
}

} // namespace
