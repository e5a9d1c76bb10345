// Where words and pictures stand on the desktop, and pictures in the pixels of the screen.
// label: desktop

#include "platform/desktop/page_surface.h"
#include "platform/desktop/page_window.h"
#include "platform/desktop/text_label.h"
#include "testing/child_process.h"
#include "testing/page_test.h"

#include <QApplication>
#include <QRegularExpression>

#include <set>

namespace {

using namespace page_test;
using platform::desktop::PixmapOf;
using platform::desktop::TextLabel;

class DesktopLayout : public PageTest {
protected:
    void SetUp() override {
        PageTest::SetUp();
        LoadBanner();
        for (const ShownPage& shown : Pages)
            ShowAndSend(shown, shown.page().results.front().command);
    }
};

int Height(const TextLabel& label, const QString& text) {
    return label.fontMetrics().boundingRect(label.rect(), Qt::TextWordWrap, text).height();
}

TEST_F(DesktopLayout, texts_keep_the_banners_margin_start_in_one_line_and_leave_no_colon_alone) {
    const QRegularExpression lastColon(" :(?=\n|$)"), words("\\S");
    for (const int stretch : {100, 130}) {
        QFont font = QApplication::font();
        font.setStretch(stretch);
        QApplication::setFont(font);
        std::set<int> starts; // of the words on the notice
        for (const PageView& view : user_.ended) {
            const platform::desktop::PageWindow window(view);
            for (const auto* label : window.findChildren<TextLabel*>()) {
                const QString text = label->text();
                EXPECT_LE(10 + 240 + 10, label->x()) << text.toStdString();
                EXPECT_EQ(Height(*label, text), Height(*label, QString(text).remove(lastColon)))
                    << text.toStdString();
                const QString blanks = text.left(text.indexOf(words));
                if (view.id == IDD_UPGRADE_NOTICE && blanks.size() < 2)
                    starts.insert(label->x() + label->fontMetrics().horizontalAdvance(blanks));
            }
        }
        EXPECT_LE(*starts.rbegin() - *starts.begin(), 1) << stretch;
    }
}

QImage Shown(const platform::PaintedPicture& painted) {
    platform::desktop::PageSurface surface(nullptr, false);
    surface.resize(700, 500);
    surface.ShowPictures({painted});
    const QImage page = surface.grab().toImage();
    const double ratio = page.devicePixelRatio();
    const QPointF start(painted.x * ratio, painted.y * ratio);
    const QPointF end((painted.x + painted.width) * ratio, (painted.y + painted.height) * ratio);
    return page.copy({start.toPoint(), end.toPoint() - QPoint(1, 1)});
}

TEST_F(DesktopLayout, pictures_are_drawn_for_the_pixels_of_the_screen) {
    for (const PageView& view : user_.ended) {
        for (platform::PaintedPicture painted : view.pictures) {
            const QImage shown = Shown(painted), bitmap = PixmapOf(*painted.picture).toImage();
            const QImage scaled = bitmap.convertToFormat(shown.format())
                                      .scaled(shown.size(), {}, Qt::SmoothTransformation);
            EXPECT_EQ(bitmap.size() == shown.size(), scaled == shown);
            platform::Picture withoutSource = *painted.picture;
            withoutSource.vector = withoutSource.bitmap; // which is no SVG
            painted.picture = std::make_shared<const platform::Picture>(withoutSource);
            EXPECT_EQ(scaled, Shown(painted));
        }
    }
}

// A scale is a process's own.
TEST(DesktopScales, have_sharp_pictures) {
    for (const char* scale : {"1.5", "2", "3"}) {
        test_support::ChildProcess process({"/proc/self/exe", "--gtest_filter=*for_the_pixels*"},
                                           {.environment = {{"QT_SCALE_FACTOR", scale}}});
        process.CloseInput();
        EXPECT_EQ(0, process.Wait()) << scale << "\n" << process.Transcript();
    }
}

} // namespace
