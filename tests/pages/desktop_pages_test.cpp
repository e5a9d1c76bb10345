// Every page as the desktop shows it: its words whole, nothing over anything else, pictures at
// their pixels, and every way to its results. A picture of each page is left in the build folder.
// label: desktop

#include "platform/desktop/conversions.h"
#include "platform/desktop/desktop_display.h"
#include "platform/desktop/text_label.h"
#include "testing/child_process.h"
#include "tests/pages/page_index.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

using namespace page_test;
using platform::desktop::TextLabel;

constexpr int LimitMilliseconds = 60000;

template <class Condition>
bool WaitUntil(Condition condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < LimitMilliseconds)
        QTest::qWait(1);
    return condition();
}

std::string Name(const char* variable, const char* standard) {
    const char* value = std::getenv(variable);
    return value ? value : standard;
}

QImage ImageOf(const PagePicture& placed) {
    const auto id = static_cast<std::uint16_t>(placed.bitmap);
    const auto bytes = platform::FindResourceData(platform::BitmapResource, id);
    platform::Picture picture;
    picture.bitmap = *bytes;
    return platform::desktop::PixmapOf(picture).toImage().convertToFormat(QImage::Format_RGB32);
}

// The mean difference of a channel, of 255.
double Difference(const QImage& one, const QImage& other) {
    double sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QColor a = one.pixelColor(x, y), b = other.pixelColor(x, y);
            sum += std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                   std::abs(a.blue() - b.blue());
        }
    }
    return sum / (3.0 * one.width() * one.height());
}

class DesktopPage : public IndexedPage {
protected:
    void SetUp() override {
        IndexedPage::SetUp();
        QFont font = QApplication::font();
        font.setStretch(std::stoi(Name("PAGE_STRETCH", "100")));
        QApplication::setFont(font);
        platform::UseDisplay(&platform::DesktopDisplay());
    }
    void TearDown() override {
        if (thread_.joinable())
            thread_.join();
        IndexedPage::TearDown();
    }

    // Shows the page on a thread of its own, as the wizard does.
    QWidget* Open() {
        const PageFacts& facts = GetParam();
        over_ = false;
        thread_ = std::thread([this, &facts] {
            result_ = facts.show();
            over_ = true;
        });
        const QString role = QStringLiteral("page-%1").arg(facts.dialog);
        window_ = nullptr;
        WaitUntil([&] {
            for (QWidget* widget : QApplication::topLevelWidgets())
                if (widget->windowRole() == role && widget->isVisible())
                    window_ = widget;
            return window_ && window_->isActiveWindow();
        });
        if (!window_)
            throw std::runtime_error("no page comes up");
        return window_;
    }
    // The result once it has ended and has left the screen.
    INT_PTR Result() {
        WaitUntil([&] { return over_.load(); });
        thread_.join();
        WaitUntil([&] { return window_.isNull(); });
        return result_;
    }

    QWidget* Control(int id) const { return window_->findChild<QWidget*>(QString::number(id)); }
    QAbstractButton* Button(int id) const {
        return window_->findChild<QAbstractButton*>(QString::number(id));
    }
    QWidget* Surface() const { return window_->findChild<TextLabel*>()->parentWidget(); }

