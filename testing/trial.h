// An upgrade that is interrupted, and the runs of the wizard that bring the handheld back.
//
// Each page is answered as a user would answer it, whichever pages come, up to the last one. After
// a run that failed, the user does what the page says: a reset, with the navigator key or without.
#pragma once

#include "testing/cradle.h"
#include "testing/wizard_run.h"

#include <memory>

namespace test_support {

enum class Link { Serial, Usb };

// How a transfer begins.
enum class Start {
    Fresh,      // a handheld that runs normally, with all pages
    Resumed,    // an earlier run died before the held-back block
    Bootloader, // or in it
};

const char* NameOf(Link link);
const char* NameOf(Start start);

// Homes in which an upgrade is about to begin, made once by runs that fall silent where they
// should, and copied for each trial. Any thread may make trials of them.
class PreparedHomes {
public:
    // Four pieces of the file, and the held-back block's two.
    static constexpr std::uint32_t ImageSize = 0x100020;
    static constexpr unsigned FlashMegabytes = 1;
    static constexpr std::uint32_t FilePieces = 4;
    static constexpr std::uint32_t Pieces = FilePieces + 2;
    static constexpr std::uint32_t PieceSize = 0x20000;

    PreparedHomes();

    const std::filesystem::path& Image() const { return image_; }
    std::filesystem::path Tree() const { return home_.Tree(); }
    // The registry of the PC and the handheld's folder; the trial's own copy is made of it.
    std::filesystem::path FolderOf(Start start, Link link) const;

private:
    void Prepare(Start start, Link link, const std::string& silentAt);

    TestHome home_;
    std::filesystem::path image_;
};

// Copies what a folder of PreparedHomes has of them into that home.
void BringState(const std::filesystem::path& folder, const TestHome& home);

// Waits until the handheld has printed, from that line on, that all of the image has come: when the
// wizard is done the last bytes may still be in the tty. Throws where it has not.
void ExpectComplete(ChildProcess& handheld, std::size_t firstLine = 0);

struct Interruption {
    std::vector<std::string> faults{}; // options of the handheld
    // What happens as soon as the handheld has printed that the fault has occurred.
    enum class Then { Nothing, KillWizard, KillHandheld, ResetHandheld } then = Then::Nothing;
};

class Trial {
public:
    // In place of a page: the wizard was killed.
    static constexpr int Killed = 0;

    // The stall timers take 10 and 15 seconds of the host: a host under load must not be taken for
    // a handheld that has fallen silent. Sleeps that only wait for the world outside take nothing.
    static constexpr char UsualClock[] = "2,1000";

    // Begins from a folder as PreparedHomes has them, and Keep makes them.
    Trial(const PreparedHomes& homes, const std::filesystem::path& folder, Link link,
          const char* clock = UsualClock);

    // Resets the handheld, or puts it into its cradle, and runs the wizard to its last page.
    // Returns that page, after checking that the record and the handheld fit it. Throws with
    // everything that was printed where they do not.
    int Run(const Interruption& interruption = {}, bool navigatorKey = false);

    // Runs the wizard again as the page says until the upgrade is done: how many runs it took.
    // Throws after `maxRuns`, and where the flash then differs from the image.
    unsigned Recover(int page, unsigned maxRuns);

    // Takes the handheld out, and copies it and the registry of the PC into a new folder.
    void Keep(const std::filesystem::path& folder);

    const TestHome& Home() const { return home_; }
    // Everything that was printed in all runs.
    std::string Transcript();

private:
    void StartHandheld(const std::vector<std::string>& faults, bool navigatorKey);
    void Act(Interruption::Then then);
    void Check(int page);
    [[noreturn]] void Fail(const std::string& what);

    const PreparedHomes& homes_;
    const Link link_;
    const std::string clock_; // ROM_WIZARD_CLOCK of both ends
    TestHome home_;
    std::unique_ptr<Cradle> cradle_;
    std::unique_ptr<WizardRun> wizard_;
    bool handheldKilled_ = false;
    std::size_t firstLine_ = 0; // of the handheld in this run
    std::string past_;          // what earlier runs printed
};

} // namespace test_support
