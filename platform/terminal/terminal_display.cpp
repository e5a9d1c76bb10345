// Pages as lines for a program that reads them, and the choice between this and the display for a
// person.
//
// Every call comes under the model's lock, so no two at a time. What was last printed of each page
// is kept: a control whose line has not changed is not printed again, however often it is set.

#include "platform/terminal/terminal_display.h"

#include "platform/terminal/choices.h"
#include "platform/terminal/interactive_display.h"
#include "platform/terminal/line_reader.h"
#include "platform/terminal/path_editor.h"
#include "platform/windows/display.h"
#include "platform/windows/page_lines.h"

#include <unistd.h>

#include <cstdio>
#include <map>
#include <utility>

namespace platform {

namespace {

struct ShownPage {
    std::map<HWND, std::string> lines; // by control; null is the percentage
    Leaving leaving = Leaving::NotYet;
};

void Print(const std::string& line) { std::fprintf(stdout, "%s\n", line.c_str()); }

// At once.
void Say(const std::string& line) {
    Print(line);
    std::fflush(stdout);
}

class LineDisplay : public Display {
public:
    explicit LineDisplay(LineReader& input) : input_(input) {}

    void ShowPage(const PageView& page) override;
    void HidePage(const PageView& page) override;
    void UpdateControl(const PageView& page, const ControlView& control) override;
    void EndPage(const PageView& page) override { HidePage(page); }
    void ShowFileDialog(const FileRequest& request) override;
    void ShowError(const Sentence& sentence) override;
    void Warn(const Sentence& sentence) override;
    std::optional<PageAction> NextAction(const PageView& page) override;
    std::optional<FileAnswer> NextAnswer() override;
    bool EndInput() override;

private:
    std::optional<PageAction> ActionOf(const PageView& page, const std::string& line);

    LineReader& input_;
    std::map<HWND, ShownPage> pages_;
};

void LineDisplay::ShowPage(const PageView& page) {
    ShownPage shown;
    Print(PageHeader(page));
    for (const PageLine& line : PageLines(page)) {
        Print(line.text);
        shown.lines[line.control] = line.text;
    }
    if (std::string percentage = PercentageOf(page); !percentage.empty()) {
        Print(percentage);
        shown.lines[nullptr] = percentage;
    }
    std::fflush(stdout);
    pages_[page.handle] = shown;
}

void LineDisplay::UpdateControl(const PageView& page, const ControlView&) {
    auto shown = pages_.find(page.handle);
    if (shown == pages_.end())
        return;
    for (const PageLine& line : PageLines(page))
        if (std::exchange(shown->second.lines[line.control], line.text) != line.text)
            Print(line.text);
    std::string percentage = PercentageOf(page);
    if (!percentage.empty() && IsWritable(STDOUT_FILENO) &&
        std::exchange(shown->second.lines[nullptr], percentage) != percentage)
        Print(percentage);
    std::fflush(stdout);
}

void LineDisplay::HidePage(const PageView& page) {
    if (pages_.erase(page.handle) == 0)
        return; // has left the screen already
    Print("-- " + std::to_string(page.id) + " --");
    std::fflush(stdout);
}

void LineDisplay::ShowFileDialog(const FileRequest& request) {
    Print(request.save ? "== save ==" : "== open ==");
    for (const std::string& filter : request.filters)
        Print(Printable(filter));
    if (!request.proposal.empty())
        Print("proposed: " + Printable(request.proposal));
    std::fflush(stdout);
}

void LineDisplay::ShowError(const Sentence& sentence) { Say(Printable(InEnglish(sentence))); }

void LineDisplay::Warn(const Sentence& sentence) {
    if (IsWritable(STDOUT_FILENO))
        ShowError(sentence);
}

std::optional<PageAction> LineDisplay::ActionOf(const PageView& page, const std::string& line) {
    if (line.empty())
        return PageAction{PageAction::Enter, nullptr};
    if (line == EscapeWord)
        return PageAction{PageAction::Escape, nullptr};
    auto number = NumberIn(line);
    if (!number) {
        Say("not understood: " + line + " (a number in brackets, an empty line for Enter, " +
            EscapeWord + ")");
        return std::nullopt;
    }
    for (const ControlView* control : InteractiveControls(page)) {
        if (control->id != *number)
            continue;
        if (control->enabled)
            return PageAction{PageAction::Click, control->handle};
        Say("not available now: " + line);
        return std::nullopt;
    }
    Say("no such number on this page: " + line);
    return std::nullopt;
}

std::optional<PageAction> LineDisplay::NextAction(const PageView& page) {
    while (auto line = input_.Next())
        if (auto action = ActionOf(page, Trimmed(*line)))
            return action;
    return input_.AtEnd() ? LeaveAtEnd(page, pages_[page.handle].leaving) : std::nullopt;
}

std::optional<FileAnswer> LineDisplay::NextAnswer() {
    if (auto line = input_.Next()) {
        std::string path = Trimmed(*line);
        return FileAnswer{path.empty() || path == EscapeWord, path};
    }
    if (input_.AtEnd())
        return FileAnswer{true, {}};
    return std::nullopt;
}

bool LineDisplay::EndInput() {
    input_.End();
    return true;
}

// Never destroyed, nor its reader, which may be in a read when the process ends.
Display& MakeDisplay() {
    LineReader& input = *new LineReader(STDIN_FILENO, InputArrived);
    const bool typed = isatty(STDIN_FILENO) != 0;
    if (isatty(STDOUT_FILENO) == 0)
        return *new LineDisplay(input);
    if (typed)
        PreparePathEditor();
    return InteractiveDisplay(input, typed);
}

} // namespace

Display& TerminalDisplay() {
    static Display& terminal = MakeDisplay();
    return terminal;
}

} // namespace platform