    QImage Grab() const { return Surface()->grab().toImage(); }
    // A part of the page, as large as it is laid out.
    static QImage Part(const QImage& page, const QRect& part) {
        const double ratio = page.devicePixelRatio();
        QImage cut = page.copy(
            QRectF(part.x() * ratio, part.y() * ratio, part.width() * ratio, part.height() * ratio)
                .toRect());
        cut.setDevicePixelRatio(1);
        return cut.scaled(part.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    }
    bool IsPainted(const QImage& page, const PagePicture& picture) const {
        const QImage image = ImageOf(picture);
        const QRect rect({picture.x, picture.y}, image.size());
        const double difference = Difference(image, Part(page, rect));
        return page.devicePixelRatio() == 1 ? difference == 0 : difference < 8;
    }
    void ExpectPictures() {
        for (const PagePicture& picture : PicturesOf(GetParam()))
            EXPECT_TRUE(WaitUntil([&] { return IsPainted(Grab(), picture); })) << picture.bitmap;
    }
    void SavePicture() {
        const std::filesystem::path folder =
            std::filesystem::path(BUILD_FOLDER) / "pages" / Name("PAGE_PICTURES", "96dpi");
        std::filesystem::create_directories(folder);
        Grab().save(QString::fromStdString(folder / PictureName(GetParam())));
    }

    void ExpectWords() {
        for (const TextFact& fact : TextsOf(GetParam())) {
            const int id = fact.control;
            QWidget* control = Control(id);
            ASSERT_TRUE(control) << id;
            const QString words = QString::fromStdString(ShownText(fact)).remove('\r');
            if (auto* label = dynamic_cast<TextLabel*>(control)) {
                EXPECT_EQ(words.toStdString(), label->text().toStdString()) << id;
                ExpectLooks(*label, fact.mark);
            } else if (auto* button = Button(id)) {
                EXPECT_EQ(words.toStdString(), button->text().remove('&').toStdString()) << id;
                EXPECT_LE(button->fontMetrics().horizontalAdvance(words), button->width() - 8)
                    << id;
            }
        }
    }
    // Of the marks of the index: heading, bold, red; m is red behind the text.
    void ExpectLooks(const TextLabel& label, char mark) {
        EXPECT_EQ(mark == 'h' || mark == 'b', label.font().weight() == QFont::Bold);
        EXPECT_EQ(mark == 'h', label.font().pixelSize() > 12);
        const auto isRed = [&] { return label.palette().color(QPalette::WindowText) == Qt::red; };
        EXPECT_EQ(mark == 'r', mark == 'r' ? WaitUntil(isRed) : isRed()); // painted a little later
        const auto isMarked = [&] {
            return Part(Grab(), {label.pos(), QSize(1, 1)}).pixelColor(0, 0) == Qt::red;
        };
        EXPECT_EQ(mark == 'm', mark == 'm' ? WaitUntil(isMarked) : isMarked());
    }
    void ExpectNothingCut() {
        for (const TextLabel* label : window_->findChildren<TextLabel*>()) {
            if (!label->isVisible())
                continue;
            EXPECT_LE(label->TextRect().height(), label->height()) << label->text().toStdString();
            EXPECT_LE(label->TextRect().width(), label->width()) << label->text().toStdString();
        }
    }
    void ExpectNothingOverlaps() {
        std::vector<std::pair<std::string, QRect>> rects;
        for (QWidget* control : Surface()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (control->isVisible())
                rects.emplace_back(control->objectName().toStdString(), control->geometry());
        for (const PagePicture& picture : PicturesOf(GetParam()))
            rects.emplace_back("picture " + std::to_string(picture.bitmap),
                               QRect({picture.x, picture.y}, ImageOf(picture).size()));
        for (std::size_t one = 0; one < rects.size(); ++one) {
            EXPECT_TRUE(Surface()->rect().contains(rects[one].second)) << rects[one].first;
            for (std::size_t other = 0; other < one; ++other) {
                // The bold label fits into the blanks at the start of a text.
                const bool meant = rects[other].first == "1182" && rects[one].first == "1177";
                EXPECT_TRUE(meant || !rects[one].second.intersects(rects[other].second))
                    << rects[one].first << " over " << rects[other].first;
            }
        }
    }

    QPointer<QWidget> window_;

private:
    std::thread thread_;
    std::atomic<bool> over_ = false;
    INT_PTR result_ = 0;
};

void ExpectNames(QAccessibleInterface* node) {
    if (!node || node->state().invisible)
        return;
    EXPECT_NE("", node->text(QAccessible::Name).toStdString())
        << node->object()->metaObject()->className() << " "
        << node->object()->objectName().toStdString();
    EXPECT_NE(QAccessible::NoRole, node->role());
    for (int child = 0; child < node->childCount(); ++child)
        ExpectNames(node->child(child));
}

class StandingPage : public DesktopPage {
protected:
    void Leave() {
        if (!CanBeLeft(GetParam()))
            EndDialog(openedPage, 1);
        else if (QAbstractButton* button = Button(1175))
            button->click();
        else
            window_->close();
        Result();
    }
};

TEST_P(StandingPage, shows_its_words_and_pictures_whole) {
    Open();
    ExpectPictures();
    ExpectWords();
    SavePicture();
    ExpectNothingCut();
    ExpectNothingOverlaps();
    ExpectNames(QAccessible::queryAccessibleInterface(window_));
    const std::string title = Utf8(CatalogText(11035)).substr(1);
    EXPECT_EQ(CanBeLeft(GetParam()), window_->windowTitle().toStdString() == title);
    const auto* bar = window_->findChild<QProgressBar*>();
    EXPECT_TRUE(!bar || WaitUntil([&] { return bar->value() == 37; }));
    Leave();
}

// Tabs to the control and presses it.
void TabTo(QWidget* window, const QWidget* control) {
    for (int tab = 0; tab < 10 && QApplication::focusWidget() != control; ++tab)
        QTest::keyClick(window, Qt::Key_Tab);
    EXPECT_EQ(control, QApplication::focusWidget());
}

TEST_P(DesktopPage, gives_its_results_by_mouse_and_by_keyboard) {
    const PageFacts& facts = GetParam();
    for (const auto& [command, result] : ResultsOf(facts)) {
        for (const bool byKeyboard : {false, true}) {
            Open();
            if (*facts.before)
                QTest::mouseClick(Button(std::stoi(facts.before)), Qt::LeftButton);
            QAbstractButton* button = Button(command);
            WaitUntil([&] { return !button || button->isEnabled(); });
            if (!button && command == IDOK) // a command that has no button
                QTest::keyClick(window_, Qt::Key_Return);
            else if (!button && byKeyboard)
                QTest::keyClick(window_, Qt::Key_Escape);
            else if (!button)
                window_->close();
            else if (byKeyboard)
                TabTo(window_, button), QTest::keyClick(button, Qt::Key_Return);
            else
                QTest::mouseClick(button, Qt::LeftButton);
            EXPECT_EQ(result, Result()) << command << (byKeyboard ? " by keyboard" : " by mouse");
        }
    }
}

TEST_P(DesktopPage, ends_by_escape_and_the_close_box_only_where_cancel_has_a_result) {
    const PageFacts& facts = GetParam();
    const std::vector<PageResult> results = ResultsOf(facts);
    const auto leaving = std::find_if(results.begin(), results.end(), [](const PageResult& end) {
        return end.command == IDCANCEL;
    });
    const bool leaves = leaving != results.end();
    Open();
    QTest::keyClick(window_, Qt::Key_Escape);
    if (!leaves) { // nothing has come of it, nor of the close box
        window_->close();
        QTest::keyClick(window_, Qt::Key_Return);
    }
    EXPECT_EQ(leaves ? leaving->result : results.front().result, Result());
}

INSTANTIATE_TEST_SUITE_P(All, DesktopPage, testing::ValuesIn(Index), NameOfPage);
INSTANTIATE_TEST_SUITE_P(All, StandingPage, testing::ValuesIn(Index), NameOfPage);
INSTANTIATE_TEST_SUITE_P(Other, StandingPage, testing::ValuesIn(Others), NameOfPage);

class TransferPage : public DesktopPage {};

// What is posted behind the user's doings is served behind them.
TEST_P(TransferPage, ends_by_no_key_and_no_close_box_and_has_the_busy_cursor) {
    static char after[] = "38";
    State.Run.BusyCursor = true;
    Open();
    QTest::keyClick(window_, Qt::Key_Escape);
    QTest::keyClick(window_, Qt::Key_Return);
    window_->close();
    PostMessageA(GetDlgItem(openedPage, IDC_PERCENT), WM_SETTEXT, 0,
                 reinterpret_cast<LPARAM>(after));
    const auto* percent = dynamic_cast<TextLabel*>(Control(IDC_PERCENT));
    EXPECT_TRUE(WaitUntil([&] { return percent->text() == after; }));
    EXPECT_TRUE(window_->isVisible());
    if (GetParam().dialog == 102) {
        QEvent enter(QEvent::Enter); // the mouse comes in
        QApplication::sendEvent(window_, &enter);
        EXPECT_TRUE(WaitUntil([&] { return window_->cursor().shape() == Qt::WaitCursor; }));
        State.Run.BusyCursor = false;
        PostMessageA(openedPage, WM_SETCURSOR, 0, 0); // as a transfer does when its data go out
        EXPECT_TRUE(WaitUntil([&] { return window_->cursor().shape() == Qt::ArrowCursor; }));
    }
    EndDialog(openedPage, 1);
    EXPECT_EQ(1, Result());
}

INSTANTIATE_TEST_SUITE_P(Other, TransferPage, testing::Values(Others[2], Others[3]), NameOfPage);

// A scale is a process's own, so each runs the tests of above anew.
TEST(Desktop, shows_its_pages_whole_at_every_scale_and_with_a_wider_font) {
    const struct {
        const char *pictures, *scale, *stretch;
    } looks[] = {{"144dpi", "1.5", "100"}, {"192dpi", "2", "100"}, {"wide", "1", "130"}};
    for (const auto& look : looks) {
        test_support::ChildProcess process({"/proc/self/exe", "--gtest_filter=*shows_its_words*"},
                                           {.environment = {{"PAGE_PICTURES", look.pictures},
                                                            {"QT_SCALE_FACTOR", look.scale},
                                                            {"PAGE_STRETCH", look.stretch}}});
        process.CloseInput();
        EXPECT_EQ(0, process.Wait()) << look.pictures << "\n" << process.Transcript();
    }
}

} // namespace

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication application(count, words);
    QApplication::setQuitOnLastWindowClosed(false);
    QAccessible::setActive(true);
    return RUN_ALL_TESTS();
}
