// A port on a pseudo-terminal, and overlapped calls on it. Also on Windows.
#pragma once

#ifdef _WIN32
#include "tests/windows/layer/device_end.h" // sockets come before windows.h
#else
#include "testing/device_end.h"
#endif
#include "testing/comes_true.h"
#include "tests/platform/any_host.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace port_test {

// Milliseconds until a condition that must come true counts as false: of the host, and of the
// layer's clock, which runs at 20 times its rate.
constexpr int HostLimit = 60000;
inline const DWORD Limit =
    any_host::ThisSystem() == any_host::System::Layer ? 20 * HostLimit : HostLimit;

using test_support::ComesTrue;

// A record with its event, which starts out signalled: a call has to reset it.
struct Call {
    Call() { record.hEvent = CreateEventA(nullptr, TRUE, TRUE, nullptr); }
    ~Call() { CloseHandle(record.hEvent); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    bool IsSignalled() const { return WaitForSingleObject(record.hEvent, 0) == WAIT_OBJECT_0; }
    bool Ends() const { return WaitForSingleObject(record.hEvent, Limit) == WAIT_OBJECT_0; }
    // The error with which it ended, and how many bytes it has moved.
    DWORD Error() {
        DWORD count = 0;
        return GetOverlappedResult(nullptr, &record, &count, FALSE) ? ERROR_SUCCESS
                                                                    : GetLastError();
    }
    DWORD Count() const { return static_cast<DWORD>(record.InternalHigh); }

    OVERLAPPED record = {};
};

inline bool Pends(BOOL result) { return !result && GetLastError() == ERROR_IO_PENDING; }

class PortTest : public testing::Test, protected test_support::DeviceEnd {
protected:
    PortTest() { PlugIn(); }
    ~PortTest() override {
        if (port != INVALID_HANDLE_VALUE)
            CloseHandle(port);
    }

    static HANDLE OpenAs(const char* name) {
        return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    }
    void Open() {
        port = OpenAs("\\\\.\\COM1");
        ASSERT_NE(INVALID_HANDLE_VALUE, port);
    }
    void Close() {
        EXPECT_TRUE(CloseHandle(port));
        port = INVALID_HANDLE_VALUE;
    }
    void ReadAtOnce() {
        COMMTIMEOUTS limits = {};
        ASSERT_TRUE(GetCommTimeouts(port, &limits));
        limits.ReadIntervalTimeout = MAXDWORD;
        ASSERT_TRUE(SetCommTimeouts(port, &limits));
    }

    // With reads that return at once, or with what comes first.
    std::string ReadFromPort(std::size_t size) {
        std::string got;
        ComesTrue([&] {
            char bytes[1000];
            DWORD count = 0;
            Call call;
            const BOOL read = ReadFile(port, bytes, sizeof(bytes), &count, &call.record);
            EXPECT_TRUE(read || (Pends(read) && call.Ends()));
            got.append(bytes, call.Count());
            return got.size() >= size;
        });
        return got;
    }

    HANDLE port = INVALID_HANDLE_VALUE;
};

// Every value, zero among them, in an order that shows a byte that is lost or moved.
inline std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size; ++at)
        bytes[at] = static_cast<char>(at * 7 + at / 251);
    return bytes;
}

} // namespace port_test
