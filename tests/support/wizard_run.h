// A run of the wizard at the terminal display, led as a user would lead it.
#pragma once

#include "tests/support/test_home.h"

namespace test_support {

class WizardRun {
public:
    // Starts it in the tree of that home. `environment` is added to TestHome::Variables.
    explicit WizardRun(const TestHome& home, const Environment& environment = {});

    // Waits for the next page with that number to open. Another page in between is a failure, so
    // that a road is told page by page. Throws with the whole transcript.
    void ExpectPage(int page);
    // Waits for that page to end.
    void ExpectEnd(int page);
    // A line of input: a control's number, a path, or "" for Enter.
    void Send(const std::string& line) { process_.Send(line); }
    // ExpectPage, and then Send.
    void Answer(int page, const std::string& line);
    // Waits for a line with this text.
    std::string ExpectLine(const std::string& text) { return process_.ExpectLine(text); }

    // What has been printed since the page opened last, up to now.
    std::string PageText(int page);
    // All pages that have opened so far, in order.
    std::vector<int> Pages();

    // Closes its input and waits for its end: the exit code. Throws where a run that has come to
    // its end left a handle open, or closed one twice.
    int Finish();
    // The same with the input left open, as it must end by itself.
    int Wait();
    ChildProcess& Process() { return process_; }

private:
    ChildProcess process_;
};

} // namespace test_support
