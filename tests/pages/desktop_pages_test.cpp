// Every page as the desktop shows it: its words whole, nothing over anything else, pictures at
// their pixels, and every way to its results. A picture of each page is left in the build folder.
// label: desktop

#include "frame/waiting_pages.h"
#include "pages/progress_pages.h"
#include "platform/desktop/conversions.h"
#include "platform/desktop/desktop_display.h"
#include "platform/desktop/file_dialogs.h"
#include "platform/desktop/text_label.h"
#include "platform/desktop/toolkit_language.h"
#include "platform/windows/pages.h"
#include "platform/windows/window_model.h"
#include "testing/page_test.h"
#include "testing/test_home.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include <commctrl.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <span>
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

// Whatever a page has to show in all of its states, and how a test comes to see it.
struct DesktopFacts {
    ShownPage shown;
    INT_PTR (*show)(const Page& page);
};

// Its thread serves messages that other threads send, as Windows does in many calls, and paints
// nothing: the page is on the screen whole when it has been opened.
INT_PTR ShowWaiting(const Page& page) {
    const HWND window = OpenWaitingPage(page, nullptr);
    MSG message;
    while (IsWindowVisible(window)) {
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
        Sleep(1);
    }
    return DestroyWindow(window);
}

// As a worker leaves it a third of the way, without the worker.
INT_PTR ShowTransfer(const Page& page) {
    Page idle = page;
    idle.open = [](HWND window) {
        if (GetDlgItem(window, IDC_PROGRESS_DURATION))
            SetDlgItemTextA(window, IDC_PROGRESS_DURATION, CatalogText(IDS_UPGRADING_SERIAL));
        else
            SetDlgItemTextA(window, IDC_BACKUP_TEXT, CatalogText(IDS_BACKING_UP_SERIAL));
        SendDlgItemMessageA(window, IDC_PROGRESS, PBM_SETPOS, 37, 0);
        SetDlgItemInt(window, IDC_PERCENT, 37, FALSE);
    };
    return ShowPage(idle);
}

std::vector<DesktopFacts> LeavablePages() {
    std::vector<DesktopFacts> pages;
    for (const ShownPage& shown : Pages)
        pages.push_back({shown, ShowPage});
    return pages;
}
const DesktopFacts WaitingPages[] = {{{The<BusyPage>}, ShowWaiting},
                                     {{The<PreparePage>}, ShowWaiting}};
const DesktopFacts TransferPages[] = {{{The<ProgressPage>}, ShowTransfer},
                                      {{The<BackupPage>}, ShowTransfer}};

const auto NameOfPage = [](const auto& facts) {
    return "page_" + std::to_string(facts.param.shown.page().dialog) + "_at_" +
           std::to_string(facts.index);
};

class DesktopPage : public PageTest, public testing::WithParamInterface<DesktopFacts> {
protected:
    void SetUp() override {
        PageTest::SetUp();
        LoadBanner();
        QFont font = QApplication::font();
        font.setStretch(std::stoi(Name("PAGE_STRETCH", "100")));
        QApplication::setFont(font);
        platform::UseDisplay(&platform::DesktopDisplay());
    }
    void TearDown() override {
        if (thread_.joinable())
            thread_.join();
        PageTest::TearDown();
    }

    // Shows the page on a thread of its own, as the wizard does.
    QWidget* Open() {
        const DesktopFacts& facts = GetParam();
        over_ = false;
        page_ = &facts.shown.Prepare();
        thread_ = std::thread([this, &facts] {
            result_ = facts.show(*page_);
            over_ = true;
        });
        const QString role = QStringLiteral("page-%1").arg(page_->dialog);
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
        for (const PagePicture& picture : Pictures())
            EXPECT_TRUE(WaitUntil([&] { return IsPainted(Grab(), picture); })) << picture.bitmap;
    }

