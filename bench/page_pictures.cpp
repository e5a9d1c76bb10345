// Pictures of all pages, as the desktop that it runs on shows them, for people to look at:
//
//   page-pictures <folder> [dark]
//
// Each page is opened by its own code in the model of windows and taken from there, so that it is
// what a user sees, filled with the handheld and the image that the tests of pages speak of.

#include "frame/catalog.h"
#include "frame/waiting_pages.h"
#include "pages/progress_pages.h"
#include "platform/desktop/page_window.h"
#include "platform/windows/display.h"
#include "testing/page_facts.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QPalette>

#include <commctrl.h>

#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <thread>

namespace {

using platform::PageView;

// Keeps each page as it is when all of it has been painted, and ends it where a user could.
class Album : public platform::Display {
public:
    std::map<std::string, PageView> pages;
    std::string state; // of the page that comes next, behind its number

    // The model is locked here, and ending a page waits for it.
    std::optional<platform::PageAction> NextAction(const PageView& page) override {
        Keep(page);
        if (!ender_.joinable())
            ender_ = std::thread([window = page.handle] { EndDialog(window, 1); });
        return std::nullopt;
    }
    void EndPage(const PageView& page) override { Keep(page); }
    void AwaitEnd() { ender_.join(); }

    void ShowPage(const PageView&) override {}
    void HidePage(const PageView&) override {}
    void UpdateControl(const PageView&, const platform::ControlView&) override {}
    void ShowFileDialog(const platform::FileRequest&) override {}
    void ShowError(const platform::Sentence&) override {}

private:
    void Keep(const PageView& page) { pages.try_emplace(std::to_string(page.id) + state, page); }

    std::thread ender_;
};

void Show(Album& album, const Page& page) {
    ShowPage(page);
    album.AwaitEnd();
}

// As its worker leaves it a third of the way, without the worker. No user ends it.
void ShowTransfer(Page page) {
    page.open = [](HWND window) {
        const bool upgrade = GetDlgItem(window, IDC_PROGRESS_DURATION);
        SetDlgItemTextA(window, upgrade ? IDC_PROGRESS_DURATION : IDC_BACKUP_TEXT,
                        CatalogText(upgrade ? IDS_UPGRADING_SERIAL : IDS_BACKING_UP_SERIAL));
        SendDlgItemMessageA(window, IDC_PROGRESS, PBM_SETPOS, 37, 0);
        SetDlgItemInt(window, IDC_PERCENT, 37, FALSE);
        SetTimer(window, 1, 1, nullptr); // due when all has been painted
    };
    page.message = [](HWND window, UINT message, WPARAM, LPARAM, INT_PTR*) {
        return message == WM_TIMER && EndDialog(window, 1);
    };
    ShowPage(page);
}

void FillAlbum(Album& album) {
    platform::UseDisplay(&album);
    LoadMessageCatalog();
    page_test::LoadBanner();
    for (const page_test::ShownPage& shown : page_test::Pages) {
        page_test::FillState();
        album.state = shown.state;
        Show(album, shown.Prepare());
    }
    album.state = "";
    for (const Page* waiting : {&BusyPage, &PreparePage}) {
        HWND window = OpenWaitingPage(*waiting, nullptr);
        EndWaitingPage(window);
    }
    ShowTransfer(ProgressPage);
    ShowTransfer(BackupPage);
}

// As dark desktops have it.
QPalette DarkPalette() {
    QPalette palette(QColor("#31363b"), QColor("#2a2e32"));
    palette.setColor(QPalette::Base, "#1b1e20");
    palette.setColor(QPalette::Highlight, "#3daee9");
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, "#7b8085");
    palette.setColor(QPalette::Disabled, QPalette::WindowText, "#7b8085");
    return palette;
}

bool Save(const PageView& page, const QString& path) {
    platform::desktop::PageWindow window(page);
    window.Present();
    // A control looks as with the focus once its window is active, if the desktop lets it be.
    for (QDeadlineTimer limit(5000); !window.isActiveWindow() && !limit.hasExpired();)
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    return window.grab().save(path);
}

} // namespace

int main(int count, char** words) {
    QApplication application(count, words);
    if (count < 2) {
        std::fprintf(stderr, "page-pictures: give a folder\n");
        return 2;
    }
    if (count > 2)
        QApplication::setPalette(DarkPalette());
    Album album;
    FillAlbum(album);
    for (const auto& [name, page] : album.pages) {
        const QString path = QString("%1/%2.png").arg(words[1], name.c_str());
        if (!Save(page, path)) {
            std::fprintf(stderr, "page-pictures: cannot write %s\n", qPrintable(path));
            return 1;
        }
    }
    return 0;
}
