// Ports: their holder and their line, and the ways in which what is outstanding on them ends. Also
// on Windows.
// label: threads

#include "tests/platform/port_fixture.h"

#include <atomic>
#include <cstring>
#include <thread>

namespace {

using namespace port_test;
using any_host::ExpectDocumented;

class Ports : public PortTest {
protected:
    void SetUp() override { OpenWithLine(); }

    void OpenWithLine() {
        Open();
        ASSERT_TRUE(GetCommState(port, &line_));
        EXPECT_EQ(sizeof(DCB), line_.DCBlength);
        line_.BaudRate = 115200;
        line_.fBinary = TRUE;
        line_.fOutX = line_.fInX = FALSE;
        line_.ByteSize = 8;
        line_.Parity = NOPARITY;
        line_.StopBits = ONESTOPBIT;
        ASSERT_TRUE(SetCommState(port, &line_));
    }
    // A write that stays outstanding: more than the tty takes while nobody reads but its first
    // byte.
    void FillTheLine(Call& call) {
        ASSERT_TRUE(Pends(WriteFile(port, data_.data(), static_cast<DWORD>(data_.size()), nullptr,
                                    &call.record)));
        ASSERT_EQ(data_.substr(0, 1), ReceiveAtDevice(1));
    }
    // A read of all its bytes, of which none come.
    bool ReadPends(Call& call) {
        return Pends(ReadFile(port, bytes_, sizeof(bytes_), nullptr, &call.record));
    }
    bool WaitPends(Call& call) { return Pends(WaitCommEvent(port, &events_, &call.record)); }

    DCB line_ = {};
    // Written by completions, so they outlive every call of a test.
    DWORD events_ = 0xAAAA;
    char bytes_[5] = {};
    const std::string data_ = Pattern(0x40000);
};

TEST_F(Ports, one_has_one_holder_and_keeps_the_settings_of_its_line) {
    const HANDLE second = OpenAs("\\\\.\\COM1");
    ExpectDocumented("a second opening of a port",
                     second == INVALID_HANDLE_VALUE && GetLastError() == ERROR_ACCESS_DENIED);
    if (second != INVALID_HANDLE_VALUE)
        CloseHandle(second);
    EXPECT_EQ(INVALID_HANDLE_VALUE, OpenAs("\\\\.\\COM257"));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    line_.fParity = 1;
    line_.fTXContinueOnXoff = 1;
    line_.EvtChar = 'e';
    ASSERT_TRUE(SetCommState(port, &line_));
    DCB read = {};
    ASSERT_TRUE(GetCommState(port, &read));
    EXPECT_EQ(line_.BaudRate, read.BaudRate);
    ExpectDocumented("line settings without effect", std::memcmp(&line_, &read, sizeof(read)) == 0);
    EXPECT_TRUE(EscapeCommFunction(port, SETDTR));
    EXPECT_TRUE(EscapeCommFunction(port, SETRTS));
}

TEST_F(Ports, a_read_waits_for_all_its_bytes_or_for_none) {
    Call all;
    ASSERT_TRUE(ReadPends(all));
    EXPECT_FALSE(all.IsSignalled());
    SendFromDevice("ab");
    SendFromDevice(std::string("\0\x11\n", 3));
    EXPECT_TRUE(all.Ends());
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, all.Error());
    EXPECT_EQ(std::string("ab\0\x11\n", 5), std::string(bytes_, all.Count()));
    ReadAtOnce();
    Call none;
    ExpectDocumented("a read that returns at once", !ReadPends(none) && none.Count() == 0);
    EXPECT_TRUE(CancelIo(port));
}

