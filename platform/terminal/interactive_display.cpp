// Pages for a person at a terminal.
//
// Every call comes under the model's lock, so no two at a time. What was last printed of each page
// is kept: a control whose line has not changed is not printed again, however often it is set.

#include "platform/terminal/interactive_display.h"

#include "platform/terminal/choices.h"
#include "platform/terminal/line_reader.h"
#include "platform/terminal/page_text.h"
#include "platform/terminal/progress_line.h"
#include "platform/terminal/wrapping.h"
#include "platform/windows/display.h"

#include <winuser.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace platform {

namespace {

constexpr char Bold[] = "\033[1m", Usual[] = "\033[0m";
constexpr const char* Looks[] = {nullptr, "\033[31m", "\033[41m"}; // by the colour of a PageLine

constexpr std::size_t OutputCapacity = 0x10000; // bytes; more than a page and its choices

struct OpenPage {
    PageView view;                     // as it was last told
    std::map<HWND, std::string> lines; // by control; null is the percentage
    ProgressLine progress;
    bool showChoices = false; // again: the file dialog over them has been cancelled
    std::string asked;        // the line of input that has to come once more
    bool wasAsked = false;
    Leaving leaving = Leaving::NotYet;
};

// By the convention of NO_COLOR, and not where the terminal knows no escape codes.
bool MayColour() {
    const char* none = std::getenv("NO_COLOR");
    const char* kind = std::getenv("TERM");
    return !(none && *none) && kind && *kind && std::strcmp(kind, "dumb") != 0;
}

std::string MarkOf(const ControlView& control) {
    if (control.kind == ControlKind::RadioButton)
        return control.checked ? "(x) " : "( ) ";
    if (control.kind == ControlKind::CheckBox)
        return control.checked ? "[x] " : "[ ] ";
    return {};
}

// Whether Enter alone is asked for once more: it may end the run without its having been meant.
bool EntersTwice(const PageView& page, const ControlView* target) {
    return !target || (target->id == IDCANCEL && InteractiveControls(page).size() > 1);
}

struct ChoiceLine {
    HWND control;
    std::string text;
    std::size_t indent; // of the lines that it goes on with
};

ChoiceLine LineOf(const PageView& page, const Choice& choice, std::size_t keyColumns) {
    const ControlView& control = *choice.control;
    const std::string pad(keyColumns - ColumnsOf(choice.key) + 1, ' ');
    const std::string start = "  [" + choice.key + "]" + pad + MarkOf(control);
    std::string text = start + choice.label;
    const ControlView* explanation = ExplanationOf(page, control);
    if (explanation && !control.text.empty())
        text += " : " + Trimmed(Printable(explanation->text));
    if (!control.enabled)
        text += " (" + InLanguageOfPages({Phrase::NotAvailable}) + ")";
    else if (&control == EnterTarget(page))
        text +=
            " (" +
            InLanguageOfPages({EntersTwice(page, &control) ? Phrase::EnterTwice : Phrase::Enter}) +
            ")";
    return {control.handle, text, ColumnsOf(start)};
}

std::vector<ChoiceLine> ChoiceLines(const PageView& page) {
    const std::vector<Choice> choices = ChoicesOf(page);
    std::size_t keyColumns = 0;
    for (const Choice& choice : choices)
        keyColumns = std::max(keyColumns, ColumnsOf(choice.key));
    std::vector<ChoiceLine> lines;
    for (const Choice& choice : choices)
        lines.push_back(LineOf(page, choice, keyColumns));
    return lines;
}

class Interactive : public Display {
public:
    Interactive(LineReader& input, bool typed)
        : input_(input), typed_(typed), coloured_(MayColour()) {
        // What is printed at a time goes out at a time: between two lines of it the user may stop
        // the terminal, and whoever prints the rest would wait with the model locked.
        std::setvbuf(stdout, nullptr, _IOFBF, OutputCapacity);
    }

    void ShowPage(const PageView& page) override;
    void HidePage(const PageView& page) override;
    void UpdateControl(const PageView& page, const ControlView& control) override;
    void EndPage(const PageView& page) override { HidePage(page); }
    void ShowFileDialog(const FileRequest& request) override;
    void CloseFileDialog() override;
    void ShowError(const Sentence& sentence) override;
    void Warn(const Sentence& sentence) override;
    std::optional<PageAction> NextAction(const PageView& page) override;
    std::optional<FileAnswer> NextAnswer() override;
    bool EndInput() override;
    void Stop() override;
    void Continue() override;

private:
    void Print(const std::string& text, const char* look = nullptr, std::size_t indent = 0);
    void Say(const Sentence& sentence) { Print(Printable(InLanguageOfPages(sentence))); }
    void PrintChoices(OpenPage& open);
    void PrintChangedChoices(OpenPage& open);
    void PrintProgress(OpenPage& open, const std::string& percentage);
    bool IsMeant(OpenPage& open, const std::string& line, const Sentence& question);
    std::optional<PageAction> ActionOf(OpenPage& open, const std::string& line);
    std::optional<PageAction> ActionOfEnter(OpenPage& open);
    std::optional<PageAction> Take(const Choice& choice);

