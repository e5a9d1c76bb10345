// Each call of the system that a whole transfer makes for its image, its record and its port fails
// once, each of its threads and each of its buffers. The test is the handheld, and the page with
// its timers.

#include "link/backup_transfer.h"
#include "link/bootloader_transfer.h"
#include "link/upgrade_transfer.h"
#include "link/wire.h"
#include "state/progress_record.h"
#include "testing/image_file.h"
#include "testing/preload/call_report.h"
#include "tests/link/link_fixture.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace {

int goodBlocks = -1; // how many buffers there are until one is refused; below 0 none is

} // namespace

// With nothing of an earlier transfer in it.
HLOCAL WINAPI LocalAlloc(UINT, SIZE_T size) {
    if (goodBlocks >= 0 && goodBlocks-- == 0)
        return nullptr;
    return std::memset(std::malloc(size), 0xEE, size);
}

HLOCAL WINAPI LocalFree(HLOCAL block) {
    std::free(block);
    return nullptr;
}

namespace {

using namespace link_test;
using namespace test_support;

class FailingCalls : public LinkTest {
protected:
    static void SetUpTestSuite() { SetClock("100,2000"); }

    void SetUp() override {
        for (std::size_t at = 0; at < image_.size(); ++at)
            image_[at] = static_cast<char>(at * 7 + at / 251);
        WriteFileBytes(home_ / "image.nbf", image_);
        std::snprintf(State.Paths.ImagePath, sizeof(State.Paths.ImagePath), "Z:%s",
                      (home_ / "image.nbf").c_str());
        State.Windows.ProgressPage = page_;
        State.Run.RunEnded = true; // no page of a failure comes up
    }
    void TearDown() override {
        State.Windows.ProgressPage = nullptr;
        State.Run.RunEnded = false;
        State.Link.Verdict = TransferVerdict::Open;
        DestroyWindow(page_);
    }

    // From its beginning to its end, of which a stall timer takes care; false when it makes fewer
    // such calls.
    bool Transfer(CallKind kind, unsigned number, void (*instead)() = nullptr) {
        CallReport& report = reports_.emplace_back();
        SCOPED_TRACE(testing::Message() << "kind " << int(kind) << ", call " << number);
        Connect(serial_);
        CloseLinkPort();
        State.Link.Verdict = TransferVerdict::Open;
        DeleteProgressRecord();
        received_.clear();
        std::size_t asked = 0;
        std::atomic<bool> over = false;
        FailCall(&report, kind, number, EIO, instead);
        std::thread sender([&] {
            WriteProgressRecord();
            EXPECT_TRUE(ReadProgressRecord() || ReadProgressRecord());
            transfer_();
            over = true;
        });
        while (!over) {
            ServeTimers();
            received_ += Arrived();
            if (std::exchange(asked, received_.size()) != received_.size())
                AskForMore();
            usleep(100);
        }
        sender.join();
        sent_ = State.Link.Verdict == TransferVerdict::Sent;
        if (sent_) // the last of it may still be in the tty
            received_ += ReceiveAtDevice(wire_.size() - received_.size());
        // An image that cannot be read gives the port back to its page.
        EXPECT_TRUE(received_.size() > 1 || State.Run.TransferAborted || !State.Link.LinkHandle);
        TearDownTransfer();
        FailCall(nullptr);
        Judge();
        return report.failed > 0;
    }

