// Many interrupted upgrades, side by side: which there are, and what has to follow each.

#include "testing/sweep.h"

#include "testing/side_by_side.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iterator>
#include <random>
#include <set>
#include <stdexcept>

namespace test_support {

namespace {

using namespace pages;

constexpr unsigned DoubledOneIn = 8;

constexpr CutKind KindsWithPosition[] = {CutKind::Dead, CutKind::Unplugged, CutKind::Replugged,
                                         CutKind::HandheldKilled, CutKind::WizardKilled};

const char* NameOf(CutKind kind) {
    constexpr const char* Names[] = {"silent",          "dead",         "unplugged", "replugged",
                                     "handheld killed", "wizard killed"};
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
    constexpr std::uint64_t Block = 12 + 0x40000;
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

class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    std::uint64_t Below(std::uint64_t limit) { return engine_() % limit; }
    template <class Range>
    auto& OneOf(Range& range) {
        return range[Below(std::size(range))];
    }

private:
    std::mt19937_64 engine_;
};

Cut AnyCut(Start start, Link link, Random& random) {
    const auto writes = WritesOf(start);
    Cut cut = {.start = start, .link = link};
    if (random.Below(10) == 0) {
        cut.step = writes[random.Below(writes.size() - 1)].step;
        return cut;
    }
    cut.kind = random.OneOf(KindsWithPosition);
    const Write& write = writes[random.Below(writes.size())];
    const bool atTheEdge = random.Below(3) == 0;
    cut.position = write.begin + (atTheEdge ? 0 : random.Below(write.end - write.begin));
    cut.position = std::min(cut.position, LastPosition(start));
    return cut;
}

// At the edge of each write and once inside of it, by every kind.
std::vector<Cut> EveryStep(Start start, Link link, Random& random) {
    std::vector<Cut> cuts;
    const auto writes = WritesOf(start);
    for (const Write& write : writes) {
        if (&write != &writes.back())
            cuts.push_back({.start = start, .link = link, .step = write.step});
        for (const CutKind kind : KindsWithPosition) {
            const std::uint64_t size = std::min(write.end, LastPosition(start) + 1) - write.begin;
            cuts.push_back({.start = start, .link = link, .kind = kind, .position = write.begin});
            if (size > 1)
                cuts.push_back({.start = start,
                                .link = link,
                                .kind = kind,
                                .position = write.begin + 1 + random.Below(size - 1)});
        }
    }
    return cuts;
}

// ---- what has to follow a cut

// How many pieces the PC has counted as sent, by where the device stopped: minimum and maximum.
std::pair<std::uint64_t, std::uint64_t> CountedPieces(const Cut& cut) {
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
    // Into a port that has hung up a write is over at once, and it counts: what it went to cannot
    // be known. A device that is only dead blocks it, if it is more than the tty buffers.
    if (cut.kind != CutKind::Dead)
        return {inside == 0 ? whole : whole + 1, whole + 1};
    const std::uint64_t left = PreparedHomes::PieceSize - inside;
    return {left <= LessThanATtyHolds ? whole + 1 : whole,
            left >= MoreThanATtyHolds ? whole : whole + 1};
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
        const bool inTheLastBlock = cut.position > BootloaderWrites().back().begin;
        return expect(page == CommunicationErrorPage ||
                      (inTheLastBlock && page == UpgradeDonePage));
    }
    const auto [min, max] = CountedPieces(cut);
    expect((page == UpgradeErrorPage && min < PreparedHomes::FilePieces) ||
           (page == CommunicationErrorPage && max >= PreparedHomes::FilePieces));
}

Interruption InterruptionOf(const Cut& cut) {
    const std::string position = std::to_string(cut.position);
    switch (cut.kind) {
    case CutKind::Silent:
        return {.faults = {"--silent-at", cut.step}};
    case CutKind::Unplugged:
        return {.faults = {"--unplug-at", position}};
    case CutKind::Replugged:
        return {.faults = {"--unplug-at", position, "--replug-after", "100"}};
    case CutKind::Dead:
        return {.faults = {"--dies-at", position}};
    case CutKind::HandheldKilled:
        return {.faults = {"--dies-at", position}, .victim = Interruption::Victim::Handheld};
    case CutKind::WizardKilled:
        return {.faults = {"--dies-at", position}, .victim = Interruption::Victim::Wizard};
    }
    throw std::logic_error("no such kind");
}

// A wizard that was killed has shown no page that says what to do; a reset without the navigator
// key may then be the wrong one, as the next page says.
unsigned MaxRunsAfter(const Cut& cut) { return cut.kind == CutKind::WizardKilled ? 2 : 1; }

// The run after the first cut is cut again, wherever it begins by now.
int CutAgain(Trial& trial, const Cut& first, int page, Cut* second) {
    Random random(*first.again);
    *second = AnyCut(page == CommunicationErrorPage ? Start::Bootloader : Start::Resumed,
                     first.link, random);
    page = trial.Run(InterruptionOf(*second), page == CommunicationErrorPage);
    ExpectPageFor(*second, page);
    return page;
}

unsigned RunOne(const PreparedHomes& homes, const Cut& cut) {
    Trial trial(homes, cut.start, cut.link);
    std::string cuts = Describe(cut);
    try {
        int page = trial.Run(InterruptionOf(cut));
        ExpectPageFor(cut, page);
        Cut last = cut;
        const bool again = cut.again && page != Trial::Killed && page != UpgradeDonePage;
        if (again) {
            page = CutAgain(trial, cut, page, &last);
            cuts += ", then " + Describe(last);
        }
        return trial.Recover(page, MaxRunsAfter(last)) + (again ? 1 : 0);
    } catch (const std::exception& error) {
        throw std::runtime_error(cuts + ": " + error.what() + "\n" + trial.Transcript());
    }
}

} // namespace

std::string Describe(const Cut& cut) {
    return std::string(NameOf(cut.start)) + " over " + NameOf(cut.link) + ", " + NameOf(cut.kind) +
           (cut.kind == CutKind::Silent ? " at " + cut.step
                                        : " after " + std::to_string(cut.position) + " bytes");
}

std::vector<Cut> ChooseCuts(std::size_t count, std::uint64_t seed) {
    Random random(seed);
    std::vector<Cut> cuts;
    for (const Start start : {Start::Fresh, Start::Resumed, Start::Bootloader}) {
        for (const Link link : {Link::Serial, Link::Usb}) {
            const auto more = EveryStep(start, link, random);
            cuts.insert(cuts.end(), more.begin(), more.end());
        }
    }
    std::set<std::string> known;
    for (const Cut& cut : cuts)
        known.insert(Describe(cut));
    while (cuts.size() < count) {
        const Cut cut =
            AnyCut(static_cast<Start>(random.Below(3)), static_cast<Link>(random.Below(2)), random);
        if (known.insert(Describe(cut)).second)
            cuts.push_back(cut);
    }
    for (std::size_t last = cuts.size(); last > 1; --last)
        std::swap(cuts[last - 1], cuts[random.Below(last)]);
    cuts.resize(std::min(count, cuts.size()));
    for (std::size_t at = 0; at < cuts.size(); at += DoubledOneIn)
        cuts[at].again = random.Below(UINT64_MAX);
    return cuts;
}

SweepResult RunSweep(const std::vector<Cut>& cuts) {
    const PreparedHomes homes;
    std::atomic<unsigned> runs = 0;
    const auto failures =
        SideBySide(cuts.size(), [&](std::size_t at) { runs += RunOne(homes, cuts[at]); });
    return {failures, runs};
}

} // namespace test_support
