// Faults of the cable: a handheld that leaves the bus, a port in use, noise.

#include "platform/base/descriptor.h"
#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

using namespace test_support;

namespace {

namespace fs = std::filesystem;

class LinkFaultTest : public testing::Test {
protected:
    // Its bootloader, as that needs no preparation.
    void Start(std::vector<std::string> options) {
        options.push_back("--bootloader");
        cradle_.emplace(home_, CradleOptions{.run = options, .withManager = false});
    }

    fs::path Port() const { return home_.Home() / "ports/COM1"; }

    void ExpectDialogue() {
        LinkEnd end(home_, "COM1");
        end.Write("l\r");
        end.ReadUntil("download\r\n");
    }

    bool IsHeld() const {
        const platform::Descriptor port(open(Port().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
        EXPECT_TRUE(port);
        return flock(port.Number(), LOCK_EX | LOCK_NB) != 0;
    }

    TestHome home_;
    std::optional<Cradle> cradle_;
};

TEST_F(LinkFaultTest, an_unplugged_handheld_has_no_port_until_a_reset) {
    Start({"--unplug-at", "2"});
    const fs::path before = fs::read_symlink(Port());
    {
        LinkEnd end(home_, "COM1");
        end.Write("l\r");
        cradle_->Handheld().ExpectLine("fault: unplugged after 2 bytes");
        EXPECT_TRUE(fs::is_symlink(Port())); // or the name would be a port of the machine
        EXPECT_FALSE(fs::exists(Port()));
    }
    cradle_->Reset(true);
    EXPECT_TRUE(fs::exists(Port()));
    ExpectDialogue();
    cradle_->TakeOut();
    EXPECT_FALSE(fs::exists(Port()));
}

TEST_F(LinkFaultTest, a_handheld_back_on_the_bus_goes_on_where_it_was) {
    Start({"--unplug-at", "2", "--replug-after", "20"});
    LinkEnd gone(home_, "COM1");
    gone.Write("l\r");
    cradle_->Handheld().ExpectLine("fault: back on the bus");
    LinkEnd end(home_, "COM1");
    end.Write("B000FF\n");
    EXPECT_EQ(end.Read(1), ByteList{1});
}

TEST_F(LinkFaultTest, a_port_in_use_is_free_after_a_reset) {
    Start({"--port-held"});
    EXPECT_TRUE(IsHeld());
    cradle_->Reset(true);
    EXPECT_FALSE(IsHeld());
    ExpectDialogue();
}

TEST_F(LinkFaultTest, the_same_seed_is_the_same_noise) {
    const auto noise = [&](const std::string& seed) {
        cradle_->RestartHandheld({"--bootloader", "--noise", seed});
        LinkEnd end(home_, "COM1");
        // More than the largest step between two bursts; byte by byte would be as good.
        for (int block = 0; block < 600; ++block)
            end.Write(ByteList(4096, 'x'));
        std::vector<std::string> lines = cradle_->Handheld().Lines();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("fault"); });
        return lines;
    };
    Start({});
    const auto first = noise("7");
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(first, noise("7"));
    EXPECT_NE(first, noise("8"));
}

} // namespace
