// Interrupted upgrades: which there are, and what has to follow each.

#include "testing/sweep.h"

#include "testing/pc_registry.h"

#include <algorithm>
#include <exception>
#include <random>
#include <set>
#include <stdexcept>

#include <sys/prctl.h>

namespace test_support {

namespace {

using namespace pages;

constexpr std::uint64_t BlockRecordSize = 12; // ahead of each block of the bootloader

constexpr CutKind KindsWithPosition[] = {CutKind::Dead,          CutKind::Unplugged,
                                         CutKind::Replugged,     CutKind::HandheldKilled,
                                         CutKind::HandheldReset, CutKind::WizardKilled};

constexpr unsigned long TickNanoseconds = 10'000'000;

const char* NameOf(CutKind kind) {
    constexpr const char* Names[] = {
        "silent",          "dead",           "unplugged",    "replugged",
        "handheld killed", "handheld reset", "wizard killed"};
    return Names[static_cast<int>(kind)];
}

// ---- what goes over the link

// A write of a transfer, and the name of the token that answers it.
struct Write {
    std::string step;
    std::uint64_t begin, end;
};

std::vector<Write> FlasherWrites() {
    std::vector<Write> writes = {{"start", 0, 1}, {"size", 1, 5}};
    for (unsigned piece = 1; piece <= PreparedHomes::Pieces; ++piece)
        writes.push_back({std::to_string(piece), writes.back().end,
                          writes.back().end + PreparedHomes::PieceSize});
    return writes;
}

// The last block is behind the image; the bootloader requests it, but does not answer it.
std::vector<Write> BootloaderWrites() {
    constexpr std::uint64_t Block = BlockRecordSize + 0x40000;
    std::vector<Write> writes = {{"start", 0, 2}, {"sync", 2, 9}, {"record", 9, 17}};
    for (unsigned block = 1; block <= PreparedHomes::Pieces / 2 + 1; ++block)
        writes.push_back({std::to_string(block), writes.back().end, writes.back().end + Block});
    return writes;
}

std::vector<Write> WritesOf(Start start) {
    return start == Start::Bootloader ? BootloaderWrites() : FlasherWrites();
}

// The bytes that a tty buffers for a device that reads nothing more lie between these two.
constexpr std::uint64_t MoreThanATtyHolds = 0x18000;
constexpr std::uint64_t LessThanATtyHolds = 0x400;

// The upgrade is done for the PC when the last bytes of the last piece have been handed over, which
// may still be in the tty then; a cut there looks like success.
std::uint64_t LastPosition(Start start) {
    const std::uint64_t end = WritesOf(start).back().end;
    return start == Start::Bootloader ? end - 1 : end - MoreThanATtyHolds;
}

// ---- which cuts there are

// Into a port whose handheld swallows everything after its reset, the last piece goes as if it were
// received, which no token denies. So a reset comes ahead of it.
std::uint64_t LastPosition(Start start, CutKind kind) {
    if (kind == CutKind::HandheldReset && start != Start::Bootloader)
        return WritesOf(start).back().begin - 1;
    return LastPosition(start);
}

// Where a write is cut: in how many of its bytes the device has received of it.
using Offsets = std::vector<std::uint64_t> (*)(const Write& write, std::uint64_t header);

// Every byte of control data, the first, the middle and the last of what carries the image, and
// there each boundary of the port's writes with the byte on either side.
std::vector<std::uint64_t> AllOffsets(const Write& write, std::uint64_t header) {
    constexpr std::uint64_t PortWrite = 12288; // the wizard hands over no more at a time
    const std::uint64_t size = write.end - write.begin;
    std::set<std::uint64_t> offsets = {0, 1, header + (size - header) / 2, size - 1};
    for (std::uint64_t at = 1; at <= header; ++at)
        offsets.insert(at);
    for (std::uint64_t at = header + PortWrite; at < size; at += PortWrite)
        offsets.insert({at - 1, at, at + 1});
    std::erase_if(offsets, [&](std::uint64_t at) { return at >= size; });
    return {offsets.begin(), offsets.end()};
}

// At the edge of a write, behind its first byte and well inside of it.
std::vector<std::uint64_t> FirstOffsets(const Write& write, std::uint64_t) {
    const std::uint64_t size = write.end - write.begin;
    const std::set<std::uint64_t> offsets = {0, size > 1 ? 1U : 0U, size / 4};
    return {offsets.begin(), offsets.end()};
}

// At the edges of a write, behind its first byte and in its middle.
std::vector<std::uint64_t> SecondOffsets(const Write& write, std::uint64_t) {
    const std::uint64_t size = write.end - write.begin;
    const std::set<std::uint64_t> offsets = {0, size > 1 ? 1U : 0U, size / 2, size - 1};
    return {offsets.begin(), offsets.end()};
}

std::vector<Cut> CutsOf(Start start, Link link, Offsets offsetsOf) {
    std::vector<Cut> cuts;
    const auto writes = WritesOf(start);
    for (const Write& write : writes) {
        if (&write != &writes.back())
            cuts.push_back({.start = start, .link = link, .step = write.step});
        const bool control = write.end - write.begin < BlockRecordSize;
        const std::uint64_t header = control                      ? write.end - write.begin
                                     : start == Start::Bootloader ? BlockRecordSize
                                                                  : 0;
        for (const CutKind kind : KindsWithPosition) {
            for (const std::uint64_t offset : offsetsOf(write, header)) {
                if (write.begin + offset <= LastPosition(start, kind))
                    cuts.push_back({.start = start,
                                    .link = link,
                                    .kind = kind,
                                    .position = write.begin + offset});
            }
        }
    }
    return cuts;
}

// ---- what has to follow a cut

struct PieceRange {
    std::uint64_t min, max;
};

// How many pieces the PC has counted as sent, by where the device stopped.
PieceRange CountedPieces(const Cut& cut) {
    const auto writes = FlasherWrites();
    if (cut.kind == CutKind::Silent) {
        const auto at = std::ranges::find(writes, cut.step, &Write::step) - writes.begin();
        const auto pieces = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(at - 1, 0));
        return {pieces, pieces};
    }
    const std::uint64_t firstPiece = writes[2].begin;
    if (cut.position < firstPiece)
        return {0, 0};
    const std::uint64_t whole = (cut.position - firstPiece) / PreparedHomes::PieceSize;
    const std::uint64_t inside = (cut.position - firstPiece) % PreparedHomes::PieceSize;
    const std::uint64_t left = PreparedHomes::PieceSize - inside;
    const std::uint64_t handedOver = left >= MoreThanATtyHolds ? whole : whole + 1;
    switch (cut.kind) {
    case CutKind::WizardKilled: // perhaps ahead of counting what has come
        return {inside == 0 && whole > 0 ? whole - 1 : whole, handedOver};
    case CutKind::Dead: // blocks a write of more than the tty buffers
        return {left <= LessThanATtyHolds ? whole + 1 : whole, handedOver};
    default:
        // Into a port that has hung up, or whose handheld swallows everything, a write is over at
        // once, and it counts: what it went to cannot be known.
        return {inside == 0 ? whole : whole + 1, whole + 1};
    }
}

// What the run after it begins with, where this is certain.
std::optional<Start> FollowingStart(const Cut& cut) {
    if (cut.start == Start::Bootloader) {
        const bool beforeTheEnd = cut.position < BootloaderWrites().back().begin;
        return beforeTheEnd ? std::optional(Start::Bootloader) : std::nullopt;
    }
    const PieceRange counted = CountedPieces(cut);
    if (counted.max < PreparedHomes::FilePieces)
        return Start::Resumed;
    return counted.min >= PreparedHomes::FilePieces ? std::optional(Start::Bootloader)
                                                    : std::nullopt;
}

void ExpectPageFor(const Cut& cut, int page) {
    const auto expect = [&](bool right) {
        if (!right)
            throw std::runtime_error("page " + std::to_string(page) + " follows");
    };
    if (cut.kind == CutKind::WizardKilled)
        return expect(page == Trial::Killed);
    if (cut.start == Start::Bootloader) {
        // All of the image has gone, and the rest of the last block may have been handed over.
        const bool inTheLastBlock = cut.position >= BootloaderWrites().back().begin;
        return expect(page == CommunicationErrorPage ||
                      (inTheLastBlock && page == UpgradeDonePage));
    }
    const auto [min, max] = CountedPieces(cut);
    expect((page == UpgradeErrorPage && min < PreparedHomes::FilePieces) ||
           (page == CommunicationErrorPage && max >= PreparedHomes::FilePieces));
}

Interruption InterruptionOf(const Cut& cut) {
    using Then = Interruption::Then;
    const std::string position = std::to_string(cut.position);
    const std::vector<std::string> dies = {"--dies-at", position};
    switch (cut.kind) {
    case CutKind::Silent:
        return {.faults = {"--silent-at", cut.step}};
    case CutKind::Unplugged:
        return {.faults = {"--unplug-at", position}};
    case CutKind::Replugged:
        return {.faults = {"--unplug-at", position, "--replug-after", "100"}};
    case CutKind::Dead:
        return {.faults = dies};
    case CutKind::HandheldKilled:
        return {.faults = dies, .then = Then::KillHandheld};
    case CutKind::HandheldReset:
        return {.faults = dies, .then = Then::ResetHandheld};
    case CutKind::WizardKilled:
        return {.faults = dies, .then = Then::KillWizard};
    }
    throw std::logic_error("no such kind");
}

// A wizard that was killed has shown no page that says what to do; a reset without the navigator
// key may then be the wrong one, as the next page says.
unsigned MaxRunsAfter(const Cut& cut) { return cut.kind == CutKind::WizardKilled ? 2 : 1; }

int RunCut(Trial& trial, const Cut& cut) {
    const int page = trial.Run(InterruptionOf(cut), cut.start == Start::Bootloader);
    ExpectPageFor(cut, page);
    return page;
}

// The record must lead to the start that comes next; after a killed wizard by one more page where
// only the note beside it tells.
void ExpectFollowingStart(Trial& trial, const Cut& cut, Start next) {
    if (cut.kind == CutKind::WizardKilled && HasHeldBackNote(trial.Home()) &&
        !IsMarkedCritical(trial.Home()) && trial.Run() != CommunicationErrorPage)
        throw std::runtime_error("no page sends the user to the bootloader");
    if (IsMarkedCritical(trial.Home()) != (next == Start::Bootloader))
        throw std::runtime_error("the next run would not begin from " + std::string(NameOf(next)));
}

std::string Describe(const Cut& cut) {
    return std::string(NameOf(cut.start)) + " over " + NameOf(cut.link) + ", " + NameOf(cut.kind) +
           (cut.kind == CutKind::Silent ? " at " + cut.step
                                        : " after " + std::to_string(cut.position) + " bytes");
}

} // namespace

