// Pages on a terminal.
//
// Every call comes under the model's lock, so no two at a time. What was last printed of each page
// is kept: a control whose line has not changed is not printed again, however often it is set.

#include "platform/terminal/terminal_display.h"

#include "platform/terminal/line_reader.h"
#include "platform/terminal/wrapping.h"
#include "platform/windows/display.h"
#include "platform/windows/page_lines.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace platform {

namespace {

constexpr char EscapeWord[] = "esc";

struct ShownPage {
    std::map<HWND, std::string> lines; // by control; null is the percentage
    // How far the page has been left at the end of input: by Escape, then by its first button.
    enum { NotYet, Escaped, Pressed } leaving = NotYet;
};

std::string Trimmed(const std::string& line) {
    auto start = line.find_first_not_of(" \t");
    auto end = line.find_last_not_of(" \t");
    return start == std::string::npos ? "" : line.substr(start, end - start + 1);
}

std::optional<int> NumberIn(const std::string& line) {
    int number = 0;
    auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc() || end != line.data() + line.size())
        return std::nullopt;
    return number;
}

// As it is now: a window may be resized between two pages.
std::size_t Columns() {
    constexpr std::size_t Usual = 80;
    winsize size = {};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : Usual;
}

// By the convention of NO_COLOR, and not where the terminal knows no escape codes.
bool MayColour() {
    const char* none = std::getenv("NO_COLOR");
    const char* kind = std::getenv("TERM");
    return !(none && *none) && kind && *kind && std::strcmp(kind, "dumb") != 0;
}

class Terminal : public Display {
public:
    Terminal()
        : input_(STDIN_FILENO, InputArrived), onTerminal_(isatty(STDOUT_FILENO) != 0),
          coloured_(onTerminal_ && MayColour()) {}

    void ShowPage(const PageView& page) override;
    void HidePage(const PageView& page) override;
    void UpdateControl(const PageView& page, const ControlView& control) override;
    void EndPage(const PageView& page) override { HidePage(page); }
    void ShowFileDialog(const FileRequest& request) override;
    void ShowError(const std::string& sentence) override;
    void Warn(const std::string& sentence) override;
    std::optional<PageAction> NextAction(const PageView& page) override;
    std::optional<FileAnswer> NextAnswer() override;
    bool EndInput() override;

private:
    void Print(const std::string& line);
    void Print(const PageLine& line);
    void PrintPercentage(const std::string& percentage);
    std::optional<PageAction> ActionOf(const PageView& page, const std::string& line);
    std::optional<PageAction> ActionAtEnd(const PageView& page);

    LineReader input_;
    const bool onTerminal_, coloured_;
    bool lineIsOpen_ = false; // the last line is a percentage, and has no end yet
    std::map<HWND, ShownPage> pages_;
};

void Terminal::Print(const std::string& line) {
    if (lineIsOpen_)
        std::fputc('\n', stdout);
    lineIsOpen_ = false;
    std::fprintf(stdout, "%s\n", line.c_str());
}

// Wrapped to the terminal, if it is one; a script gets each text as it is.
void Terminal::Print(const PageLine& line) {
    constexpr const char* Starts[] = {"", "\033[31m", "\033[41m"};
    const bool coloured = coloured_ && line.colour != PageLine::Plain;
    const std::string text = onTerminal_ ? Wrapped(line.text, Columns()) : line.text;
    Print(coloured ? Starts[line.colour] + text + "\033[0m" : text);
}

void Terminal::PrintPercentage(const std::string& percentage) {
    if (!onTerminal_)
        return Print(percentage);
    std::fprintf(stdout, "\r%-4s", percentage.c_str());
    lineIsOpen_ = true;
}

void Terminal::ShowPage(const PageView& page) {
    ShownPage shown;
    Print(PageLine{nullptr, PageHeader(page)});
    for (const PageLine& line : PageLines(page)) {
        Print(line);
        shown.lines[line.control] = line.text;
    }
    if (std::string percentage = PercentageOf(page); !percentage.empty()) {
        PrintPercentage(percentage);
        shown.lines[nullptr] = percentage;
    }
    std::fflush(stdout);
    pages_[page.handle] = shown;
}