    // To what has the focus, and nothing of what comes of it is served before the next key.
    void Key(Qt::Key key) { QTest::keyClick(window_->focusWidget(), key); }
    // By Space where the page opens with the focus on it, else by Enter.
    void PressByTabs(QAbstractButton* button) {
        ExpectDefault();
        const Qt::Key press = button->hasFocus() ? Qt::Key_Space : Qt::Key_Return;
        for (int tab = 0; tab < 10 && !button->hasFocus(); ++tab) {
            Key(Qt::Key_Tab);
            ExpectDefault();
        }
        EXPECT_TRUE(button->hasFocus()) << button->objectName().toStdString();
        EXPECT_TRUE(WaitUntil([&] { // for when it is hidden and comes back
            const auto views = View().controls;
            const auto focused = std::ranges::find(views, true, &ControlView::hasFocus);
            return focused != views.end() && Control(focused->id) == button;
        }));
        Key(press);
    }
    // An arrow marks what it goes to, round and round, also while none is marked. Tab and Space do
    // not leave while the page has not heard of the mark yet, nor turned its button on.
    void ChooseByKeys(const QAbstractButton* choice) {
        ExpectDefault();
        EXPECT_TRUE(choice->hasFocus());
        Key(Qt::Key_Down);
        EXPECT_FALSE(choice->isChecked());
        Key(Qt::Key_Right);
        EXPECT_TRUE(choice->isChecked());
        Key(Qt::Key_Tab);
        Key(Qt::Key_Space);
        EXPECT_TRUE(WaitUntil([&] { return !View().title.empty() && Button(IDOK)->hasFocus(); }));
    }
    void ShowAnotherWindow() {
        QWidget other;
        other.show();
        other.activateWindow();
        EXPECT_TRUE(WaitUntil([&] { return other.isActiveWindow(); }));
        window_->activateWindow();
        EXPECT_TRUE(WaitUntil([&] { return window_->isActiveWindow(); }));
    }
    // One button looks like the one that Enter presses: that with the focus, else the default one.
    void ExpectDefault() {
        const auto* focused = qobject_cast<QPushButton*>(window_->focusWidget());
        for (const ControlView& view : View().controls) {
            const auto* button = qobject_cast<QPushButton*>(Control(view.id));
            const bool pressed = focused ? button == focused : view.isDefault && view.enabled;
            EXPECT_TRUE(!button || button->isDefault() == pressed) << view.id;
        }
    }

    // As the page has them in the model of windows, which the index judges.
    PageView View() const {
        const auto lock = platform::LockWindows();
        for (const auto& [handle, window] : platform::Model().windows)
            if (window->dialog && window->dialog->templateId == page_->dialog)
                return ViewOf(*window);
        throw std::runtime_error("the page has gone");
    }
    void ExpectWords() {
        for (const ControlView& view : View().controls) {
            const QString words = QString::fromStdString(view.text).remove('\r');
            if (auto* label = dynamic_cast<TextLabel*>(Control(view.id))) {
                EXPECT_EQ(words.toStdString(), label->text().toStdString()) << view.id;
                ExpectLooks(*label, view);
            } else if (auto* button = Button(view.id)) {
                // Buttons that lead on or away have their letters to themselves.
                EXPECT_TRUE(QString("Suivant Annuler Quitter Terminer").contains(words) ||
                            !QString("SAQT").contains(button->shortcut().toString().right(1)))
                    << view.id;
                EXPECT_EQ(button->rect(), button->visibleRegion().boundingRect()) << view.id;
                EXPECT_EQ(words.toStdString(), button->text().remove('&').toStdString()) << view.id;
                EXPECT_LE(button->fontMetrics().horizontalAdvance(words), button->width() - 8)
                    << view.id;
            } else {
                EXPECT_EQ(IDC_PROGRESS, view.id);
            }
        }
    }
    // Colours are painted a little later.
    void ExpectLooks(const TextLabel& label, const ControlView& view) {
        EXPECT_EQ(view.font.lfWeight >= FW_BOLD, label.font().weight() == QFont::Bold);
        EXPECT_EQ(view.font.lfHeight == 17, label.font().pixelSize() > 12);
        bool text = false, behind = false;
        for (const PageColour& colour : page_->colours) {
            const bool counts =
                colour.control == view.id && (!colour.onlyWhile || *colour.onlyWhile);
            text |= counts && colour.colouring == Colouring::RedText;
            behind |= counts && colour.colouring == Colouring::RedBackground;
        }
        EXPECT_TRUE(WaitUntil([&] {
            const QColor corner = Part(Grab(), {label.pos(), QSize(1, 1)}).pixelColor(0, 0);
            return text == (label.palette().color(QPalette::WindowText) == Qt::red) &&
                   behind == (corner == Qt::red);
        })) << view.id;
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
        for (const PagePicture& picture : Pictures())
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

    // Those of the page, then the banner.
    std::vector<PagePicture> Pictures() const {
        std::vector<PagePicture> pictures(page_->pictures.begin(), page_->pictures.end());
        if (page_->hasTitle)
            pictures.push_back({IDB_BANNER, 10, 10});
        return pictures;
    }

    QPointer<QWidget> window_;
    const Page* page_ = nullptr;

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
        EndDialog(View().handle, 1);
        Result();
    }
};

