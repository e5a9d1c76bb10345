// A page as a window of the desktop. On the toolkit's thread alone.
#pragma once

#include "platform/desktop/conversions.h"
#include "platform/windows/display.h"

#include <QDialog>

#include <map>

class QPushButton;
class QScrollArea;

namespace platform::desktop {

class PageSurface;

class PageWindow : public QDialog {
public:
    explicit PageWindow(const PageView& page);
    ~PageWindow() override;

    // In the middle of the first screen, with the focus where the page has given it to. From then
    // on the page tells where it has gone.
    void Present();

    void ShowControl(const ControlView& control);
    void ShowPictures(const PageView& page);
    void ShowWaiting(bool waiting); // the cursor

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    QWidget* MakeControl(const PageView& page, const ControlView& control);
    QWidget* MakeButton(const PageView& page, const ControlView& control);
    QList<QPushButton*> Buttons() const;
    void JoinLabels(const PageView& page);
    void Enable(QWidget* widget, bool enabled);
    void FollowFocus();
    void MarkDefault();

    QSize FrameSize() const;
    void FollowScreen();
    void FitToScreen();
    void Centre();
    void MakeScroller();
    void ScrollToButtons();
    void ScrollToFocus();
    void PostKey(WPARAM key);

    const HWND page_;
    Scale scale_;
    PageSurface* surface_;            // where the controls and pictures are
    QScrollArea* scroller_ = nullptr; // where a screen is or was smaller than the page
    QSize frame_;                     // that the page's size allows for
    using Controls = std::map<HWND, QWidget*>;
    Controls controls_;
    std::map<HWND, QString> labels_; // of texts, by the text
    QWidget* default_ = nullptr;
    QWidget* first_ = nullptr; // has the focus at first; null: none
    HWND focused_ = nullptr;   // as the page knows it
    QString mnemonics_;
    bool showing_ = false; // what changes now is not the user's doing
};

} // namespace platform::desktop
