// Opening, writing and closing the link's port, on a real terminal pair.
// label: threads

#include "link/upgrade_transfer.h"
#include "link/wire.h"
#include "tests/link/link_fixture.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>

#include <sys/syscall.h>

namespace {

// What a tty reports as its output queue, while that is set. A pseudo-terminal has none.
std::atomic<int> outputQueue = -1;
std::atomic<int> questions = 0;

} // namespace

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request != TIOCOUTQ || outputQueue < 0)
        return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    *static_cast<int*>(argument) = outputQueue;
    ++questions;
    return 0;
}

namespace {

using namespace link_test;

const char* const fast = Clock = "50"; // there are no loops here, and a limit of a minute

TEST_F(LinkTest, every_length_arrives_whole_and_in_order) {
    for (std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{12288},
                               std::size_t{12289}, std::size_t{0x20000}}) {
        std::string sent(length, '\0');
        for (std::size_t offset = 0; offset < length; ++offset)
            sent[offset] = static_cast<char>(offset * 7 + offset / 251); // zeros among them
        bool handedOver = false;
        std::thread sender([&] { handedOver = WriteLink(sent); });
        const std::string received = ReceiveAtDevice(length);
        sender.join();
        EXPECT_TRUE(handedOver);
        EXPECT_TRUE(sent == received) << "length " << length;
    }
}

TEST_F(LinkTest, a_write_that_nobody_reads_ends_once_the_transfer_has_been_given_up) {
    const std::string piece(0x20000, 'p');
    std::atomic<bool> over = false;
    bool handedOver = true;
    std::thread sender([&] {
        handedOver = WriteLink(piece);
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

TEST_F(LinkTest, a_write_that_nobody_reads_ends_by_itself_and_nothing_is_sent_behind_it) {
    std::string piece(0x20000, 'p');
    piece.back() = 'z';
    EXPECT_FALSE(WriteLink(piece));
    int arrived = 0;
    ASSERT_EQ(0, ioctl(device_, FIONREAD, &arrived));
    const std::string taken = ReceiveAtDevice(static_cast<std::size_t>(arrived));
    EXPECT_EQ(std::string::npos, taken.find('z'));
}

TEST_F(LinkTest, closing_the_port_ends_a_write_and_a_later_one_reports_it) {
    const std::string piece(0x20000, 'p');
    bool handedOver = true;
    std::thread sender([&] { handedOver = WriteLink(piece); });
    pollfd full{device_, POLLIN, 0};
    ASSERT_EQ(1, poll(&full, 1, 60000));
    CloseLinkPort();
    sender.join();
    EXPECT_FALSE(handedOver);
    EXPECT_FALSE(WriteLink("A"));
}

TEST_F(LinkTest, output_is_sent_when_the_queue_of_the_driver_is_empty_or_cannot_be_asked) {
    for (const bool abandoned : {false, true}) {
        outputQueue = 1;
        questions = 0;
        bool sent = abandoned;
        std::atomic<bool> over = false;
        std::thread sender([&] {
            sent = AwaitOutputSent();
            over = true;
        });
        EXPECT_TRUE(ComesTrue([] { return questions > 20; }));
        EXPECT_FALSE(over);
        abandoned ? AbandonTransfer() : void(outputQueue = 0);
        sender.join();
        EXPECT_EQ(!abandoned, sent);
    }
    State.Run.TransferAborted = false;
    outputQueue = -1;
    HangUp(); // the driver cannot be asked any more
    EXPECT_TRUE(ComesTrue([] { return AwaitOutputSent(); }));
}

class SmallestUpgrade : public LinkTest {
protected:
    // Up to the first token for the held-back block, of which the whole image consists.
    void SetUp() override {
        LinkTest::SetUp();
        const auto image = home_ / "image.nbf";
        std::ofstream(image) << 'x';
        std::filesystem::resize_file(image, MinImageFileSize);
        std::snprintf(State.Paths.ImagePath, sizeof(State.Paths.ImagePath), "Z:%s", image.c_str());
        StartReceiveLoop(SerialReceiveLoop, true);
        sender_ = std::thread([this] {
            BeginUpgradeTransfer();
            over_ = true;
        });
        EXPECT_EQ("A", ReceiveAtDevice(1));
        SendFromDevice(std::string("\5\0", 2));
        EXPECT_EQ(4U, ReceiveAtDevice(4).size());
        SendFromDevice(std::string("\4\0", 2));
    }
    void TearDown() override {
        State.Run.TransferAborted = true; // ends a sender that still waits
        sender_.join();
        LinkTest::TearDown();
        outputQueue = -1;
        State.Link.Verdict = TransferVerdict::Open;
    }
    static TransferVerdict Verdict() {
        const std::lock_guard lock(State.Link.VerdictLock);
        return State.Link.Verdict;
    }

    std::thread sender_;
    std::atomic<bool> over_ = false;
};

// The last thing that an upgrade has to go by is the driver's word.
TEST_F(SmallestUpgrade, succeeds_when_its_last_bytes_are_on_the_wire) {
    outputQueue = 1;
    questions = 0;
    EXPECT_EQ(0x20000U, ReceiveAtDevice(0x20000).size());
    SendFromDevice(std::string("\4\0", 2));
    EXPECT_EQ(0x20000U, ReceiveAtDevice(0x20000).size());
    EXPECT_TRUE(ComesTrue([] { return questions > 20; }));
    EXPECT_EQ(TransferVerdict::Open, Verdict());
    outputQueue = 0;
    EXPECT_TRUE(ComesTrue([this] { return over_.load(); }));
    EXPECT_EQ(TransferVerdict::Sent, Verdict());
}

TEST_F(SmallestUpgrade, is_given_up_when_the_first_half_of_the_held_back_block_is_not_handed_over) {
    EXPECT_EQ(1000U, ReceiveAtDevice(1000).substr(0, 1000).size());
    HangUp();
    EXPECT_TRUE(ComesTrue([this] { return over_.load(); }));
    EXPECT_EQ(TransferVerdict::Open, Verdict());
}

TEST_F(LinkTest, the_port_is_opened_for_itself_alone_at_115200_baud_without_flow_control) {
    termios line = {};
    ASSERT_EQ(0, tcgetattr(device_, &line));
    EXPECT_EQ(speed_t{B115200}, cfgetospeed(&line));
    EXPECT_EQ(tcflag_t{CS8}, line.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS));
    EXPECT_EQ(0U, line.c_iflag & (IXON | IXOFF | IGNBRK | ISTRIP | INLCR | ICRNL));
    EXPECT_EQ(INVALID_HANDLE_VALUE,
              CreateFileA("\\\\.\\COM1", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
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
