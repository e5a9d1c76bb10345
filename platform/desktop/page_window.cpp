// Pages with real widgets.
//
// What the user does becomes a message to the page, and the page alone decides what comes of it:
// Enter, Escape and the close box are the keys and the command that Windows makes of them, and a
// widget shows the state of its control in the model.

#include "platform/desktop/page_window.h"

#include "platform/desktop/announcements.h"
#include "platform/desktop/mnemonics.h"
#include "platform/desktop/page_buttons.h"
#include "platform/desktop/page_names.h"
#include "platform/desktop/page_surface.h"
#include "platform/desktop/page_tree.h"
#include "platform/desktop/text_label.h"

#include <windows.h>

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace platform::desktop {

namespace {

// A page's font is that of any control that has not been given another one.
QFont PageFont(const PageView& page) {
    for (const ControlView& control : page.controls)
        if (control.font.lfHeight < 0 && control.font.lfWeight < FW_BOLD)
            return FontOf(control.font);
    return {};
}

Qt::WindowFlags FlagsOf(const PageView& page) {
    if (page.title.empty())
        return Qt::Dialog | Qt::FramelessWindowHint;
    return Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
           Qt::WindowCloseButtonHint;
}

} // namespace

PageWindow::PageWindow(const PageView& page)
    : QDialog(nullptr, FlagsOf(page)), page_(page.handle), scale_(PageFont(page)),
      surface_(new PageSurface(this, page.title.empty())) {
    ControlAnnouncements();
    setWindowTitle(page.title.empty() ? HeadingOf(page) : Words(page.title));
    setAccessibleName(NameOf(page));
    setWindowRole(QStringLiteral("page-%1").arg(page.id));
    UsePageTree(surface_);
    surface_->setAccessibleName(HeadingOf(page));
    surface_->setFixedSize(scale_.Of(page.clientSize));
    QWidget* before = nullptr;
    for (const ControlView& control : page.controls) {
        QWidget* widget = MakeControl(page, control);
        if (!widget)
            continue;
        controls_[control.handle] = widget;
        widget->setObjectName(QString::number(control.id));
        widget->setAccessibleDescription(DescriptionOf(page, control));
        widget->setGeometry(scale_.Of(control.rect));
        if (control.isDefault)
            default_ = widget;
        if (control.hasFocus) {
            first_ = widget;
            focused_ = control.handle;
        }
        if (before && widget->focusPolicy() != Qt::NoFocus)
            setTabOrder(before, widget);
        before = widget;
        ShowControl(control);
    }
    JoinLabels(page);
    ShowPictures(page);
    FitToScreen();
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && now->window() == this)
            FollowFocus();
    });
}

// The toolkit passes the focus on while it takes the page down.
PageWindow::~PageWindow() { disconnect(qApp, nullptr, this, nullptr); }

void PageWindow::JoinLabels(const PageView& page) {
    for (const ControlView& control : page.controls) {
        if (control.kind != ControlKind::Text)
            continue;
        auto* label = static_cast<QLabel*>(controls_.at(control.handle));
        if (const ControlView* target = WordlessControl(page, control))
            label->setBuddy(controls_.at(target->handle));
        if (IsLabelOfText(page, control))
            LeaveOutOfTree(label);
    }
}

QWidget* PageWindow::MakeControl(const PageView& page, const ControlView& control) {
    switch (control.kind) {
    case ControlKind::Text:
        labels_[control.handle] = LabelOfText(page, control);
        return new TextLabel(control, surface_);
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
        return MakeButton(page, control);
    case ControlKind::Progress: {
        auto* bar = new QProgressBar(surface_);
        bar->setTextVisible(false);
        bar->setAccessibleName(NameOf(page, control));
        return bar;
    }
    default:
        return nullptr;
    }
}

