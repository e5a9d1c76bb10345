// The receive loops on a real terminal pair: what the sender may find, and how a loop ends.
// label: threads

#include "tests/link/link_fixture.h"

#include "state/progress_record.h"

#include <sys/file.h>

#include <mutex>
#include <thread>

namespace {

using namespace link_test;

TEST_F(LinkTest, the_serial_loop_shows_one_token_after_the_other_and_listens_for_little) {
    StartReceiveLoop(SerialReceiveLoop, true);
    for (int round = 0; round < 5; ++round) {
        SendFromDevice(std::string("\4\0", 2));
        ASSERT_TRUE(ComesTrue([] { return HoldsToken(4); }));
        ConsumeToken();
    }
    DWORD mask = 0;
    EXPECT_TRUE(GetCommMask(State.Link.LinkHandle, &mask));
    EXPECT_EQ(0x119u, mask);
}

// A sender may be held up by its display or by a disk, and the zero behind a token come by itself.
TEST_F(LinkTest, the_serial_loop_leaves_a_token_for_a_second_and_until_the_sender_has_looked) {
    StartReceiveLoop(SerialReceiveLoop, true);
    SendFromDevice("\4");
    ASSERT_TRUE(ComesTrue([] { return HoldsToken(4); }));
    SendFromDevice(std::string(1, '\0'));
    for (int i = 0; i < 3; ++i)
        Sleep(900);           // a longer one would run at another rate
    ++State.Link.SenderLooks; // that look may have begun before the token came
    Sleep(500);
    EXPECT_TRUE(HoldsToken(4));
    ++State.Link.SenderLooks;
    EXPECT_TRUE(ComesTrue([] { return !HoldsToken(4); }));

    const DWORD start = GetTickCount();
    SendFromDevice("\5");
    ASSERT_TRUE(ComesTrue([] { return HoldsToken(5); }));
    State.Link.SenderLooks += 2;
    SendFromDevice("\7");
    EXPECT_TRUE(ComesTrue([] { return State.Link.ReceiveBuffer[0] == 7; }));
    EXPECT_GE(GetTickCount() - start, 1000u);
    SendFromDevice(std::string("\0\4", 2)); // the late zero may bring the next token with it
    EXPECT_TRUE(ComesTrue([] { return HoldsToken(4); }));
}

TEST_F(LinkTest, the_serial_loop_shows_the_first_999_bytes_of_a_burst) {
    StartReceiveLoop(SerialReceiveLoop, true);
    State.Link.BufferLock.lock(); // it reads when all have come
    SendFromDevice(std::string(999, 'x') + "yy");
    EXPECT_TRUE(ComesTrue([] {
        COMSTAT status = {};
        DWORD errors = 0;
        return ClearCommError(State.Link.LinkHandle, &errors, &status) && status.cbInQue == 1001;
    }));
    State.Link.BufferLock.unlock();
    EXPECT_TRUE(ComesTrue([] { return State.Link.ReceiveBuffer[998] == 'x'; }));
    EXPECT_EQ(0, State.Link.ReceiveBuffer[999]);
}

// Which limit is whose shows on a clock alone that no test can wait for.
TEST_F(LinkTest, the_page_times_20_seconds_for_the_answer_and_30_for_a_piece) {
    const HWND page =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    State.Windows.ProgressPage = page;
    StartStallTimer(AnswerTimer);
    StartStallTimer(PieceTimer);
    KillStallTimer(PieceTimer);
    State.Windows.ProgressPage = nullptr;
    for (const auto& [timer, milliseconds] : {std::pair{2, 20000}, {1, 30000}, {1, 0}}) {
        MSG message = {};
        while (message.message != StallTimerMessage)
            ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
        EXPECT_EQ(static_cast<WPARAM>(timer), message.wParam);
        EXPECT_EQ(milliseconds, message.lParam);
    }
    DestroyWindow(page);
}

// Another process has the registry's lock, as on a slow disk.
TEST_F(LinkTest, a_stall_is_decided_while_the_note_of_the_held_back_block_waits) {
    const int lock = open((home_ / "registry.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(0, flock(lock, LOCK_EX));
    std::thread sender([] { EXPECT_TRUE(RecordBytesRemaining(0x40000)); });
    EXPECT_TRUE(ComesTrue([] { return State.Run.BytesRemaining == 0x40000; }));
    EndStalledTransfer(nullptr, PieceTimer);
    EXPECT_TRUE(State.Run.TransferAborted);
    EXPECT_FALSE(HeldBackBlockNoted());
    EXPECT_FALSE(MarkSent());
    close(lock);
    sender.join();
    EXPECT_TRUE(HeldBackBlockNoted());
    EXPECT_FALSE(RecordBytesRemaining(0x20000));
    State.Run.TransferAborted = false;
    EndStalledTransfer(nullptr, PieceTimer); // once more: that is decided
    EXPECT_FALSE(State.Run.TransferAborted);
    State.Link.Verdict = TransferVerdict::Open;
}

HANDLE mayLeave = nullptr; // what a loop waits for that no signal of the link reaches

DWORD WINAPI StuckLoop(LPVOID) {
    PrepareReceiveRecord();
    MarkReceiveRunning();
    SignalReceiveReady();
    WaitForSingleObject(mayLeave, INFINITE);
    return 0;
}

// A driver may keep it for ever.
TEST_F(LinkTest, a_loop_that_never_leaves_keeps_its_handles_until_the_teardown_terminates_it) {
    mayLeave = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    for (const bool keepsThread : {true, false}) {
        CloseLinkPort();
        ASSERT_TRUE(OpenLinkPort(""));
        StartReceiveLoop(StuckLoop, keepsThread);
        ReleaseLink();
        EXPECT_TRUE(State.Link.ReceiveRunning && State.Link.ReceiveEvent);
        EXPECT_EQ(keepsThread, State.Link.ReceiveThread != nullptr);
        TearDownTransfer();
        EXPECT_FALSE(State.Link.ReceiveRunning || State.Link.ReceiveEvent);
    }
    SetEvent(mayLeave); // the one that was not kept
    CloseHandle(mayLeave);
}

// An answer that comes before the event mask is there wakes nobody.
TEST_F(LinkTest, a_loop_listens_before_its_starter_may_send_and_never_blocks_the_teardown) {
    for (int round = 0; round < 50; ++round) {
        StartReceiveLoop(round % 2 == 0 ? SerialReceiveLoop : BootloaderReceiveLoop, true);
        DWORD mask = 0;
        EXPECT_TRUE(GetCommMask(State.Link.LinkHandle, &mask));
        EXPECT_EQ(0x139u, mask);
        TearDownTransfer();
        EXPECT_FALSE(State.Link.ReceiveRunning);
        ASSERT_TRUE(OpenLinkPort(""));
    }
}

TEST_F(LinkTest, a_loop_without_a_device_ends_and_does_not_block_its_starter) {
    CloseLinkPort();
    StartReceiveLoop(UsbReceiveLoop, true); // its first request fails
    EXPECT_TRUE(ComesTrue([] { return !State.Link.ReceiveRunning; }));
}

TEST_F(LinkTest, the_buffers_of_a_transfer_outlive_a_sender_that_uses_them) {
    State.Link.TransferBufferA = static_cast<std::uint8_t*>(LocalAlloc(LMEM_FIXED, 0x40000));
    {
        const SenderGuard sender;
        AbandonTransfer();
        EXPECT_NE(nullptr, State.Link.TransferBufferA);
    }
    EXPECT_EQ(nullptr, State.Link.TransferBufferA);
}

class UsbLoop : public LinkTest {
protected:
    void SetUp() override {
        Connect(false);
        StartReceiveLoop(UsbReceiveLoop, true);
    }
};

TEST_F(UsbLoop, shows_a_token_until_it_is_cleared_and_then_the_next_one) {
    for (int round = 0; round < 20; ++round) {
        const char token = round % 2 == 0 ? '\4' : '\5';
        SendFromDevice({token, '\0'});
        ASSERT_TRUE(ComesTrue([=] { return HoldsToken(static_cast<std::uint8_t>(token)); }));
        ClearReceivedToken();
    }
    SendFromDevice(std::string("\5\0", 2)); // never cleared: the next one replaces it
    ASSERT_TRUE(ComesTrue([] { return HoldsToken(5); }));
    SendFromDevice(std::string("\4\0", 2));
    EXPECT_TRUE(ComesTrue([] { return HoldsToken(4); }));
}

// It may come behind a stray byte, where an earlier burst of another loop must not hide it.
TEST_F(UsbLoop, shows_a_token_with_nothing_of_before_behind_it) {
    State.Link.ReceiveBuffer[2] = 'x';
    SendFromDevice("\7\5");
    EXPECT_TRUE(ComesTrue([] { return HoldsToken(5, 1); }));
}

TEST_F(UsbLoop, ends_with_a_device_that_leaves_the_bus_and_closes_its_handles) {
    HangUp();
    EXPECT_TRUE(ComesTrue([] { return !State.Link.ReceiveRunning; }));
    EXPECT_TRUE(ComesTrue([] {
        const std::lock_guard lock(State.Link.LinkLock);
        return !State.Link.LinkHandle && !State.Link.ReceiveEvent && !State.Link.ReceiveThread;
    }));
    EXPECT_FALSE(WriteLink("A"));
}

TEST_F(UsbLoop, ends_at_the_stop_flag_though_nobody_clears_a_token) {
    SendFromDevice(std::string("\4\0", 2));
    ASSERT_TRUE(ComesTrue([] { return HoldsToken(4); }));
    State.Link.StopReceive = true;
    EXPECT_TRUE(ComesTrue([] { return !State.Link.ReceiveRunning; }));
}

class BootloaderLoop : public LinkTest {};

// The buffer holds 999 bytes: the prompt may come behind them, or across their end.
TEST_F(BootloaderLoop, finds_the_prompt_behind_any_banner_and_cut_anywhere) {
    StartReceiveLoop(BootloaderReceiveLoop, false);
    for (const std::size_t banner : {0U, 500U, 991U, 995U, 999U, 2500U}) {
        const std::string text = std::string(banner, '=') + "download";
        for (const std::size_t cut : {std::size_t{1}, banner + 1, banner + 4, banner + 7}) {
            ClearReceiveBuffer();
            SendFromDevice(text.substr(0, cut)); // one burst
            ASSERT_TRUE(ComesTrue([] { return State.Link.ReceiveBuffer[0] != 0; }));
            SendFromDevice(text.substr(cut));
            ASSERT_TRUE(ComesTrue([] { return HoldsText("download"); })) << "cut at " << cut;
        }
    }
}

TEST_F(BootloaderLoop, ends_a_text_at_a_token_whatever_stands_around_it) {
    StartReceiveLoop(BootloaderReceiveLoop, false);
    for (const std::string token : {"\x01", "\x02"}) {
        ClearReceiveBuffer();
        SendFromDevice("block taken\r\n" + token);
        EXPECT_TRUE(ComesTrue([&] { return HoldsText(token); }));
    }
}

TEST_F(BootloaderLoop, leaves_an_answer_to_the_sender_however_long_that_takes) {
    StartReceiveLoop(BootloaderReceiveLoop, false);
    SendFromDevice("a text that goes on");
    ASSERT_TRUE(ComesTrue([] { return HoldsText("on"); }));
    SendFromDevice("\x02"); // while the loop reads, so that its event comes later
    ASSERT_TRUE(ComesTrue([] { return HoldsText("\x02"); }));
    SendFromDevice("\x01"); // and the next one, before the sender has cleared the first
    Sleep(500);
    EXPECT_TRUE(HoldsText("\x02"));
    ClearReceiveBuffer();
    EXPECT_TRUE(ComesTrue([] { return HoldsText("\x01"); }));
}

} // namespace