TEST_P(StandingPage, shows_its_words_and_pictures_whole) {
    Open();
    const bool hasButton = window_->findChild<QAbstractButton*>() != nullptr;
    EXPECT_EQ(page_->keepsFocus || !hasButton, window_->focusWidget() == Surface());
    ExpectPictures();
    ExpectWords();
    EXPECT_TRUE(window_->screen()->availableGeometry().contains(window_->frameGeometry()));
    ExpectNothingCut();
    ExpectNothingOverlaps();
    ExpectNames(QAccessible::queryAccessibleInterface(window_));
    const std::string title = Utf8(CatalogText(IDS_TITLE)).substr(1);
    EXPECT_EQ(page_->hasTitle, window_->windowTitle().toStdString() == title);
    const auto* bar = window_->findChild<QProgressBar*>();
    EXPECT_TRUE(!bar || WaitUntil([&] { return bar->value() == 37; }));
    Leave();
}

TEST_P(DesktopPage, gives_its_results_by_mouse_and_by_keyboard) {
    for (const auto& [command, result] : GetParam().shown.page().results) {
        for (const bool byKeyboard : {false, true}) {
            Open();
            if (const int choice = ChoiceBeforeNext(*page_); choice && byKeyboard)
                ChooseByKeys(Button(choice));
            else if (choice)
                QTest::mouseClick(Button(choice), Qt::LeftButton);
            QAbstractButton* button = Button(command);
            WaitUntil([&] { return !button || button->isEnabled(); });
            if (!button && command == IDOK) // a command that has no button
                ShowAnotherWindow(), Key(Qt::Key_Return);
            else if (!button && byKeyboard)
                QTest::keyClick(window_, Qt::Key_Escape);
            else if (!button)
                window_->close();
            else if (byKeyboard)
                PressByTabs(button);
            else
                QTest::mouseClick(button, Qt::LeftButton);
            EXPECT_EQ(result, Result()) << command << (byKeyboard ? " by keyboard" : " by mouse");
        }
    }
}

TEST_P(DesktopPage, ends_by_escape_and_the_close_box_only_where_cancel_has_a_result) {
    const std::span<const PageResult> results = GetParam().shown.page().results;
    const auto leaving = std::ranges::find(results, IDCANCEL, &PageResult::command);
    const bool leaves = leaving != results.end();
    Open();
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, {}, true); // since the page before
    QApplication::sendEvent(window_->focusWidget(), &held);
    QTest::keyClick(window_, Qt::Key_Escape);
    if (!leaves) { // nothing has come of it, nor of the close box
        window_->close();
        QTest::keyClick(window_, Qt::Key_Return);
    }
    EXPECT_EQ(leaves ? leaving->result : results.front().result, Result());
}

