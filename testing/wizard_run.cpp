// Starting the wizard at the terminal display, and finding its pages in what it prints.

#include "testing/wizard_run.h"

#include <cstdlib>
#include <stdexcept>

namespace test_support {

using namespace pages;

namespace {

constexpr char Opening[] = "== ";
constexpr int MaxPages = 40;

std::string OpeningOf(int page) { return Opening + std::to_string(page) + " =="; }

// The page or file dialog that the line opens; 0 for another line.
int NumberIn(const std::string& line) {
    return line == "== open =="        ? OpenDialog
           : line == "== save =="      ? SaveDialog
           : line.starts_with(Opening) ? std::atoi(line.c_str() + sizeof(Opening) - 1)
                                       : 0;
}

} // namespace

WizardRun::WizardRun(const TestHome& home, const Environment& environment,
                     const std::string& before, bool terminal)
    : home_(home),
      process_({"/bin/sh", "-c", before + "; exec \"$0\"", ProgramFolder() + "/rom-wizard"},
               {.folder = home.Tree().string(),
                .environment = home.Variables(environment),
                .terminal = terminal}) {}

int WizardRun::NextPage() {
    return NumberIn(process_.ExpectLine([](const std::string& text) { return NumberIn(text) != 0; },
                                        "that opens a page"));
}

void WizardRun::ExpectPage(int page) {
    const int next = NextPage();
    if (next != page)
        throw std::runtime_error("instead of page " + std::to_string(page) + " came " +
                                 std::to_string(next) + " in:\n" + process_.Transcript());
}

void WizardRun::ExpectPages(std::initializer_list<int> pages) {
    for (const int page : pages)
        ExpectPage(page);
}

void WizardRun::ExpectEnd(int page) { process_.ExpectLine("-- " + std::to_string(page) + " --"); }

void WizardRun::Answer(int page, const std::string& line) {
    ExpectPage(page);
    Send(line);
}

int WizardRun::AnswerUpgrade(const char* link, int last, Answers answers) {
    const Answers usual = {
        {UpgradeNoticePage, {"1181"}},
        {WelcomePage, {"1"}},
        {HostChecklistPage, {"1"}},
        {DeviceChecklistPage, {"1"}},
        {BusyPage, {}},
        {ConnectionTypePage, {link, "1"}},
        {ActionChoicePage, {"1035"}},
        {VersionConfirmPage, {"1"}},
        {BackupChoicePage, {"1"}},
        {UpgradeReadyPage, {"1"}},
        {PreparePage, {}},
        {ProgressPage, {}},
    };
    answers.insert(usual.begin(), usual.end());
    for (int pages = 0; pages < MaxPages; ++pages) {
        const int page = NextPage();
        const auto answer = answers.find(page);
        if (answer == answers.end() || page == last)
            return page;
        for (const std::string& line : answer->second)
            Send(line);
    }
    throw std::runtime_error("the pages come again and again");
}

std::string WizardRun::PageText(int page) {
    std::string text;
    for (const std::string& line : process_.Lines()) {
        if (line.starts_with(OpeningOf(page)))
            text.clear();
        text += line + "\n";
    }
    return text;
}

std::vector<int> WizardRun::Pages() {
    std::vector<int> pages;
    for (const std::string& line : process_.Lines()) {
        if (const int page = NumberIn(line); page > 0)
            pages.push_back(page);
    }
    return pages;
}

std::vector<int> WizardRun::StandingPages() {
    std::vector<int> pages;
    for (const std::string& line : process_.Lines()) {
        if (const int page = NumberIn(line); page > 0)
            pages.push_back(page);
        else if (line.starts_with("-- "))
            std::erase(pages, std::atoi(line.c_str() + 3));
    }
    return pages;
}

int WizardRun::Finish() {
    process_.CloseInput();
    return Wait();
}

int WizardRun::Wait() {
    const int code = process_.Wait();
    if (code == 0)
        process_.ExpectLine("handles: 0 open, 0 closed twice");
    return code;
}

} // namespace test_support
