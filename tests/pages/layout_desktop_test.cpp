// Where words stand on the desktop.
// label: desktop

#include "platform/desktop/page_window.h"
#include "platform/desktop/text_label.h"
#include "testing/page_test.h"

#include <QApplication>
#include <QRegularExpression>

#include <set>

namespace {

using namespace page_test;
using platform::desktop::TextLabel;

class DesktopLayout : public PageTest {
protected:
    void SetUp() override {
        PageTest::SetUp();
        LoadBanner();
        for (const ShownPage& shown : Pages) {
            const Page& page = shown.Prepare();
            user_.steps = {{page.dialog, std::to_string(ChoiceBeforeNext(page))},
                           {page.dialog, std::to_string(page.results.front().command)}};
            if (!ChoiceBeforeNext(page))
                user_.steps.pop_front();
            ShowPage(page);
        }
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

} // namespace
