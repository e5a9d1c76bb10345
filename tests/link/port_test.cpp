// Opening, writing and closing the link's port, on a real terminal pair.
// label: threads

#include "link/bootloader_transfer.h"
#include "link/upgrade_transfer.h"
#include "link/wire.h"
#include "state/progress_record.h"
#include "tests/link/link_fixture.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <thread>

#include <sys/syscall.h>

namespace {

// What a tty reports as its output queue, while that is set. A pseudo-terminal has none.
std::atomic<int> outputQueue = -1;
std::atomic<int> questions = 0;

// Modem lines that are raised; a pseudo-terminal has none.
std::atomic<int> raisedLines = 0;

// The most that was written at a time, and the size of writes that are never taken.
std::atomic<std::size_t> largestWrite = 0, stuckWrite = 0;

} // namespace

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == TIOCMBIS)
        raisedLines |= *static_cast<int*>(argument);
    if (request == TIOCMBIC)
        raisedLines &= ~*static_cast<int*>(argument);
    if (request != TIOCOUTQ || outputQueue < 0)
        return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    *static_cast<int*>(argument) = outputQueue;
    ++questions;
    return 0;
}

extern "C" ssize_t write(int descriptor, const void* bytes, size_t size) {
    largestWrite = std::max<std::size_t>(largestWrite, size);
    if (size == 0 || size != stuckWrite)
        return syscall(SYS_write, descriptor, bytes, size);
    errno = EAGAIN;
    return -1;
}

namespace {

using namespace link_test;

// There are no loops' pauses here, and a limit of a minute.
class LinkPort : public LinkTest {
public:
    static void SetUpTestSuite() { SetClock("50"); }
};

TEST_F(LinkPort, every_length_arrives_whole_and_in_order) {
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
    EXPECT_EQ(12288U, largestWrite); // as the driver of the USB link wants it
}

TEST_F(LinkPort, a_write_that_nobody_reads_ends_with_the_transfer_or_its_port) {
    for (const bool closed : {false, true}) {
        bool handedOver = true;
        std::thread sender([&] { handedOver = WriteLink(std::string(0x20000, 'p')); });
        pollfd full{device_, POLLIN, 0};
        ASSERT_EQ(1, poll(&full, 1, 60000)); // it has started to write, and nobody reads
        closed ? CloseLinkPort() : void(State.Link.StopReceive = true);
        sender.join();
        EXPECT_FALSE(handedOver);
        for (const std::size_t length : {1U, 12289U})
            EXPECT_FALSE(WriteLink(std::string(length, 'q')));
        EXPECT_EQ(std::string::npos, Arrived().find('q'));
        TearDown();
        SetUp();
    }
}

TEST_F(LinkPort, a_write_that_nobody_reads_ends_by_itself_and_nothing_is_sent_behind_it) {
    std::string piece(0x20000, 'p');
    piece.back() = 'z';
    EXPECT_FALSE(WriteLink(piece));
    EXPECT_EQ(std::string::npos, Arrived().find('z'));
}

TEST_F(LinkPort, output_is_sent_when_the_queue_of_the_driver_is_empty_or_cannot_be_asked) {
    outputQueue = 1;
    questions = 0;
    std::atomic<bool> over = false;
    std::thread sender([&] {
        EXPECT_TRUE(AwaitOutputSent());
        over = true;
    });
    EXPECT_TRUE(ComesTrue([] { return questions > 20; }));
    EXPECT_FALSE(over);
    outputQueue = 0;
    sender.join();
    outputQueue = 1;
    State.Link.StopReceive = true;
    EXPECT_FALSE(AwaitOutputSent());
    State.Link.StopReceive = false;
    outputQueue = -1;
    HangUp(); // the driver cannot be asked any more
    EXPECT_TRUE(ComesTrue([] { return AwaitOutputSent(); }));
    CloseLinkPort();
    EXPECT_TRUE(AwaitOutputSent());
}

// A sender at work on the smallest image.
class Transfer : public LinkTest {
protected:
    void Start(void (*transfer)()) {
        const auto image = home_ / "image.nbf";
        test_support::WriteFileBytes(image, std::string(MinImageFileSize, 'i'));
        std::snprintf(State.Paths.ImagePath, sizeof(State.Paths.ImagePath), "Z:%s", image.c_str());
        sender_ = std::thread([this, transfer] {
            transfer();
            over_ = true;
        });
    }
    void TearDown() override {
        State.Run.TransferAborted = true; // ends a sender that still waits
        sender_.join();
        LinkTest::TearDown();
        outputQueue = -1;
        stuckWrite = 0;
        State.Link.Verdict = TransferVerdict::Open;
    }

