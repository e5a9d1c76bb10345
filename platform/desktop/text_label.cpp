// Static texts as labels of the toolkit.
//
// A page that colours a text names colours of the classic scheme. Where they are those that every
// text has there, the desktop's own are meant; a dark desktop stays dark.

#include "platform/desktop/text_label.h"

#include "platform/desktop/conversions.h"

#include <QPainter>

namespace platform::desktop {

namespace {

Qt::Alignment AlignmentOf(const ControlView& control) {
    const Qt::Alignment down = control.centredDown ? Qt::AlignVCenter : Qt::AlignTop;
    switch (control.alignment) {
    case TextAlignment::Centre:
        return down | Qt::AlignHCenter;
    case TextAlignment::Right:
        return down | Qt::AlignRight;
    default:
        return down | Qt::AlignLeft;
    }
}

} // namespace

TextLabel::TextLabel(const ControlView& control, QWidget* page) : QLabel(page) {
    setTextFormat(Qt::PlainText);
    setWordWrap(!control.centredDown); // a text that is centred down has one line
    setAlignment(AlignmentOf(control));
    setMargin(0);
    setIndent(0);
    Show(control);
}

void TextLabel::Show(const ControlView& control) {
    setText(QString::fromStdString(control.text).remove('\r'));
    setFont(FontOf(control.font));
    setVisible(control.visible && !text().isEmpty());
    setEnabled(control.enabled);
    QPalette colours; // the desktop's, also when it changes, but for what is set here
    if (control.painted.textColour != GetSysColor(COLOR_WINDOWTEXT))
        colours.setColor(QPalette::WindowText, ColourOf(control.painted.textColour));
    setPalette(colours);
    const bool plain = control.painted.background == GetSysColor(COLOR_BTNFACE) ||
                       control.painted.background == GetSysColor(COLOR_SCROLLBAR);
    behindText_ = plain ? QColor() : ColourOf(control.painted.background);
    update();
}

QRect TextLabel::TextRect() const {
    const int flags = static_cast<int>(alignment()) | (wordWrap() ? Qt::TextWordWrap : 0);
    return fontMetrics().boundingRect(contentsRect(), flags, text());
}

void TextLabel::paintEvent(QPaintEvent* event) {
    if (behindText_.isValid())
        QPainter(this).fillRect(TextRect(), behindText_);
    QLabel::paintEvent(event);
}

} // namespace platform::desktop
