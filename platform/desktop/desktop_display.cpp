// The display with real widgets: passes changes from the model's threads to the toolkit's, and
// answers back.

#include "platform/desktop/desktop_display.h"

#include "platform/desktop/file_dialogs.h"
#include "platform/desktop/page_window.h"
#include "platform/desktop/task_bar.h"
#include "platform/windows/display.h"

#include <QApplication>

#include <map>
#include <memory>

namespace platform {

namespace {

using namespace desktop;

class Desktop : public Display {
public:
    Desktop() { QApplication::setWindowIcon(ProgramIcon()); }

    void ShowPage(const PageView& page) override {
        Post([this, page] {
            auto& window = windows_[page.handle];
            window = std::make_unique<PageWindow>(page);
            window->Present();
        });
    }
    void HidePage(const PageView& page) override { Remove(page); }
    void EndPage(const PageView& page) override { Remove(page); }
    void UpdateControl(const PageView& page, const ControlView& control) override {
        Post([this, page = page.handle, control] {
            if (PageWindow* window = WindowOf(page))
                window->ShowControl(control);
        });
    }
    void UpdatePictures(const PageView& page) override {
        Post([this, page] {
            if (PageWindow* window = WindowOf(page.handle))
                window->ShowPictures(page);
        });
    }
    void UpdateCursor(HWND page, bool waiting) override {
        Post([this, page, waiting] {
            if (PageWindow* window = WindowOf(page))
                window->ShowWaiting(waiting);
        });
    }
    void ShowTaskBar(double part) override {
        Post([this, part] { taskBar_.Show(part); });
    }
    void ShowFileDialog(const FileRequest& request) override {
        Post([this, request] { fileDialogs_.Show(request, WindowOf(request.owner)); });
    }
    void CloseFileDialog() override {
        Post([this] { fileDialogs_.Close(); });
    }
    void ShowError(const Sentence& sentence) override {
        Post([this, sentence] { fileDialogs_.SetError(InLanguageOfPages(sentence)); });
    }
    std::optional<FileAnswer> NextAnswer() override { return fileDialogs_.NextAnswer(); }

private:
    template <class Work>
    static void Post(Work work) {
        QMetaObject::invokeMethod(qApp, work, Qt::QueuedConnection);
    }

    PageWindow* WindowOf(HWND page) {
        const auto found = windows_.find(page);
        return found == windows_.end() ? nullptr : found->second.get();
    }

    void Remove(const PageView& page) {
        Post([this, page] {
            windows_.erase(page.handle);
            taskBar_.Clear();
        });
    }

    // On the toolkit's thread, but for the answer of a file dialog.
    std::map<HWND, std::unique_ptr<PageWindow>> windows_;
    FileDialogs fileDialogs_;
    TaskBar taskBar_;
};

} // namespace

Display& DesktopDisplay() {
    static Display& desktop = *new Desktop;
    return desktop;
}

} // namespace platform
