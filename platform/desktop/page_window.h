// A page as a window of the desktop. On the toolkit's thread alone.
#pragma once

#include "platform/desktop/conversions.h"
#include "platform/windows/display.h"

#include <QDialog>

#include <map>

class QScrollArea;

namespace platform::desktop {

class PageSurface;

class PageWindow : public QDialog {
public:
    explicit PageWindow(const PageView& page);

    // In the middle of the first screen, with the focus on the default button.
    void Present();

    void ShowControl(const ControlView& control);
    void ShowPictures(const PageView& page);
    void ShowWaiting(bool waiting); // the cursor

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;

private:
    QWidget* MakeControl(const PageView& page, const ControlView& control);
    QWidget* MakeButton(const PageView& page, const ControlView& control);
    void FitToScreen();
    void Enable(QWidget* widget, bool enabled);
    void PostKey(WPARAM key);

    const HWND page_;
    Scale scale_;
    PageSurface* surface_;            // where the controls and pictures are
    QScrollArea* scroller_ = nullptr; // on a screen that is smaller than the page
    std::map<HWND, QWidget*> controls_;
    QWidget* default_ = nullptr;
    QWidget* first_ = nullptr; // has the focus at first; null: none
    QString mnemonics_;
    bool showing_ = false; // what changes now is not the user's doing
};

} // namespace platform::desktop