QWidget* PageWindow::MakeButton(const PageView& page, const ControlView& control) {
    QAbstractButton* const button = MakePageButton(control.kind, surface_);
    button->setFont(FontOf(control.font));
    button->setText(WithMnemonic(Words(control.text), mnemonics_));
    button->setAccessibleName(NameOf(page, control));
    const HWND handle = control.handle;
    const auto click = [this, handle] {
        if (!showing_)
            PostMessageA(handle, BM_CLICK, 0, 0);
    };
    // A radio button can be chosen with the arrow keys, without a click.
    if (control.kind == ControlKind::RadioButton)
        connect(button, &QAbstractButton::toggled, this, [click](bool on) {
            if (on)
                click();
        });
    else
        connect(button, &QAbstractButton::clicked, this, click);
    return button;
}

// Of what the desktop draws around the page, once it is on the screen. The toolkit may count a
// frame that it does not know yet as less than nothing.
QSize PageWindow::FrameSize() const {
    return (frameGeometry().size() - size()).expandedTo(QSize(0, 0));
}

// A page that has never been larger than its screen has no scroll area around it.
void PageWindow::FitToScreen() {
    frame_ = FrameSize();
    const QSize room = screen()->availableSize() - frame_;
    const QSize wanted = surface_->size();
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const QSize bars(wanted.height() > room.height() ? bar : 0,
                     wanted.width() > room.width() ? bar : 0);
    if (!bars.isNull() && !scroller_)
        MakeScroller();
    setFixedSize((wanted + bars).boundedTo(room));
}

void PageWindow::MakeScroller() {
    QWidget* const focused = focusWidget();
    scroller_ = new QScrollArea(this);
    scroller_->setFrameShape(QFrame::NoFrame);
    scroller_->setFocusPolicy(Qt::NoFocus); // the keys come from the page's own controls
    scroller_->setAccessibleName(surface_->accessibleName());
    for (QWidget* part : scroller_->findChildren<QWidget*>())
        part->setAccessibleName(surface_->accessibleName());
    scroller_->setWidget(surface_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroller_);
    if (isVisible())
        scroller_->show();
    if (focused) // which the move into the area has taken
        focused->setFocus();
}

// Text is found where reading goes on to; a button that is out of sight is not missed. So those are
// in view at first, and that with the focus in any case.
void PageWindow::ScrollToButtons() {
    if (!scroller_)
        return;
    layout()->activate();
    for (QPushButton* button : Buttons())
        scroller_->ensureWidgetVisible(button);
    ScrollToFocus();
}

void PageWindow::ScrollToFocus() {
    if (QWidget* const focused = focusWidget(); scroller_ && focused && focused != surface_)
        scroller_->ensureWidgetVisible(focused);
}

void PageWindow::Centre() {
    const QRect available = screen()->availableGeometry();
    const QSize frame = frameGeometry().size();
    move(available.x() + std::max(0, (available.width() - frame.width()) / 2),
         available.y() + std::max(0, (available.height() - frame.height()) / 2));
}

// The screen, or the frame that a window manager gives to the page a little later.
void PageWindow::FollowScreen() {
    FitToScreen();
    if (!screen()->availableGeometry().contains(frameGeometry()))
        Centre();
}

void PageWindow::Present() {
    show();
    setAttribute(Qt::WA_KeyboardFocusChange); // the focus is seen before the first key, too
    setScreen(QGuiApplication::primaryScreen());
    FitToScreen();
    Centre();
    raise();
    activateWindow();
    // Nothing has the focus that the page has not given it to: Enter would press it.
    (first_ ? first_ : surface_)->setFocus();
    FollowFocus();
    const auto watch = [this](QScreen* now) {
        connect(now, &QScreen::availableGeometryChanged, this, &PageWindow::FollowScreen,
                Qt::UniqueConnection);
    };
    watch(screen());
    connect(windowHandle(), &QWindow::screenChanged, this, [this, watch](QScreen* now) {
        watch(now);
        FitToScreen();
    });
}

QList<QPushButton*> PageWindow::Buttons() const {
    return surface_->findChildren<QPushButton*>(Qt::FindDirectChildrenOnly);
}

