// From the layer's fonts, units, colours and pictures to those of the toolkit. On the toolkit's
// thread alone.
#pragma once

#include "platform/windows/drawing.h"

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QSize>

namespace platform::desktop {

// As large as fits: an em and a character cell no higher than the description asks for. What the
// description leaves open is as in the application's font.
QFont FontOf(const LOGFONTA& description);

// Pages are laid out for the widths of Arial. A host's own font may be wider, and then all that is
// laid out grows across with it, as dialog units do; what is painted in pixels stays where it is.
class Scale {
public:
    explicit Scale(const QFont& pageFont);
    QRect Of(const RECT& rect) const;
    QSize Of(const SIZE& size) const;

private:
    double across_;
};

QColor ColourOf(COLORREF colour);

// Null where the bytes are no picture.
QPixmap PixmapOf(const Picture& picture);

// The picture for an area of so many pixels of the screen: its bitmap where that is the size of
// it; else drawn from its vector source or, where it has none that can be drawn, the bitmap scaled.
QPixmap PixmapOf(const Picture& picture, const QSize& pixels);

// The program's own icon; null where its resources have none.
QIcon ProgramIcon();

} // namespace platform::desktop
