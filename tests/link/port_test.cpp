// The write path and the serial receive loop on a real terminal pair.
// label: threads

#include "link/port.h"

#include "link/receive.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/transfer_buffers.h"
#include "wizard/state.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr auto Limit = 60s;

template <class Condition>
bool ComesTrue(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + Limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// The device's end of COM1.
class LinkTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        char folder[] = "/tmp/link-XXXXXX";
        ASSERT_TRUE(mkdtemp(folder));
        home_ = folder;
        setenv("ROM_WIZARD_HOME", folder, 1);
        setenv("ROM_WIZARD_CLOCK", "50", 1);
        std::filesystem::create_directory(home_ / "ports");
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(home_); }

    void SetUp() override {
        device_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(device_, 0);
        ASSERT_EQ(0, grantpt(device_));
        ASSERT_EQ(0, unlockpt(device_));
        std::filesystem::remove(home_ / "ports/COM1");
        std::filesystem::create_symlink(ptsname(device_), home_ / "ports/COM1");
        State.Run.SerialLinkSelected = true;
        State.Run.TransferAborted = false;
        State.Link.StopReceive = false;
        ClearReceiveBuffer();
        ASSERT_TRUE(OpenLinkPort(""));
    }
    void TearDown() override {
        TearDownTransfer();
        close(device_);
    }

    std::string ReceiveAtDevice(std::size_t size) {
        std::string bytes;
        while (bytes.size() < size) {
            pollfd ready{device_, POLLIN, 0};
            if (poll(&ready, 1, 60000) != 1)
                break;
            char chunk[4096];
            const ssize_t count = read(device_, chunk, sizeof(chunk));
            if (count <= 0)
                break;
            bytes.append(chunk, static_cast<std::size_t>(count));
        }
        return bytes;
    }

    void SayAsDevice(const std::string& bytes) {
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()), write(device_, bytes.data(), bytes.size()));
    }

    static inline std::filesystem::path home_;
    int device_ = -1;
};

TEST_F(LinkTest, every_length_arrives_whole_and_in_order) {
    for (std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{12288},
                               std::size_t{12289}, std::size_t{0x20000}}) {
        std::string sent(length, '\0');
        for (std::size_t place = 0; place < length; ++place)
            sent[place] = static_cast<char>(place * 7 + place / 251); // zeros among them
        bool handedOver = false;
        std::thread sender(
            [&] { handedOver = WriteLink(sent.data(), static_cast<std::uint32_t>(sent.size())); });
        const std::string received = ReceiveAtDevice(length);
        sender.join();
        EXPECT_TRUE(handedOver);
        EXPECT_TRUE(sent == received) << "length " << length;
    }
}

TEST_F(LinkTest, a_write_that_nobody_takes_ends_once_the_transfer_has_been_given_up) {
    const std::string piece(0x20000, 'p');
    std::atomic<bool> over = false;
    bool handedOver = true;
    std::thread sender([&] {
        handedOver = WriteLink(piece.data(), static_cast<std::uint32_t>(piece.size()));
        over = true;
    });
    pollfd full{device_, POLLIN, 0};
    ASSERT_EQ(1, poll(&full, 1, 60000)); // it has started to write, and nobody reads
    EXPECT_FALSE(over);
    State.Link.StopReceive = true;
    EXPECT_TRUE(ComesTrue([&] { return over.load(); }));
    sender.join();
    EXPECT_FALSE(handedOver);
}

TEST_F(LinkTest, a_write_that_nobody_takes_ends_by_itself_and_nothing_is_sent_behind_it) {
    std::string piece(0x20000, 'p');
    piece.back() = 'z';
    EXPECT_FALSE(WriteLink(piece.data(), static_cast<std::uint32_t>(piece.size())));
    int arrived = 0;
    ASSERT_EQ(0, ioctl(device_, FIONREAD, &arrived));
    const std::string taken = ReceiveAtDevice(static_cast<std::size_t>(arrived));
    EXPECT_EQ(std::string::npos, taken.find('z'));
}

TEST_F(LinkTest, closing_the_port_ends_a_write_and_a_later_one_reports_it) {
    const std::string piece(0x20000, 'p');
    bool handedOver = true;
    std::thread sender(
        [&] { handedOver = WriteLink(piece.data(), static_cast<std::uint32_t>(piece.size())); });
    pollfd full{device_, POLLIN, 0};
    ASSERT_EQ(1, poll(&full, 1, 60000));
    CloseLinkPort();
    sender.join();
    EXPECT_FALSE(handedOver);
    EXPECT_FALSE(WriteLink("A", 1));
}

TEST_F(LinkTest, the_serial_loop_shows_a_token_and_leaves_when_the_link_is_released) {
    StartReceiveLoop(SerialReceiveLoop, true);
    for (int round = 0; round < 5; ++round) {
        SayAsDevice(std::string("\4\0", 2));
        ASSERT_TRUE(ComesTrue([] { return HoldsToken(4); }));
        ClearReceivedToken();
    }
    ReleaseLink();
    EXPECT_FALSE(State.Link.ReceiveRunning);
    EXPECT_EQ(nullptr, State.Link.LinkHandle);
    EXPECT_EQ(nullptr, State.Link.ReceiveEvent);
    EXPECT_EQ(nullptr, State.Link.ReceiveThread);
}

TEST_F(LinkTest, a_loop_that_has_just_started_or_ended_never_blocks_the_teardown) {
    for (int round = 0; round < 50; ++round) {
        StartReceiveLoop(SerialReceiveLoop, true);
        TearDownTransfer();
        EXPECT_FALSE(State.Link.ReceiveRunning);
        ASSERT_TRUE(OpenLinkPort(""));
    }
}

TEST_F(LinkTest, a_loop_without_a_device_ends_and_does_not_hold_its_starter) {
    CloseLinkPort();
    StartReceiveLoop(UsbReceiveLoop, true); // its first request fails
    EXPECT_TRUE(ComesTrue([] { return !State.Link.ReceiveRunning; }));
}

TEST_F(LinkTest, the_buffers_of_a_transfer_outlive_a_sender_that_uses_them) {
    State.Link.TransferBufferA = static_cast<std::uint8_t*>(LocalAlloc(LMEM_FIXED, 0x40000));
    {
        const SenderHold hold;
        AbandonTransfer();
        EXPECT_NE(nullptr, State.Link.TransferBufferA);
    }
    EXPECT_EQ(nullptr, State.Link.TransferBufferA);
}

TEST(PortName, has_its_colon_cut_off_and_com1_as_its_default) {
    char name[48];
    FormatPortName("COM2:", true, name);
    EXPECT_STREQ("\\\\.\\COM2", name);
    FormatPortName("", true, name);
    EXPECT_STREQ("\\\\.\\COM1", name);
    FormatPortName("COM2:", false, name);
    EXPECT_STREQ("\\\\.\\WCEUSBSH001", name);
}

} // namespace