std::string Describe(const CutTrial& trial) {
    return Describe(trial.first) + (trial.second ? ", then " + Describe(*trial.second) : "");
}

std::vector<CutTrial> AllTrials() {
    std::vector<CutTrial> trials;
    for (const Start start : {Start::Fresh, Start::Resumed, Start::Bootloader}) {
        for (const Link link : {Link::Serial, Link::Usb}) {
            for (const Cut& cut : CutsOf(start, link, AllOffsets))
                trials.push_back({cut, std::nullopt});
            for (const Cut& first : CutsOf(start, link, FirstOffsets)) {
                const auto next = FollowingStart(first);
                if (!next)
                    continue;
                for (const Cut& second : CutsOf(*next, link, SecondOffsets))
                    trials.push_back({first, second});
            }
        }
    }
    std::mt19937_64 mixed(1);
    for (std::size_t last = trials.size(); last > 1; --last)
        std::swap(trials[last - 1], trials[mixed() % last]);
    return trials;
}

// Runs the first cut and keeps what it left, once for all trials that go on from there.
const std::filesystem::path& Sweep::StateAfter(const Cut& cut, Start next) {
    FirstCut* first = nullptr;
    {
        const std::lock_guard lock(firstsLock_);
        first = &firsts_[Describe(cut)];
    }
    const std::lock_guard lock(first->lock);
    if (first->folder.empty()) {
        Trial trial(homes_, homes_.FolderOf(cut.start, cut.link), cut.link);
        try {
            RunCut(trial, cut);
            ExpectFollowingStart(trial, cut, next);
        } catch (const std::exception& error) {
            throw std::runtime_error(std::string(error.what()) + "\n" + trial.Transcript());
        }
        const auto folder = kept_.Path(Describe(cut));
        trial.Keep(folder);
        first->folder = folder;
    }
    return first->folder;
}

void Sweep::Run(const CutTrial& cuts) {
    // The wizard looks for a token a thousand times a second, which cost the most. Windows lets it
    // sleep until its clock ticks; so does this host all that is started from here.
    prctl(PR_SET_TIMERSLACK, TickNanoseconds);
    const Cut& last = cuts.second ? *cuts.second : cuts.first;
    const auto folder =
        cuts.second ? StateAfter(cuts.first, last.start) : homes_.FolderOf(last.start, last.link);
    Trial trial(homes_, folder, last.link);
    try {
        trial.Recover(RunCut(trial, last), MaxRunsAfter(last));
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string(error.what()) + "\n" + trial.Transcript());
    }
}

} // namespace test_support
