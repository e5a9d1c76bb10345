// Paints what lies behind a page's controls: its frame and its pictures.
//
// A screen may have more pixels than the page counts, also for a part of one. A bitmap that is
// scaled is blurred beside the text, so each picture is drawn for the pixels that it covers.

#include "platform/desktop/page_surface.h"

#include "platform/desktop/conversions.h"

#include <QPainter>
#include <QStyleOption>

namespace platform::desktop {

namespace {

// The nearest whole pixels of a screen that has `ratio` of them for each of the page's.
QRect InPixels(const QRect& rect, double ratio) {
    const QRectF exact(rect.x() * ratio, rect.y() * ratio, rect.width() * ratio,
                       rect.height() * ratio);
    const QPoint start = exact.topLeft().toPoint(), end = exact.bottomRight().toPoint();
    return {start, QSize(end.x() - start.x(), end.y() - start.y())};
}

} // namespace

PageSurface::PageSurface(QWidget* window, bool framed) : QWidget(window), framed_(framed) {}

void PageSurface::ShowPictures(const std::vector<PaintedPicture>& pictures) {
    pictures_.clear();
    for (const PaintedPicture& picture : pictures)
        pictures_.push_back({picture, {}});
    update();
}

void PageSurface::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (framed_) {
        QStyleOption frame;
        frame.initFrom(this);
        style()->drawPrimitive(QStyle::PE_FrameWindow, &frame, &painter, this);
    }
    // In the pixels of the screen, so that nothing is scaled once more on its way there.
    const double ratio = devicePixelRatioF();
    painter.scale(1 / ratio, 1 / ratio);
    for (auto& [painted, pixmap] : pictures_) {
        const QPoint corner(painted.x, painted.y);
        const QSize size(static_cast<int>(painted.picture->width),
                         static_cast<int>(painted.picture->height));
        const QRect whole = InPixels({corner, size}, ratio);
        const QRect part = InPixels({corner, QSize(painted.width, painted.height)}, ratio);
        if (pixmap.size() != whole.size())
            pixmap = PixmapOf(*painted.picture, whole.size());
        painter.drawPixmap(whole.topLeft(), pixmap, {QPoint(0, 0), part.size()});
    }
}

} // namespace platform::desktop
