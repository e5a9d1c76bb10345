// A run of the wizard at the terminal display, its pages answered as by a user.
#pragma once

#include "testing/test_home.h"

#include <initializer_list>
#include <map>

namespace test_support {

namespace pages {

// Page numbers as the terminal prints them, and the two file dialogs, which have none.
enum Page {
    OpenDialog = -2,
    SaveDialog = -1,
    ProgressPage = 102,
    WelcomePage = 103,
    PowerWarningPage = 105,
    ActionChoicePage = 109,
    UpgradeErrorPage = 114,
    HostChecklistPage = 121,
    BusyPage = 122,
    IncompatibleImagePage = 123,
    VersionConfirmPage = 124,
    BackupChoicePage = 125,
    UpgradeReadyPage = 130,
    BackupPage = 132,
    ConnectionErrorPage = 138,
    ChecksumErrorPage = 139,
    ImageMissingPage = 140,
    ImageOpenErrorPage = 141,
    CommunicationErrorPage = 142,
    PortErrorPage = 143,
    RemoteProgramErrorPage = 144,
    BackupSpaceErrorPage = 145,
    ModuleDataErrorPage = 146,
    BackupFailedPage = 147,
    ImageTooLargePage = 151,
    FileExistsPage = 152,
    PreparePage = 153,
    ConnectionTypePage = 158,
    FinishUsbPage = 133,
    FinishPage = 160,
    DeviceChecklistPage = 161,
    ActiveSyncVersionPage = 165,
    UpgradeNoticePage = 166,
    UpgradeDonePage = 167,
};

// Radio buttons of ConnectionTypePage.
constexpr char Usb[] = "1150";
constexpr char Serial[] = "1151";

} // namespace pages

// Lines of input by the page that they answer.
using Answers = std::map<int, std::vector<std::string>>;

class WizardRun {
public:
    // Starts it in the tree of that home. `environment` is added to TestHome::Variables; `before`
    // is what a shell does first, in the process that becomes the wizard; `terminal` as of
    // ProcessOptions.
    explicit WizardRun(const TestHome& home, const Environment& environment = {},
                       const std::string& before = ":", bool terminal = false);

    // Waits for the next page or file dialog to open, whichever it is: its number.
    int NextPage();
    // Waits for the next page with that number to open. Another page in between is a failure, so
    // that a test names every page. Throws with the whole transcript.
    void ExpectPage(int page);
    void ExpectPages(std::initializer_list<int> pages);
    // Waits for that page to leave the screen.
    void ExpectEnd(int page);
    // A line of input: a control's number, a path, or "" for Enter.
    void Send(const std::string& line) { process_.Send(line); }
    // ExpectPage, and then Send.
    void Answer(int page, const std::string& line);
    // Answers the pages of an upgrade over that link without a backup, up to one that is not on
    // this way or to the one that is named: its number. `answers` win over the usual ones. Throws
    // where the wizard ends on the way, or goes in circles.
    int AnswerUpgrade(const char* link, int last = 0, Answers answers = {});
    // Waits for a line with this text.
    std::string ExpectLine(const std::string& text) { return process_.ExpectLine(text); }

    // What has been printed since the page opened last, up to now.
    std::string PageText(int page);
    // All pages that have opened so far, in order.
    std::vector<int> Pages();
    // Those of them that are on the screen still.
    std::vector<int> StandingPages();

    // Closes its input and waits for its end: the exit code. Throws where a run that has come to
    // its end left a handle open, or closed one twice.
    int Finish();
    // The same with the input left open, as it must end by itself.
    int Wait();
    ChildProcess& Process() { return process_; }
    const TestHome& Home() const { return home_; }

private:
    const TestHome& home_;
    ChildProcess process_;
};

} // namespace test_support