    LineReader& input_;
    const bool typed_, coloured_;
    std::size_t progressColumns_ = 0; // of the last line while it is a progress without an end
    std::map<HWND, OpenPage> pages_;
    std::optional<FileRequest> asked_; // the file dialog that is up
};

void Interactive::Print(const std::string& text, const char* look, std::size_t indent) {
    if (std::exchange(progressColumns_, 0) != 0)
        std::fputc('\n', stdout);
    const std::string wrapped = Wrapped(text, TerminalColumns(), indent);
    if (coloured_ && look)
        std::fprintf(stdout, "%s%s%s\n", look, wrapped.c_str(), Usual);
    else
        std::fprintf(stdout, "%s\n", wrapped.c_str());
}

// In place, over what is left of a longer one.
void Interactive::PrintProgress(OpenPage& open, const std::string& percentage) {
    const std::string line =
        open.progress.Line(percentage, TerminalColumns(), std::chrono::steady_clock::now());
    const std::size_t columns = ColumnsOf(line);
    const std::size_t rest = progressColumns_ > columns ? progressColumns_ - columns : 0;
    std::fprintf(stdout, "\r%s%s", line.c_str(), std::string(rest, ' ').c_str());
    progressColumns_ = columns;
}

void Interactive::PrintChoices(OpenPage& open) {
    const std::vector<ChoiceLine> lines = ChoiceLines(open.view);
    if (lines.empty())
        return;
    Print("");
    for (const ChoiceLine& line : lines) {
        Print(line.text, nullptr, line.indent);
        open.lines[line.control] = line.text;
    }
    Say({Phrase::HowToChoose});
}

void Interactive::PrintChangedChoices(OpenPage& open) {
    for (const ChoiceLine& line : ChoiceLines(open.view))
        if (std::exchange(open.lines[line.control], line.text) != line.text)
            Print(line.text, nullptr, line.indent);
}

void Interactive::ShowPage(const PageView& page) {
    OpenPage open;
    open.view = page;
    Print("");
    if (const std::string title = Trimmed(Printable(page.title)); !title.empty())
        Print(title + "\n", Bold);
    for (const PageLine& line : PageTexts(page)) {
        Print(line.text, Looks[line.colour]);
        open.lines[line.control] = line.text;
    }
    PrintChoices(open);
    if (const std::string percentage = PercentageOf(page); !percentage.empty()) {
        PrintProgress(open, percentage);
        open.lines[nullptr] = percentage;
    }
    std::fflush(stdout);
    pages_[page.handle] = std::move(open);
}

void Interactive::UpdateControl(const PageView& page, const ControlView&) {
    auto found = pages_.find(page.handle);
    if (found == pages_.end())
        return;
    OpenPage& open = found->second;
    open.view = page;
    for (const PageLine& line : PageTexts(page))
        if (std::exchange(open.lines[line.control], line.text) != line.text)
            Print(line.text, Looks[line.colour]);
    PrintChangedChoices(open);
    const std::string percentage = PercentageOf(page);
    if (!percentage.empty() && IsWritable(STDOUT_FILENO) &&
        std::exchange(open.lines[nullptr], percentage) != percentage)
        PrintProgress(open, percentage);
    std::fflush(stdout);
}

// What was typed while a page had no choices was meant for none of the next one.
void Interactive::HidePage(const PageView& page) {
    if (pages_.erase(page.handle) == 0)
        return; // has left the screen already
    if (typed_ && InteractiveControls(page).empty())
        input_.Discard();
}

void Interactive::ShowFileDialog(const FileRequest& request) {
    Print("");
    Say({request.save ? Phrase::SaveAs : Phrase::OpenWhich});
    std::string filters;
    for (const std::string& filter : request.filters)
        filters += (filters.empty() ? "" : ", ") + filter;
    if (!filters.empty())
        Say({Phrase::Filters, filters});
    if (!request.proposal.empty())
        Say({Phrase::Proposed, request.proposal});
    Say({typed_ ? Phrase::TabCompletes : Phrase::EscCancels});
    std::fflush(stdout);
    asked_ = request;
    if (typed_)
        input_.EditPath(true);
}

// Where it is up still, it was left without an answer.
void Interactive::CloseFileDialog() {
    if (typed_)
        input_.EditPath(false);
    if (!asked_)
        return;
    Say({Phrase::Cancelled});
    if (auto owner = pages_.find(asked_->owner); owner != pages_.end())
        owner->second.showChoices = true;
    std::fflush(stdout);
    asked_.reset();
}

void Interactive::ShowError(const Sentence& sentence) {
    Say(sentence);
    std::fflush(stdout);
}

void Interactive::Warn(const Sentence& sentence) {
    if (IsWritable(STDOUT_FILENO))
        ShowError(sentence);
}

// Of a line that may end the run without the user having meant it: it has to come twice.
bool Interactive::IsMeant(OpenPage& open, const std::string& line, const Sentence& question) {
    if (!typed_ || (open.wasAsked && open.asked == line))
        return true;
    open.wasAsked = true;
    open.asked = line;
    ShowError(question);
    return false;
}

std::optional<PageAction> Interactive::Take(const Choice& choice) {
    if (!choice.control->enabled) {
        Print(choice.label + " : " + InLanguageOfPages({Phrase::NotAvailable}));
        std::fflush(stdout);
        return std::nullopt;
    }
    ShowError({Phrase::Taken, choice.label});
    return PageAction{PageAction::Click, choice.control->handle};
}

std::optional<PageAction> Interactive::ActionOfEnter(OpenPage& open) {
    const ControlView* target = EnterTarget(open.view);
    const std::string label = target ? Printable(LabelOf(open.view, *target)) : "";
    if (EntersTwice(open.view, target) &&
        !IsMeant(open, {},
                 target ? Sentence{Phrase::EnterCancels, label} : Sentence{Phrase::EnterMayEnd}))
        return std::nullopt;
    const PageAction enter = {PageAction::Enter, nullptr};
    return !target || Take({target, label, {}}) ? std::optional(enter) : std::nullopt;
}

std::optional<PageAction> Interactive::ActionOf(OpenPage& open, const std::string& line) {
    if (line.empty())
        return ActionOfEnter(open);
    if (line == EscapeWord) {
        ShowError({Phrase::PageLeft});
        return PageAction{PageAction::Escape, nullptr};
    }
    const std::vector<Choice> choices = ChoicesOf(open.view);
    const std::vector<Choice> meant = ChoicesMeant(choices, line);
    if (meant.size() == 1) {
        const Choice& choice = meant.front();
        if (choice.control->id == IDCANCEL && IsMisplacedNumber(choices, line) &&
            !IsMeant(open, line, {Phrase::MisplacedNumber, choice.label}))
            return std::nullopt;
        return Take(choice);
    }
    std::string several;
    for (const Choice& choice : meant)
        several += (several.empty() ? "" : ", ") + choice.label + " [" + choice.key + "]";
    if (!meant.empty())
        ShowError({Phrase::SeveralMeant, several});
    else {
        ShowError({Phrase::NotUnderstood, line});
        PrintChoices(open);
        std::fflush(stdout);
    }
    return std::nullopt;
}

std::optional<PageAction> Interactive::NextAction(const PageView& page) {
    OpenPage& open = pages_[page.handle];
    open.view = page; // the focus, and with it what Enter takes, moves without an update
    if (std::exchange(open.showChoices, false))
        PrintChoices(open);
    PrintChangedChoices(open);
    std::fflush(stdout);
    while (auto line = input_.Next()) {
        const std::string typed = Trimmed(*line);
        if (!(open.wasAsked && typed == open.asked))
            open.wasAsked = false;
        if (auto action = ActionOf(open, typed))
            return action;
    }
    if (!input_.AtEnd())
        return std::nullopt;
    if (open.leaving == Leaving::NotYet)
        ShowError({Phrase::EndOfInput});
    return LeaveAtEnd(page, open.leaving);
}

std::optional<FileAnswer> Interactive::NextAnswer() {
    std::string path;
    if (auto line = input_.Next())
        path = Trimmed(*line);
    else if (input_.AtEnd())
        path = EscapeWord;
    else
        return std::nullopt;
    if (path.empty() && typed_ && asked_)
        path = asked_->proposal;
    if (path.empty() || path == EscapeWord)
        return FileAnswer{true, {}};
    ShowError({Phrase::Taken, path});
    asked_.reset();
    return FileAnswer{false, path};
}

bool Interactive::EndInput() {
    input_.End();
    return true;
}

void Interactive::Stop() {
    if (typed_ && IsWritable(STDOUT_FILENO))
        input_.EditPath(false);
}

void Interactive::Continue() {
    if (typed_ && asked_)
        input_.EditPath(true);
}

} // namespace

Display& InteractiveDisplay(LineReader& input, bool typed) {
    // Never destroyed: pages may be shown until the process ends.
    static Display& display = *new Interactive(input, typed);
    return display;
}

} // namespace platform
