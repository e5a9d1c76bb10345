// What pages and their parts are called where nobody sees them.
// label: desktop

#include "frame/waiting_pages.h"
#include "pages/progress_pages.h"
#include "platform/desktop/page_names.h"
#include "testing/page_test.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using namespace page_test;
using namespace platform::desktop;

class PageNames : public PageTest {
protected:
    // The page as it was on the screen, without a worker behind it.
    const PageView& ViewOf(const ShownPage& shown) {
        Page page = shown.Prepare();
        static constexpr PageText Texts[] = {{IDC_BACKUP_TEXT, IDS_BACKING_UP_SERIAL}};
        if (page.dialog == IDD_BACKUP) // which sets it by itself
            page.texts = Texts;
        page.command = [](HWND window, int) { return EndDialog(window, 1) != 0; };
        user_.steps = {{page.dialog, "esc"}};
        if (HWND waiting = page.results.empty() ? OpenWaitingPage(page, nullptr) : nullptr)
            EndWaitingPage(waiting);
        else
            ShowPage(page);
        user_.steps.clear();
        return user_.ended.back();
    }
    // The name of a text, or its words where it has none.
    static std::string Name(const PageView& page, int control) {
        const ControlView& text = *Find(page, control);
        const QString name = NameOfText(text, LabelOfText(page, text));
        return name.isEmpty() ? text.text : name.toStdString();
    }
};

TEST_F(PageNames, no_two_pages_have_the_same) {
    std::vector<ShownPage> all(std::begin(Pages), std::end(Pages));
    for (const Page& (*page)() :
         {The<BusyPage>, The<PreparePage>, The<ProgressPage>, The<BackupPage>})
        all.push_back({page});
    const QString title = QString::fromStdString(Utf8(CatalogText(IDS_TITLE))).trimmed();
    std::map<QString, int> pages;
    std::set<int> dialogs;
    for (const ShownPage& shown : all) {
        const PageView& view = ViewOf(shown);
        // Two dialogs for one page.
        const int page = view.id == IDD_FINISH_USB ? IDD_FINISH_SERIAL : view.id;
        dialogs.insert(view.id);
        const QString name = NameOf(view);
        EXPECT_EQ(page, pages.emplace(name, page).first->second) << name.toStdString();
        EXPECT_EQ(!view.title.empty(), name.endsWith(" – " + title)) << name.toStdString();
        EXPECT_TRUE(HeadingOf(view).size() > 10 && HeadingOf(view).size() < 120)
            << name.toStdString();
    }
    EXPECT_EQ(32U, dialogs.size());
}

TEST_F(PageNames, say_what_colour_and_place_say) {
    const struct {
        const char* state;
        int page, control;
        const char* name;
    } texts[] = {
        {"-model", IDD_INCOMPATIBLE_IMAGE, IDC_INCOMPATIBLE_DEVICE_MODEL, "Attention : Modèle :"},
        {"-model", IDD_INCOMPATIBLE_IMAGE, IDC_INCOMPATIBLE_IMAGE_MODEL, "Attention : Modèle :"},
        {"-model", IDD_INCOMPATIBLE_IMAGE, IDC_INCOMPATIBLE_IMAGE_LANGUAGE, "Langue :"},
        {"-language", IDD_INCOMPATIBLE_IMAGE, IDC_INCOMPATIBLE_DEVICE_MODEL, "Modèle :"},
        {"-language", IDD_INCOMPATIBLE_IMAGE, IDC_INCOMPATIBLE_DEVICE_LANGUAGE,
         "Attention : Langue :"},
        {"", IDD_IMAGE_TOO_LARGE, IDC_TOO_LARGE_IMAGE_SIZE, "Taille du fichier image : 32 Mo"},
        {"", IDD_IMAGE_TOO_LARGE, IDC_TOO_LARGE_FLASH_SIZE, "Taille de la ROM Flash : 16 Mo"},
        {"", IDD_FINISH_SERIAL, IDC_FINISH_NOTE, "Attention : Consultez le CD"},
    };
    for (const auto& text : texts) {
        const auto shown = std::ranges::find_if(Pages, [&](const ShownPage& page) {
            return page.page().dialog == text.page && page.state == std::string(text.state);
        });
        const std::string name = Name(ViewOf(*shown), text.control);
        EXPECT_TRUE(name.starts_with(text.name)) << name;
    }
}

} // namespace
