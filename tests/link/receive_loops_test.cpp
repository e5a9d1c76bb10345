// The receive loops on a real terminal pair: what the sender may find, and how a loop ends.
// label: threads

#include "tests/link/link_fixture.h"

#include "state/progress_record.h"

#include <sys/file.h>
#include <sys/inotify.h>

#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

using namespace link_test;

TEST_F(LinkTest, the_serial_loop_shows_a_token_and_leaves_when_the_link_is_released) {
    StartReceiveLoop(SerialReceiveLoop, true);
    for (int round = 0; round < 5; ++round) {
        SendFromDevice(std::string("\4\0", 2));
        ASSERT_TRUE(ComesTrue([] { return HoldsToken(4); }));
        ConsumeToken();
    }
    DWORD mask = 0;
    EXPECT_TRUE(GetCommMask(State.Link.LinkHandle, &mask));
    EXPECT_EQ(0x119u, mask);
    ReleaseLink();
    EXPECT_FALSE(State.Link.ReceiveRunning);
    EXPECT_EQ(nullptr, State.Link.LinkHandle);
    EXPECT_EQ(nullptr, State.Link.ReceiveEvent);
    EXPECT_EQ(nullptr, State.Link.ReceiveThread);
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
    State.Link.Verdict = TransferVerdict::Open;
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

// How often the terminal is opened while `work` runs.
template <class Work>
int CountOpens(const std::filesystem::path& terminal, Work work) {
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    EXPECT_GE(inotify_add_watch(watch, terminal.c_str(), IN_OPEN | IN_CLOSE), 0);
    work();
    int opens = 0;
    inotify_event event; // of a file, so without a name
    while (read(watch, &event, sizeof(event)) == sizeof(event))
        opens += (event.mask & IN_OPEN) != 0;
    close(watch);
    return opens;
}

// The driver of the USB link wants that.
TEST_F(LinkTest, a_usb_port_is_opened_twice_and_a_serial_port_once) {
    for (const bool serial : {true, false}) {
        State.Run.SerialLinkSelected = serial;
        CloseLinkPort();
        EXPECT_EQ(serial ? 1 : 2,
                  CountOpens(ptsname(device_), [] { EXPECT_TRUE(StartReceive()); }));
        TearDownTransfer();
    }
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