    static TransferVerdict Verdict() {
        const std::lock_guard lock(State.Link.VerdictLock);
        return State.Link.Verdict;
    }
    void AwaitLastBytesInDriver() {
        EXPECT_TRUE(ComesTrue([] { return questions > 20; }));
        EXPECT_FALSE(over_);
    }
    // As a timer does that fires then.
    void Stall() {
        WriteProgressRecord();
        State.Link.VerdictLock.lock();
        State.Link.Verdict = TransferVerdict::Stalled;
        State.Link.VerdictLock.unlock();
        outputQueue = 0;
        EXPECT_TRUE(ComesTrue([this] { return over_.load(); }));
        EXPECT_TRUE(ReadProgressRecord());
        DeleteProgressRecord();
    }

    std::atomic<bool> over_ = false;

private:
    std::thread sender_;
};

class SmallestUpgrade : public Transfer {
protected:
    // Up to the first token for the held-back block, of which the whole image consists.
    void SetUp() override {
        Transfer::SetUp();
        State.Run.BusyCursor = true;
        StartReceiveLoop(SerialReceiveLoop, true);
        Start(BeginUpgradeTransfer);
        EXPECT_EQ("A", ReceiveAtDevice(1));
        SendFromDevice(std::string("\5\0", 2));
        EXPECT_EQ(4U, ReceiveAtDevice(4).size());
        SendFromDevice(std::string("\4\0", 2));
    }
    // Up to the last bytes, which stay with the driver.
    void TakeHeldBackBlock() {
        outputQueue = 1;
        questions = 0;
        EXPECT_EQ(0x20000U, ReceiveAtDevice(0x20000).size());
        SendFromDevice(std::string("\4\0", 2));
        EXPECT_EQ(0x20000U, ReceiveAtDevice(0x20000).size());
        AwaitLastBytesInDriver();
    }
};

// The last thing that an upgrade has to go by is the driver's word.
TEST_F(SmallestUpgrade, succeeds_when_its_last_bytes_are_on_the_wire) {
    TakeHeldBackBlock();
    EXPECT_EQ(TransferVerdict::Open, Verdict());
    EXPECT_FALSE(State.Run.BusyCursor);
    outputQueue = 0;
    EXPECT_TRUE(ComesTrue([this] { return over_.load(); }));
    EXPECT_EQ(TransferVerdict::Sent, Verdict());
}

TEST_F(SmallestUpgrade, that_has_stalled_keeps_its_record_though_all_has_gone_out) {
    TakeHeldBackBlock();
    Stall();
}

TEST_F(SmallestUpgrade, is_no_success_when_it_is_given_up_with_its_last_bytes_in_the_driver) {
    TakeHeldBackBlock();
    State.Run.TransferAborted = true;
    EXPECT_TRUE(ComesTrue([this] { return over_.load(); }));
    EXPECT_EQ(TransferVerdict::Open, Verdict());
}

TEST_F(LinkPort, has_raised_lines_and_115200_baud_and_lets_every_byte_pass) {
    EXPECT_EQ(TIOCM_DTR | TIOCM_RTS, raisedLines);
    termios line = {};
    ASSERT_EQ(0, tcgetattr(device_, &line));
    EXPECT_EQ(speed_t{B115200}, cfgetospeed(&line));
    EXPECT_EQ(tcflag_t{CS8 | CLOCAL}, line.c_cflag & (CSIZE | CLOCAL | PARENB | CSTOPB | CRTSCTS));
    EXPECT_EQ(0U, line.c_lflag & (ICANON | ECHO | ISIG | IEXTEN));
    EXPECT_EQ(0U, line.c_iflag & (IXON | IXOFF | IGNBRK | ISTRIP | INLCR | IGNCR | ICRNL));
    EXPECT_EQ(0U, line.c_oflag & OPOST);
}

// The bootloader at the other end, and a page that notes what becomes of its timer.
class Bootloader : public Transfer {
protected:
    static constexpr LPARAM Runs = 30000, Stands = 0;