// What follows the focus: the look of the button that Enter presses, the part of the page that is
// in view, and what the page knows of it, for when it is hidden and comes back.
void PageWindow::FollowFocus() {
    MarkDefault();
    ScrollToFocus();
    const auto focused = std::ranges::find(controls_, focusWidget(), &Controls::value_type::second);
    const HWND handle = focused == controls_.end() ? nullptr : focused->first;
    if (handle != focused_)
        PostMessageA(page_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(handle), TRUE);
    focused_ = handle;
}

// Only one button looks like the one that Enter presses: that with the focus or else the default
// one, and none while that is grey.
void PageWindow::MarkDefault() {
    auto* const focused = qobject_cast<QPushButton*>(focusWidget());
    const QWidget* const pressed = focused && focused->isEnabled() ? focused : default_;
    for (QPushButton* button : Buttons())
        button->setDefault(button == pressed && button->isEnabled());
}

// A mark may be on its way to the page that turns the default button on. Until then Tab would pass
// that one by, and the next key would press the one behind it, which leaves.
bool PageWindow::focusNextPrevChild(bool next) {
    const auto* const choice = qobject_cast<QRadioButton*>(focusWidget());
    if (!choice || !choice->isChecked() || !default_ || default_->isEnabled())
        return QDialog::focusNextPrevChild(next);
    surface_->setFocus();
    return true;
}

// The toolkit would pass the focus of a control that goes out of use on to the next one, which may
// be the button that leaves the page.
void PageWindow::Enable(QWidget* widget, bool enabled) {
    if (!enabled && focusWidget() == widget)
        surface_->setFocus();
    widget->setEnabled(enabled);
    if (enabled && widget == default_ && focusWidget() == surface_)
        widget->setFocus();
    MarkDefault();
}

void PageWindow::ShowControl(const ControlView& control) {
    const auto found = controls_.find(control.handle);
    QWidget* const widget = found == controls_.end() ? nullptr : found->second;
    if (!widget)
        return;
    showing_ = true;
    if (auto* label = dynamic_cast<TextLabel*>(widget)) {
        const QString name = NameOfText(control, labels_[control.handle]);
        if (label->accessibleName() != name) // the toolkit announces it in any case
            label->setAccessibleName(name);
        label->Show(control);
    } else {
        widget->setVisible(control.visible);
        Enable(widget, control.enabled);
    }
    if (auto* button = dynamic_cast<QAbstractButton*>(widget); button && button->isCheckable())
        button->setChecked(control.checked);
    if (auto* bar = dynamic_cast<QProgressBar*>(widget)) {
        bar->setRange(static_cast<int>(control.lowest), static_cast<int>(control.highest));
        bar->setValue(static_cast<int>(control.position));
    }
    showing_ = false;
}

void PageWindow::ShowPictures(const PageView& page) {
    surface_->ShowPictures(page.pictures);
    ShowInTree(surface_, page.pictures);
}

void PageWindow::ShowWaiting(bool waiting) {
    setCursor(waiting ? Qt::WaitCursor : Qt::ArrowCursor);
}

void PageWindow::PostKey(WPARAM key) { PostMessageA(page_, WM_KEYDOWN, key, 0); }

void PageWindow::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool escape = event->key() == Qt::Key_Escape;
    auto* focused = qobject_cast<QPushButton*>(focusWidget());
    // Held down over the end of a page, a key would end the next one.
    if (event->isAutoRepeat() || !(enter || escape))
        event->ignore();
    else if (enter && focused && focused->isEnabled())
        focused->click();
    else
        PostKey(enter ? VK_RETURN : VK_ESCAPE);
}

// The page decides whether it closes.
void PageWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    PostMessageA(page_, WM_CLOSE, 0, 0);
}

bool PageWindow::event(QEvent* event) {
    if (event->type() == QEvent::Enter)
        PostMessageA(page_, WM_SETCURSOR, reinterpret_cast<WPARAM>(page_),
                     MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    if (isVisible() && frame_ != FrameSize()) // which has no event of its own
        QMetaObject::invokeMethod(this, &PageWindow::FollowScreen, Qt::QueuedConnection);
    const bool handled = QDialog::event(event);
    if (event->type() == QEvent::Resize)
        ScrollToButtons();
    return handled;
}

} // namespace platform::desktop