TEST_F(Ports, a_wait_ends_with_its_event_or_a_new_mask_or_the_port) {
    ReadAtOnce();
    ASSERT_TRUE(SetCommMask(port, EV_RXCHAR | EV_CTS));
    Call event, mask, history, closed, second;
    ASSERT_TRUE(WaitPends(event));
    EXPECT_FALSE(WaitCommEvent(port, &events_, &second.record));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    SendFromDevice("x");
    EXPECT_TRUE(event.Ends());
    EXPECT_EQ(DWORD{EV_RXCHAR}, events_);
    EXPECT_EQ("x", ReadFromPort(1));
    ASSERT_TRUE(WaitPends(mask));
    ASSERT_TRUE(SetCommMask(port, EV_RXCHAR));
    EXPECT_TRUE(mask.Ends());
    ExpectDocumented("a new mask ends a wait well", mask.Error() == ERROR_SUCCESS && events_ == 0);
    SendFromDevice("y");
    EXPECT_EQ("y", ReadFromPort(1));
    const bool reported = WaitCommEvent(port, &events_, &history.record);
    ExpectDocumented("an event before the wait", reported && events_ == EV_RXCHAR);
    if (reported) {
        ASSERT_TRUE(WaitPends(closed));
    }
    EXPECT_TRUE(CancelIo(port));
    Call& last = reported ? closed : history;
    ExpectDocumented("CancelIo ends a wait",
                     last.IsSignalled() && last.Error() == ERROR_OPERATION_ABORTED);
    Close();
    EXPECT_TRUE(last.Ends());
}

TEST_F(Ports, a_thread_cancels_its_own_calls_and_no_others) {
    Call read, write;
    std::atomic<bool> filled = false, cancel = false;
    std::thread writer([&] {
        FillTheLine(write);
        filled = true;
        EXPECT_TRUE(ComesTrue([&] { return cancel.load(); }));
        EXPECT_TRUE(CancelIo(port));
        EXPECT_TRUE(write.IsSignalled());
    });
    EXPECT_TRUE(ComesTrue([&] { return filled.load(); }));
    EXPECT_TRUE(ReadPends(read));
    EXPECT_TRUE(CancelIo(port));
    EXPECT_TRUE(read.IsSignalled());
    EXPECT_EQ(DWORD{ERROR_OPERATION_ABORTED}, read.Error());
    EXPECT_FALSE(write.IsSignalled());
    cancel = true;
    writer.join();
    EXPECT_EQ(DWORD{ERROR_OPERATION_ABORTED}, write.Error());

    const DWORD sent = write.Count(); // the line goes on where the cancelled write has stopped
    Call next;
    ASSERT_TRUE(Pends(WriteFile(port, "end", 3, nullptr, &next.record)));
    EXPECT_EQ(Pattern(sent).substr(1) + "end", ReceiveAtDevice(sent + 2));
    EXPECT_TRUE(next.Ends());
}

TEST_F(Ports, a_lost_device_fails_every_call) {
    const auto fails = [](bool succeeded, Call& call) {
        if (succeeded)
            return DWORD{ERROR_SUCCESS};
        const DWORD error = GetLastError();
        return error == ERROR_IO_PENDING && call.Ends() ? call.Error() : error;
    };
    // Windows names no error; which one it is depends on the driver.
    const auto expectLost = [](DWORD error) {
        EXPECT_NE(DWORD{ERROR_SUCCESS}, error);
        if (any_host::ThisSystem() == any_host::System::Layer) {
            EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, error);
        }
    };
    ASSERT_TRUE(SetCommMask(port, EV_RXCHAR | EV_CTS));
    Call wait, write;
    ASSERT_TRUE(WaitPends(wait));
    FillTheLine(write);
    HangUp();
    for (Call* call : {&wait, &write}) {
        ASSERT_TRUE(call->Ends());
        expectLost(call->Error());
    }
    Call again[3];
    expectLost(fails(ReadFile(port, bytes_, 1, nullptr, &again[0].record), again[0]));
    expectLost(fails(WriteFile(port, "x", 1, nullptr, &again[1].record), again[1]));
    expectLost(fails(WaitCommEvent(port, &events_, &again[2].record), again[2]));
    Close();
    PlugIn();
    OpenWithLine();
}

} // namespace
