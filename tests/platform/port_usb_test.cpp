// The requests of the USB serial driver, and a device that leaves the bus.
// label: threads

#include "tests/platform/port_fixture.h"

namespace {

using namespace port_test;

constexpr DWORD SetMask = 0x1B0028;
constexpr DWORD WaitForEvent = 0x1B002C;
constexpr DWORD ReadDone = 0x1B0030;
constexpr char Name[] = "\\\\.\\WCEUSBSH001";

class UsbPortTest : public PortTest {
protected:
    // The driver's name leads to the tty of the device.
    void OpenUsb() {
        const auto link = home / "ports/WCEUSBSH001";
        std::filesystem::remove(link);
        std::filesystem::copy_symlink(home / "ports/COM1", link);
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

TEST_F(UsbPortTest, a_wait_reports_bytes_that_come_before_or_after_it_began) {
    OpenUsb();
    ASSERT_TRUE(Request(SetMask, 0xB9));
    DWORD events = 0;
    Call early;
    ASSERT_TRUE(Pends(Wait(early, &events)));
    WriteAsDevice(std::string_view("\x05\0", 2));
    ASSERT_TRUE(early.Ends());
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, early.Error());
    EXPECT_EQ(DWORD{EV_RXCHAR}, events);
    EXPECT_EQ(std::string("\x05\0", 2), ReadFromPort(2));
    ASSERT_TRUE(Request(ReadDone, events));

    ASSERT_TRUE(Request(SetMask, events)); // what the wait gave is the mask of the next
    WriteAsDevice(std::string_view("\x04\0", 2));
    EXPECT_EQ(std::string("\x04\0", 2), ReadFromPort(2));
    events = 0;
    Call late;
    EXPECT_TRUE(Wait(late, &events));
    EXPECT_EQ(DWORD{EV_RXCHAR}, events);
}

TEST_F(UsbPortTest, a_device_that_leaves_the_bus_fails_every_request_once_all_it_sent_is_read) {
    OpenUsb();
    ASSERT_TRUE(Request(SetMask, 0xB9));
    WriteAsDevice("ab");
    DWORD events = 0;
    Call first;
    EXPECT_TRUE(Wait(first, &events) || first.Ends());
    Unplug();
    EXPECT_EQ("ab", ReadFromPort(2));
    Call lost;
    EXPECT_TRUE(!Pends(Wait(lost, &events)) || lost.Ends());
    EXPECT_TRUE(ComesTrue([&] { return !Request(ReadDone, EV_RXCHAR); }));
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, GetLastError());
    EXPECT_FALSE(Request(SetMask, 0xB9));
    Call again;
    EXPECT_FALSE(Wait(again, &events));
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, GetLastError());
    DWORD count = 0;
    Call write;
    EXPECT_FALSE(WriteFile(port, "x", 1, &count, &write.record));
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, GetLastError());

    Close();
    EXPECT_EQ(INVALID_HANDLE_VALUE, OpenAs(Name));
    PlugIn(); // it comes back as another tty
    OpenUsb();
    EXPECT_TRUE(Request(SetMask, 0xB9));
}

} // namespace
