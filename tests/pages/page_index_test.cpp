// Each page of the index with the page on the screen: its controls, and what its commands give.

#include "platform/drawing.h"
#include "platform/terminal_display.h"
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
    for (const std::string& fact : Split(facts.texts, ' ')) {
        const std::size_t equals = fact.find('='), mark = fact.find('!');
        const int id = std::stoi(fact);
        const ControlView* control = Find(page, id);
        ASSERT_TRUE(control) << "no control " << id;
        EXPECT_EQ(Worded(fact.substr(equals + 1, mark - equals - 1)), control->text) << id;
        EXPECT_EQ(mark == std::string::npos ? ' ' : fact[mark + 1], MarkOf(*control)) << id;
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

// The extra pictures of the page, then the banner.
std::string PicturesOf(const PageView& page) {
    std::string pictures;
    for (const platform::PaintedPicture& painted : page.pictures)
        pictures += NameOf(painted) + "@" + std::to_string(painted.x) + "," +
                    std::to_string(painted.y) + " ";
    return pictures;
}

class PageIndex : public IndexedPage {
protected:
    INT_PTR Take(const std::string& command) {
        const PageFacts& facts = GetParam();
        if (*facts.before)
            user_.steps.push_back({facts.dialog, facts.before});
        user_.steps.push_back({facts.dialog, command});
        return facts.show();
    }
};

TEST_P(PageIndex, shows_its_texts_and_pictures_and_gives_the_results_of_its_commands) {
    const PageFacts& facts = GetParam();
    const int objects = platform::DrawingObjectCount();
    std::vector<std::string> results = Split(facts.results, ' ');
    for (const std::string& result : results) {
        const std::string command = result.substr(0, result.find(':'));
        EXPECT_EQ(std::stol(result.substr(command.size() + 1)), Take(command)) << command;
    }
    ASSERT_EQ(results.size(), user_.ended.size());
    const PageView& page = Last(facts.dialog);
    CompareTexts(facts, page);
    const std::string extra = facts.pictures;
    EXPECT_EQ(extra + (extra.empty() ? "" : " ") + "127@10,10 ", PicturesOf(page));
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
    for (const std::string& result : Split(facts.results, ' ')) {
        const std::string command = result.substr(0, result.find(':'));
        const bool hasButton =
            (" " + std::string(facts.texts)).find(" " + command + "=") != std::string::npos;
        if (*facts.before)
            Type(facts.before);
        Type(hasButton ? command : command == "2" ? "esc" : "");
        platform::UseDisplay(&platform::TerminalDisplay());
        EXPECT_EQ(std::stol(result.substr(command.size() + 1)), facts.show()) << command;
    }
}

INSTANTIATE_TEST_SUITE_P(All, PageIndex, testing::ValuesIn(Index), NameOfPage);

} // namespace
