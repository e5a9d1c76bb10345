// A static text of a page.
#pragma once

#include "platform/windows/display.h"

#include <QColor>
#include <QLabel>

namespace platform::desktop {

// Wraps like a dialog's static text, in the colours of its control: those of the desktop unless the
// page has set others.
class TextLabel : public QLabel {
public:
    TextLabel(const ControlView& control, QWidget* page);

    void Show(const ControlView& control);

    // What its text takes at its width.
    QRect TextRect() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor behindText_; // invalid: nothing
};

} // namespace platform::desktop
