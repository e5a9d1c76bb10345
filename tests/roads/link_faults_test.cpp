// A device that answers wrongly, late or not at all, at each step of each transfer: what the wizard
// shows, what it keeps for the next run, and that the next run succeeds.
// label: sweeps

#include "testing/side_by_side.h"
#include "testing/trial.h"

#include <gtest/gtest.h>

#include <iterator>
#include <stdexcept>

namespace {

using namespace test_support;
using namespace test_support::pages;

struct Fault {
    Start start;
    Link link;
    std::vector<std::string> options;
    int page; // that must follow; 0: either a failure's or the good one
};

const Fault Faults[] = {
    // Of the image's six pieces four come from the file; after the fourth 0x40000 bytes are left.
    // One stray byte is allowed ahead of the answer to the start byte, and nowhere else.
    {Start::Fresh, Link::Serial, {"--stray-at", "start"}, UpgradeDonePage},
    {Start::Resumed, Link::Usb, {"--stray-at", "start"}, UpgradeDonePage},
    {Start::Resumed, Link::Serial, {"--stray-at", "size"}, UpgradeErrorPage},
    {Start::Fresh, Link::Usb, {"--stray-at", "2"}, UpgradeErrorPage},
    {Start::Resumed, Link::Serial, {"--stray-at", "4"}, CommunicationErrorPage},
    {Start::Resumed, Link::Usb, {"--stray-at", "5"}, CommunicationErrorPage},
    {Start::Bootloader, Link::Serial, {"--stray-at", "start"}, UpgradeDonePage},
    {Start::Bootloader, Link::Serial, {"--stray-at", "sync"}, UpgradeDonePage},
    {Start::Bootloader, Link::Usb, {"--stray-at", "2"}, UpgradeDonePage},
    // On USB the first token may be cleared while its double is still being read, which then counts
    // for the next piece; the flasher refuses what comes early, so either end may follow.
    {Start::Resumed, Link::Serial, {"--burst-at", "start"}, UpgradeDonePage},
    {Start::Resumed, Link::Serial, {"--burst-at", "2"}, UpgradeDonePage},
    {Start::Fresh, Link::Serial, {"--burst-at", "4"}, UpgradeDonePage},
    {Start::Fresh, Link::Usb, {"--burst-at", "start"}, UpgradeDonePage},
    {Start::Resumed, Link::Usb, {"--burst-at", "2"}, 0},
    {Start::Resumed, Link::Usb, {"--burst-at", "4"}, 0},
    {Start::Bootloader, Link::Serial, {"--burst-at", "start"}, 0},
    {Start::Bootloader, Link::Serial, {"--burst-at", "sync"}, 0},
    {Start::Bootloader, Link::Usb, {"--burst-at", "1"}, 0},
    // A token and its zero in two bursts; the bootloader's prompt and its last byte. The zero may
    // come together with the next token, which it then hides; on USB that may be any token, since
    // the loop reads in pairs.
    {Start::Fresh, Link::Serial, {"--split-at", "start"}, 0},
    {Start::Resumed, Link::Serial, {"--split-at", "2"}, 0},
    {Start::Resumed, Link::Serial, {"--split-at", "5"}, UpgradeDonePage},
    {Start::Resumed, Link::Usb, {"--split-at", "start"}, 0},
    {Start::Resumed, Link::Usb, {"--split-at", "3"}, 0},
    {Start::Bootloader, Link::Serial, {"--split-at", "start"}, UpgradeDonePage},
    // Between the two limits: 20 seconds for the answer to the start byte, 30 for all that follows.
    {Start::Resumed, Link::Usb, {"--late-at", "start", "--late-by", "25000"}, UpgradeErrorPage},
    {Start::Fresh, Link::Usb, {"--late-at", "start", "--late-by", "15000"}, UpgradeDonePage},
    {Start::Fresh, Link::Serial, {"--late-at", "size", "--late-by", "25000"}, UpgradeDonePage},
    {Start::Resumed, Link::Serial, {"--late-at", "4", "--late-by", "20000"}, UpgradeDonePage},
    {Start::Fresh, Link::Serial, {"--late-at", "4", "--late-by", "40000"}, CommunicationErrorPage},
    {Start::Bootloader, Link::Serial, {"--late-at", "3", "--late-by", "25000"}, UpgradeDonePage},
    {Start::Bootloader,
     Link::Usb,
     {"--late-at", "sync", "--late-by", "40000"},
     CommunicationErrorPage},
    // It reads nothing for that long, while the wizard writes.
    {Start::Fresh, Link::Serial, {"--deaf-at", "2", "--deaf-for", "15000"}, UpgradeDonePage},
    {Start::Resumed, Link::Usb, {"--deaf-at", "2", "--deaf-for", "15000"}, UpgradeDonePage},
    {Start::Resumed, Link::Serial, {"--deaf-at", "2", "--deaf-for", "50000"}, UpgradeErrorPage},
    {Start::Fresh, Link::Usb, {"--deaf-at", "4", "--deaf-for", "50000"}, CommunicationErrorPage},
    {Start::Fresh, Link::Serial, {"--port-held"}, PortErrorPage},
    {Start::Fresh, Link::Usb, {"--port-held"}, PortErrorPage},
    {Start::Resumed, Link::Serial, {"--port-held"}, PortErrorPage},
    {Start::Resumed, Link::Usb, {"--port-held"}, PortErrorPage},
    {Start::Bootloader, Link::Usb, {"--port-held"}, PortErrorPage},
};

// The limits of the wizard and the delays of the handheld are five real seconds apart; only sleeps
// that wait for the world outside are short.
constexpr char RealTime[] = "1,1000";

std::string Describe(const Fault& fault) {
    std::string text = std::string(NameOf(fault.start)) + " over " + NameOf(fault.link);
    for (const std::string& option : fault.options)
        text += " " + option;
    return text;
}

TEST(LinkFaults, come_to_the_right_page_and_the_next_run_succeeds) {
    const PreparedHomes homes;
    const auto failures = SideBySide(std::size(Faults), [&](std::size_t at) {
        const Fault& fault = Faults[at];
        Trial trial(homes, homes.FolderOf(fault.start, fault.link), fault.link, RealTime);
        const int page = trial.Run({.faults = fault.options});
        if (fault.page != 0 && page != fault.page)
            throw std::runtime_error(Describe(fault) + " comes to page " + std::to_string(page) +
                                     "\n" + trial.Transcript());
        trial.Recover(page, 1);
    });
    for (const std::string& failure : failures)
        ADD_FAILURE() << failure;
}

} // namespace