    void SetUp() override {
        Transfer::SetUp();
        CloseLinkPort();
        State.Windows.ProgressPage = page_;
        StoreReceivedText(2); // as if from an earlier dialogue
        Start(BootloaderTransfer);
        EXPECT_TRUE(ComesTrue([] { // a line that nobody has opened cannot be read
            const std::lock_guard lock(State.Link.LinkLock);
            return State.Link.LinkHandle != nullptr;
        }));
        EXPECT_EQ("l\r", ReceiveAtDevice(2));
    }
    void TearDown() override {
        Transfer::TearDown();
        State.Windows.ProgressPage = nullptr;
        DestroyWindow(page_);
    }
    // Serves the page.
    bool TimerIs(LPARAM state) {
        MSG message = {};
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
            if (message.message == StallTimerMessage && message.wParam == PieceTimer)
                timer_ = message.lParam;
        return timer_ == state;
    }

    const HWND page_ =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    LPARAM timer_ = -1;
};

// A block takes longer on the wire than the bootloader may be silent.
TEST_F(Bootloader, is_timed_while_it_is_awaited_and_not_while_a_block_goes_out) {
    EXPECT_TRUE(ComesTrue([&] { return TimerIs(Runs); }));
    Sleep(50); // it looks every millisecond, and finds nothing
    EXPECT_EQ("", Arrived());
    SendFromDevice("\2");
    EXPECT_EQ(12U, ReceiveAtDevice(12).size());
    EXPECT_TRUE(ComesTrue([&] { return TimerIs(Stands); }));
    EXPECT_TRUE(std::string(PayloadBlockSize, 'i') == ReceiveAtDevice(PayloadBlockSize));
    EXPECT_TRUE(ComesTrue([&] { return TimerIs(Runs); }));
    EXPECT_EQ("", Arrived());
    outputQueue = 1; // the last block is still with the driver
    questions = 0;
    SendFromDevice("\2");
    EXPECT_EQ(12 + PayloadBlockSize, ReceiveAtDevice(12 + PayloadBlockSize).size());
    AwaitLastBytesInDriver();
    outputQueue = 0;
    EXPECT_TRUE(ComesTrue([&] { return TimerIs(Stands) && over_; }));
}

TEST_F(Bootloader, that_has_stalled_keeps_its_record_though_all_has_gone_out) {
    outputQueue = 1;
    for (const char* request : {"\2", "\2"}) {
        questions = 0;
        SendFromDevice(request);
        EXPECT_EQ(12 + PayloadBlockSize, ReceiveAtDevice(12 + PayloadBlockSize).size());
    }
    AwaitLastBytesInDriver();
    Stall();
}

// With a limit that comes soon.
class StuckBootloader : public Bootloader {
protected:
    static void SetUpTestSuite() { LinkPort::SetUpTestSuite(); }
};

TEST_F(StuckBootloader, gets_no_block_behind_a_record_that_was_not_taken_and_is_left_to_its_timer) {
    stuckWrite = 12;
    SendFromDevice("\2");
    EXPECT_TRUE(ComesTrue([&] { return TimerIs(Runs) && over_; }));
    EXPECT_EQ("", Arrived());
}

} // namespace