void Terminal::UpdateControl(const PageView& page, const ControlView&) {
    auto shown = pages_.find(page.handle);
    if (shown == pages_.end())
        return;
    for (const PageLine& line : PageLines(page))
        if (std::exchange(shown->second.lines[line.control], line.text) != line.text)
            Print(line);
    std::string percentage = PercentageOf(page);
    if (!percentage.empty() && IsWritable(STDOUT_FILENO) &&
        std::exchange(shown->second.lines[nullptr], percentage) != percentage)
        PrintPercentage(percentage);
    std::fflush(stdout);
}

void Terminal::HidePage(const PageView& page) {
    if (pages_.erase(page.handle) == 0)
        return; // has left the screen already
    Print("-- " + std::to_string(page.id) + " --");
    std::fflush(stdout);
}

void Terminal::ShowFileDialog(const FileRequest& request) {
    Print(request.save ? "== save ==" : "== open ==");
    for (const std::string& filter : request.filters)
        Print(Printable(filter));
    if (!request.proposal.empty())
        Print("proposed: " + Printable(request.proposal));
    std::fflush(stdout);
}

void Terminal::ShowError(const std::string& sentence) {
    Print(Printable(sentence));
    std::fflush(stdout);
}

void Terminal::Warn(const std::string& sentence) {
    if (IsWritable(STDOUT_FILENO))
        ShowError(sentence);
}

std::optional<PageAction> Terminal::ActionOf(const PageView& page, const std::string& line) {
    if (line.empty())
        return PageAction{PageAction::Enter, nullptr};
    if (line == EscapeWord)
        return PageAction{PageAction::Escape, nullptr};
    auto number = NumberIn(line);
    if (!number) {
        ShowError("not understood: " + line + " (a number in brackets, an empty line for Enter, " +
                  EscapeWord + ")");
        return std::nullopt;
    }
    for (const ControlView* control : InteractiveControls(page)) {
        if (control->id != *number)
            continue;
        if (control->enabled)
            return PageAction{PageAction::Click, control->handle};
        ShowError("not available now: " + line);
        return std::nullopt;
    }
    ShowError("no such number on this page: " + line);
    return std::nullopt;
}

std::optional<PageAction> Terminal::ActionAtEnd(const PageView& page) {
    ShownPage& shown = pages_[page.handle];
    if (shown.leaving == ShownPage::NotYet) {
        shown.leaving = ShownPage::Escaped;
        return PageAction{PageAction::Escape, nullptr};
    }
    if (shown.leaving == ShownPage::Pressed)
        return std::nullopt;
    for (const ControlView* control : InteractiveControls(page)) {
        if (control->kind != ControlKind::PushButton || !control->enabled)
            continue;
        shown.leaving = ShownPage::Pressed;
        return PageAction{PageAction::Click, control->handle};
    }
    return std::nullopt; // until one of them is enabled
}

std::optional<PageAction> Terminal::NextAction(const PageView& page) {
    while (auto line = input_.Next())
        if (auto action = ActionOf(page, Trimmed(*line)))
            return action;
    return input_.AtEnd() ? ActionAtEnd(page) : std::nullopt;
}

std::optional<FileAnswer> Terminal::NextAnswer() {
    if (auto line = input_.Next()) {
        std::string path = Trimmed(*line);
        return FileAnswer{path.empty() || path == EscapeWord, path};
    }
    if (input_.AtEnd())
        return FileAnswer{true, {}};
    return std::nullopt;
}

bool Terminal::EndInput() {
    input_.End();
    return true;
}

} // namespace

Display& TerminalDisplay() {
    // Never destroyed: its reader may be in a read when the process ends.
    static Display& terminal = *new Terminal;
    return terminal;
}

} // namespace platform
