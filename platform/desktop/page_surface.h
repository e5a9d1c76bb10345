// The area of a page's window that carries its controls and pictures, at the size of the page. On
// the toolkit's thread alone.
#pragma once

#include "platform/windows/drawing.h"

#include <QPixmap>
#include <QWidget>

#include <vector>

namespace platform::desktop {

class PageSurface : public QWidget {
public:
    // `framed`: with a frame of its own, as its window has no title bar. The window owns it.
    PageSurface(QWidget* window, bool framed);

    // In place of those before.
    void ShowPictures(const std::vector<PaintedPicture>& pictures);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct ShownPicture {
        PaintedPicture painted;
        QPixmap pixmap; // for the pixels of the screen that it was last shown on; null: not yet
    };

    const bool framed_;
    std::vector<ShownPicture> pictures_;
};

} // namespace platform::desktop