INSTANTIATE_TEST_SUITE_P(All, DesktopPage, testing::ValuesIn(LeavablePages()), NameOfPage);
INSTANTIATE_TEST_SUITE_P(All, StandingPage, testing::ValuesIn(LeavablePages()), NameOfPage);
INSTANTIATE_TEST_SUITE_P(Waiting, StandingPage, testing::ValuesIn(WaitingPages), NameOfPage);
INSTANTIATE_TEST_SUITE_P(Transfer, StandingPage, testing::ValuesIn(TransferPages), NameOfPage);

class TransferPage : public DesktopPage {};

// What is posted behind the user's doings is served behind them.
TEST_P(TransferPage, ends_by_no_key_and_no_close_box_and_has_the_busy_cursor) {
    static char after[] = "38";
    State.Run.BusyCursor = true;
    Open();
    QTest::keyClick(window_, Qt::Key_Escape);
    QTest::keyClick(window_, Qt::Key_Return);
    window_->close();
    EXPECT_FALSE(SendMessageA(View().handle, WM_QUERYENDSESSION, 0, 0));
    PostMessageA(GetDlgItem(View().handle, IDC_PERCENT), WM_SETTEXT, 0,
                 reinterpret_cast<LPARAM>(after));
    const auto* percent = dynamic_cast<TextLabel*>(Control(IDC_PERCENT));
    EXPECT_TRUE(WaitUntil([&] { return percent->text() == after; }));
    EXPECT_TRUE(window_->isVisible());
    if (page_->dialog == IDD_PROGRESS) {
        QEvent enter(QEvent::Enter); // the mouse comes in
        QApplication::sendEvent(window_, &enter);
        EXPECT_TRUE(WaitUntil([&] { return window_->cursor().shape() == Qt::WaitCursor; }));
        State.Run.BusyCursor = false;
        PostMessageA(View().handle, WM_SETCURSOR, 0, 0); // as a transfer does when its data go out
        EXPECT_TRUE(WaitUntil([&] { return window_->cursor().shape() == Qt::ArrowCursor; }));
    }
    EndDialog(View().handle, 1);
    EXPECT_EQ(1, Result());
}

INSTANTIATE_TEST_SUITE_P(All, TransferPage, testing::ValuesIn(TransferPages), NameOfPage);

TEST(Desktop, has_file_dialogs_in_the_language_of_the_pages_and_with_paths_of_the_host) {
    platform::desktop::FileDialogs dialogs;
    dialogs.SetError("Ce dossier n'existe pas");
    dialogs.Show(
        {.save = true, .owner = nullptr, .proposal = "Z:\\tmp\\TOLKROM187.nbf", .filters = {}},
        nullptr);
    const auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget()->parent());
    ASSERT_TRUE(dialog);
    EXPECT_EQ("/tmp/TOLKROM187.nbf", dialog->selectedFiles().join("").toStdString());
    EXPECT_EQ("Enregistrer sous", dialog->windowTitle().toStdString());
    EXPECT_EQ("&Enregistrer", dialog->labelText(QFileDialog::Accept).toStdString());
    EXPECT_EQ("Annuler", dialog->labelText(QFileDialog::Reject).remove('&').toStdString());
    dialogs.Close();
}

} // namespace

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("LC_ALL", "en_GB.UTF-8", 1); // which the pages do not speak
    test_support::HomeOfTests();        // Qt makes a folder where the environment names none
    QApplication application(count, words);
    platform::desktop::LoadToolkitLanguage(application);
    QApplication::setQuitOnLastWindowClosed(false);
    QAccessible::setActive(true);
    return RUN_ALL_TESTS();
}