    void ServeTimers() {
        MSG message = {};
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == StallTimerMessage)
                SetStallTimer(page_, message.wParam, static_cast<DWORD>(message.lParam));
            if (message.message == WM_TIMER)
                EndStalledTransfer(page_, message.wParam);
        }
    }

    void AskForMore() {
        const std::size_t size = received_.size();
        if (received_.starts_with('A') && size % PieceSize == 5)
            SendFromDevice(std::string("\4\0", 2));
        else if (received_ == "A")
            SendFromDevice(std::string("\5\0", 2));
        else if (received_ == "l\r")
            SendFromDevice("download");
        else if (received_.ends_with("B000FF\n"))
            SendFromDevice("\1");
        else if (received_.starts_with('l') && size % (12 + PayloadBlockSize) == 17)
            SendFromDevice("\2");
    }

    void Judge() {
        EXPECT_TRUE(sent_ ? received_ == wire_ : wire_.starts_with(received_));
        EXPECT_TRUE(sent_ || ReadProgressRecord());
        EXPECT_FALSE(State.Link.ReceiveRunning || State.Link.LinkHandle ||
                     State.Link.ReceiveEvent || State.Link.ReceiveThread ||
                     State.Link.TransferBufferA || State.Link.TransferBufferB ||
                     State.Link.ImageFile);
    }

    void Walk(void (*transfer)(), bool serial, const std::string& wire) {
        transfer_ = transfer;
        serial_ = serial;
        wire_ = wire;
        // On a busy machine a timer may come first.
        for (int tries = 0; tries < 20 && !sent_; ++tries)
            Transfer(CallKind::Open, 0);
        EXPECT_TRUE(sent_);
        for (const CallKind kind :
             {CallKind::Open, CallKind::Read, CallKind::Port, CallKind::Thread}) {
            unsigned number = kind == CallKind::Thread ? 2 : 1; // the sender is the first thread
            while ((serial || kind != CallKind::Port) && Transfer(kind, number))
                ++number;
        }
        unsigned number = 1; // a USB loop reads as often as it can, so only its first calls count
        while ((serial || number < 9) && Transfer(CallKind::Port, number, GiveUp))
            ++number;
        for (const int blocks : {0, 1}) {
            goodBlocks = blocks;
            Transfer(CallKind::Open, 0);
        }
        goodBlocks = -1;
        std::filesystem::resize_file(home_ / "image.nbf", MinImageFileSize - 1);
        Transfer(CallKind::Open, 0);
        EXPECT_GE(1U, received_.size());
    }

    // As the page does it from a thread of its own, at any moment.
    static void GiveUp() {
        const std::lock_guard lock(State.Link.VerdictLock);
        if (State.Link.Verdict != TransferVerdict::Open)
            return;
        State.Link.Verdict = TransferVerdict::Stalled;
        State.Run.TransferAborted = State.Link.StopReceive = true;
    }

    std::deque<CallReport> reports_; // a thread of the port may still be at a call
    void (*transfer_)() = nullptr;
    bool serial_ = false, sent_ = false;
    std::string image_ = std::string(MinImageFileSize + PieceSize, '\0');
    std::string wire_, received_; // what the handheld is to get, and what it has got
    const HWND page_ =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
};

void Upgrade() {
    if (StartReceive())
        BeginUpgradeTransfer();
}

TEST_F(FailingCalls, of_an_upgrade_over_usb_lose_it_or_nothing) {
    Walk(Upgrade, false, FlasherWire(image_));
}

TEST_F(FailingCalls, of_an_upgrade_over_serial_lose_it_or_nothing) {
    Walk(Upgrade, true, FlasherWire(image_));
}

TEST_F(FailingCalls, of_answers_to_the_bootloader_lose_them_or_nothing) {
    Walk(BootloaderTransfer, true, BootloaderWire(image_));
}

// The driver of the USB link wants that.
TEST_F(FailingCalls, count_a_usb_port_opened_twice_and_a_serial_port_once) {
    for (const bool serial : {true, false}) {
        Connect(serial);
        CloseLinkPort();
        CallReport& report = reports_.emplace_back();
        FailCall(&report);
        EXPECT_TRUE(StartReceive());
        TearDownTransfer();
        FailCall(nullptr);
        EXPECT_EQ(serial ? 1U : 2U, report.calls[std::size_t(CallKind::Open)]);
    }
}

TEST_F(FailingCalls, of_memory_are_failures_of_a_backup) {
    CallReport report = {};
    FailCall(&report, CallKind::Memory, 1, ENOMEM); // a sanitizer's operator new is another one
    const BackupOutcome outcome = SaveRom();
    FailCall(nullptr);
    EXPECT_EQ(report.failed ? BackupOutcome::Failed : BackupOutcome::ProgramDidNotStart, outcome);
}

} // namespace
