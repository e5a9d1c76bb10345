// Pages with real widgets.
//
// What the user does becomes a message to the page, and the page alone decides what comes of it:
// Enter, Escape and the close box are the keys and the command that Windows makes of them, and a
// widget shows the state of its control in the model.

#include "platform/desktop/page_window.h"

#include "platform/desktop/mnemonics.h"
#include "platform/desktop/page_surface.h"
#include "platform/desktop/text_label.h"
#include "platform/windows/page_lines.h"

#include <windows.h>

#include <QCheckBox>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace platform::desktop {

namespace {

QString Words(const std::string& text) { return QString::fromStdString(text).trimmed(); }

// A page's font is that of any control that has not been given another one.
QFont PageFont(const PageView& page) {
    for (const ControlView& control : page.controls)
        if (control.font.lfHeight < 0 && control.font.lfWeight < FW_BOLD)
            return FontOf(control.font);
    return {};
}

// The name of a page: its title or, without one, its first text.
QString NameOf(const PageView& page) {
    if (!page.title.empty())
        return Words(page.title);
    for (const ControlView& control : page.controls)
        if (control.kind == ControlKind::Text && !control.text.empty())
            return Words(control.text);
    return {};
}

Qt::WindowFlags FlagsOf(const PageView& page) {
    if (page.title.empty())
        return Qt::Dialog | Qt::FramelessWindowHint;
    return Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
           Qt::WindowCloseButtonHint;
}

// Reacts to a click anywhere on it, as on Windows, and not on its words alone.
template <class Button>
class WholeButton : public Button {
public:
    using Button::Button;

protected:
    bool hitButton(const QPoint& point) const override { return this->rect().contains(point); }
};

} // namespace

PageWindow::PageWindow(const PageView& page)
    : QDialog(nullptr, FlagsOf(page)), page_(page.handle), scale_(PageFont(page)),
      surface_(new PageSurface(this, page.title.empty())) {
    setWindowTitle(NameOf(page));
    setWindowRole(QStringLiteral("page-%1").arg(page.id));
    surface_->setAccessibleName(NameOf(page));
    surface_->setFixedSize(scale_.Of(page.clientSize));
    QWidget* before = nullptr;
    for (const ControlView& control : page.controls) {
        QWidget* widget = MakeControl(page, control);
        if (!widget)
            continue;
        controls_[control.handle] = widget;
        widget->setObjectName(QString::number(control.id));
        widget->setGeometry(scale_.Of(control.rect));
        if (control.isDefault)
            default_ = widget;
        if (control.hasFocus)
            first_ = widget;
        if (before && widget->focusPolicy() != Qt::NoFocus)
            setTabOrder(before, widget);
        before = widget;
        ShowControl(control);
    }
    ShowPictures(page);
    FitToScreen();
}

QWidget* PageWindow::MakeControl(const PageView& page, const ControlView& control) {
    switch (control.kind) {
    case ControlKind::Text:
        return new TextLabel(control, surface_);
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
        return MakeButton(page, control);
    case ControlKind::Progress: {
        auto* bar = new QProgressBar(surface_);
        bar->setTextVisible(false);
        bar->setAccessibleName(NameOf(page));
        return bar;
    }
    default:
        return nullptr;
    }
}

QWidget* PageWindow::MakeButton(const PageView& page, const ControlView& control) {
    QAbstractButton* button = nullptr;
    if (control.kind == ControlKind::PushButton) {
        auto* push = new QPushButton(surface_);
        push->setAutoDefault(false);
        push->setDefault(control.isDefault);
        button = push;
    } else if (control.kind == ControlKind::CheckBox) {
        button = new WholeButton<QCheckBox>(surface_);
    } else {
        button = new WholeButton<QRadioButton>(surface_);
    }
    button->setFont(FontOf(control.font));
    button->setText(WithMnemonic(Words(control.text), mnemonics_));
    button->setAccessibleName(Words(LabelOf(page, control)));
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

void PageWindow::FitToScreen() {
    const QSize wanted = surface_->size();
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    if (wanted.width() <= screen.width() && wanted.height() <= screen.height()) {
        setFixedSize(wanted);
        return;
    }
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
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const QSize withBars = wanted + QSize(wanted.height() > screen.height() ? bar : 0,
                                          wanted.width() > screen.width() ? bar : 0);
    setFixedSize(withBars.boundedTo(screen));
}

void PageWindow::Present() {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    show();
    const QSize frame = frameGeometry().size();
    move(screen.x() + std::max(0, (screen.width() - frame.width()) / 2),
         screen.y() + std::max(0, (screen.height() - frame.height()) / 2));
    raise();
    activateWindow();
    // Nothing has the focus that the page has not given it to: Enter would press it.
    (first_ ? first_ : surface_)->setFocus();
}

// The toolkit would pass the focus of a control that goes out of use on to the next one, which may
// be the button that leaves the page.
void PageWindow::Enable(QWidget* widget, bool enabled) {
    if (!enabled && focusWidget() == widget)
        surface_->setFocus();
    widget->setEnabled(enabled);
    if (enabled && widget == default_ && focusWidget() == surface_)
        widget->setFocus();
}

void PageWindow::ShowControl(const ControlView& control) {
    const auto found = controls_.find(control.handle);
    QWidget* const widget = found == controls_.end() ? nullptr : found->second;
    if (!widget)
        return;
    showing_ = true;
    if (auto* label = dynamic_cast<TextLabel*>(widget)) {
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

void PageWindow::ShowPictures(const PageView& page) { surface_->ShowPictures(page.pictures); }

void PageWindow::ShowWaiting(bool waiting) {
    setCursor(waiting ? Qt::WaitCursor : Qt::ArrowCursor);
}

void PageWindow::PostKey(WPARAM key) { PostMessageA(page_, WM_KEYDOWN, key, 0); }

void PageWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        PostKey(VK_ESCAPE);
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        auto* focused = qobject_cast<QPushButton*>(focusWidget());
        if (focused && focused->isEnabled())
            focused->click();
        else
            PostKey(VK_RETURN);
    } else {
        event->ignore();
    }
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
    return QDialog::event(event);
}

} // namespace platform::desktop
