// What users of a port cost the host: nothing stays open, and nothing spins.
// label: threads

#include "tests/platform/port_fixture.h"

#include <atomic>
#include <iterator>
#include <thread>

#include <unistd.h>

namespace {

using namespace port_test;

using PortWaitTest = PortTest;

// Whether all other threads of the process sleep, as those do that wait for an event.
bool OthersSleep() {
    const std::string own = std::to_string(gettid());
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        const std::string stat = test_support::ReadBytes(thread.path() / "stat");
        if (thread.path().filename() != own && stat.find(") S ") == std::string::npos)
            return false;
    }
    return true;
}

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// One side reads and waits as a receive loop does, the other writes, and the port is closed under
// both at any moment.
TEST_F(PortWaitTest, a_port_may_be_closed_under_its_users_at_any_moment) {
    const auto open = [this] {
        Open();
        ReadAtOnce();
        ASSERT_TRUE(SetCommMask(port, EV_RXCHAR));
    };
    open();
    const auto before = OpenDescriptors();
    for (int round = 0; round < 200; ++round) {
        std::atomic<bool> closed = false;
        std::thread listener([&] {
            Call call;
            DWORD seen = 0;
            while (!closed) {
                if (Pends(WaitCommEvent(port, &seen, &call.record))) {
                    ASSERT_TRUE(call.Ends());
                }
                char byte = 0;
                DWORD count = 0;
                while (ReadFile(port, &byte, 1, &count, &call.record) && count == 1) {
                }
                SetCommMask(port, EV_RXCHAR);
            }
        });
        std::thread writer([&] {
            while (!closed) {
                Call call;
                if (Pends(WriteFile(port, "abc", 3, nullptr, &call.record))) {
                    ASSERT_TRUE(call.Ends());
                }
            }
        });
        SendFromDevice("token");
        ReceiveAtDevice(static_cast<std::size_t>(round % 20));
        EXPECT_TRUE(CloseHandle(port));
        closed = true;
        listener.join();
        writer.join();
        open();
    }
    EXPECT_EQ(before, OpenDescriptors());
}

// The requests of the USB serial driver.
constexpr DWORD SetMask = 0x1B0028;
constexpr DWORD WaitForEvent = 0x1B002C;
constexpr DWORD ReadDone = 0x1B0030;
constexpr char Name[] = "\\\\.\\WCEUSBSH001";

class UsbPortTest : public PortTest {
protected:
    // The driver's name leads to the tty of the device.
    void OpenUsb() {
        const auto link = home_ / "ports/WCEUSBSH001";
        std::filesystem::remove(link);
        std::filesystem::copy_symlink(home_ / "ports/COM1", link);
        port = OpenAs(Name);
        ASSERT_NE(INVALID_HANDLE_VALUE, port);
        ReadAtOnce();
    }
    bool Request(DWORD code, DWORD mask) {
        DWORD returned = 7;
        return DeviceIoControl(port, code, &mask, sizeof(mask), nullptr, 0, &returned, nullptr) &&
               returned == 0;
    }
    bool Wait(Call& call, DWORD* events) {
        return DeviceIoControl(port, WaitForEvent, nullptr, 0, events, sizeof(*events), nullptr,
                               &call.record);
    }
};

TEST_F(UsbPortTest, a_device_that_leaves_the_bus_fails_every_request_once_all_it_sent_is_read) {
    OpenUsb();
    ASSERT_TRUE(Request(SetMask, 0xB9));
    SendFromDevice("ab");
    DWORD events = 0;
    Call first;
    EXPECT_TRUE(Wait(first, &events) || first.Ends());
    Call early;
    EXPECT_FALSE(Wait(early, &events));
    EXPECT_EQ(DWORD{ERROR_BUSY}, GetLastError());
    EXPECT_TRUE(Request(ReadDone, EV_RXCHAR));
    HangUp();
    EXPECT_EQ("ab", ReadFromPort(2));
    Call lost;
    EXPECT_TRUE(!Pends(Wait(lost, &events)) || lost.Ends());
    EXPECT_TRUE(ComesTrue([&] { return !Request(ReadDone, EV_RXCHAR); }));
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, GetLastError());
    EXPECT_FALSE(Request(SetMask, 0xB9));
    EXPECT_FALSE(Request(ReadDone, EV_RXCHAR));
    Call again;
    EXPECT_FALSE(Wait(again, &events));
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, GetLastError());
    DWORD count = 0;
    Call write;
    EXPECT_FALSE(WriteFile(port, "x", 1, &count, &write.record));
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, GetLastError());

    int asleep = 0; // times in a row: one that spins is never seen so for long
    EXPECT_TRUE(ComesTrue([&] {
        asleep = OthersSleep() ? asleep + 1 : 0;
        return asleep == 20;
    })) << "a thread spins";
    Close();
    EXPECT_EQ(INVALID_HANDLE_VALUE, OpenAs(Name));
    PlugIn(); // it comes back as another tty
    OpenUsb();
    EXPECT_TRUE(Request(SetMask, 0xB9));
}

} // namespace
