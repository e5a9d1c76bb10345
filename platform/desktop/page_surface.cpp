// Paints what lies behind a page's controls: its frame and its pictures.

#include "platform/desktop/page_surface.h"

#include "platform/desktop/conversions.h"

#include <QPainter>
#include <QStyleOption>

namespace platform::desktop {

PageSurface::PageSurface(QWidget* window, bool framed) : QWidget(window), framed_(framed) {}

void PageSurface::ShowPictures(const std::vector<PaintedPicture>& pictures) {
    pictures_.clear();
    for (const PaintedPicture& picture : pictures)
        pictures_.push_back({PixmapOf(*picture.picture),
                             {picture.x, picture.y},
                             {0, 0, picture.width, picture.height}});
    update();
}

void PageSurface::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (framed_) {
        QStyleOption frame;
        frame.initFrom(this);
        style()->drawPrimitive(QStyle::PE_FrameWindow, &frame, &painter, this);
    }
    for (const ShownPicture& picture : pictures_)
        painter.drawPixmap(picture.position, picture.pixmap, picture.part);
}

} // namespace platform::desktop
