// Each page of the index against the page on the screen: its controls, and the results of its
// commands.

#include "platform/terminal/terminal_display.h"
#include "platform/windows/drawing.h"
#include "tests/pages/page_index.h"

#include <stdexcept>

#include <unistd.h>

namespace {

using namespace page_test;

// h, b, r, or a blank.
char MarkOf(const ControlView& control) {
    if (control.font.lfHeight == 17 && control.font.lfWeight == 900 &&
        std::string(control.font.lfFaceName) == "Arial")
        return 'h';
    if (control.font.lfHeight < 0 && control.font.lfWeight == 700)
        return 'b';
    const bool red = control.painted.textColour == RGB(255, 0, 0) &&
                     control.painted.background == GetSysColor(COLOR_SCROLLBAR);
    return red ? 'r' : ' ';
}

void CompareTexts(const PageFacts& facts, const PageView& page) {
    std::size_t known = 0;
    for (const TextFact& fact : TextsOf(facts)) {
        const ControlView* control = Find(page, fact.control);
        ASSERT_TRUE(control) << "no control " << fact.control;
        EXPECT_EQ(ShownText(fact), control->text) << fact.control;
        EXPECT_EQ(fact.mark, MarkOf(*control)) << fact.control;
        ++known;
    }
    EXPECT_EQ(known, page.controls.size()) << "the template has other controls too";
}

// The resource that was painted, whole.
std::string NameOf(const platform::PaintedPicture& painted) {
    for (const std::uint16_t id : std::initializer_list<std::uint16_t>{127, 157, 162, 163, 173}) {
        const auto resource = platform::FindResourceData(platform::BitmapResource, id);
        if (resource && resource->data() == painted.picture->bitmap.data() &&
            painted.width == painted.picture->width && painted.height == painted.picture->height)
            return std::to_string(id);
    }
    return "part of a picture, or none of ours";
}

std::string PicturesOn(const PageView& page) {
    std::string pictures;
    for (const platform::PaintedPicture& painted : page.pictures)
        pictures += NameOf(painted) + "@" + std::to_string(painted.x) + "," +
                    std::to_string(painted.y) + " ";
    return pictures;
}

class PageIndex : public IndexedPage {
protected:
    INT_PTR ShowAndSend(int command) {
        const PageFacts& facts = GetParam();
        if (*facts.before)
            user_.steps.push_back({facts.dialog, facts.before});
        user_.steps.push_back({facts.dialog, std::to_string(command)});
        return facts.show();
    }
};

TEST_P(PageIndex, shows_its_texts_and_pictures_and_gives_the_results_of_its_commands) {
    const PageFacts& facts = GetParam();
    const int objects = platform::DrawingObjectCount();
    const std::vector<PageResult> results = ResultsOf(facts);
    for (const PageResult& end : results)
        EXPECT_EQ(end.result, ShowAndSend(end.command)) << end.command;
    ASSERT_EQ(results.size(), user_.ended.size());
    const PageView& page = Last(facts.dialog);
    CompareTexts(facts, page);
    const std::string extra = facts.pictures;
    EXPECT_EQ(extra + (extra.empty() ? "" : " ") + "127@10,10 ", PicturesOn(page));
    EXPECT_EQ(Utf8(CatalogText(11035)), page.title);
    EXPECT_EQ(objects, platform::DrawingObjectCount()) << "fonts, brushes or pictures are left";
}

// Standard input of this process, from here on; the terminal reads it once for all pages.
void Type(const std::string& line) {
    static const int keyboard = [] {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0 || dup2(ends[0], STDIN_FILENO) < 0)
            throw std::runtime_error("no pipe");
        return ends[1];
    }();
    const std::string text = line + "\n";
    ASSERT_EQ(static_cast<ssize_t>(text.size()), write(keyboard, text.data(), text.size()));
}

TEST_P(PageIndex, gives_its_results_at_the_terminal) {
    const PageFacts& facts = GetParam();
    for (const PageResult& end : ResultsOf(facts)) {
        if (*facts.before)
            Type(facts.before);
        const bool hasButton = HasControl(facts, end.command);
        Type(hasButton ? std::to_string(end.command) : end.command == IDCANCEL ? "esc" : "");
        platform::UseDisplay(&platform::TerminalDisplay());
        EXPECT_EQ(end.result, facts.show()) << end.command;
    }
}

INSTANTIATE_TEST_SUITE_P(All, PageIndex, testing::ValuesIn(Index), NameOfPage);

} // namespace
