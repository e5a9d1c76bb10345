// A pseudo-terminal linked as COM1 in a home folder of its own, and overlapped calls on it.
#pragma once

#include "testing/comes_true.h"
#include "testing/test_home.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

namespace port_test {

// Milliseconds until a condition that must come true counts as false: of the host, and of the
// layer's clock, which runs at 20 times its rate.
constexpr int HostLimit = 60000;
constexpr DWORD Limit = 20 * HostLimit;

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

class PortTest : public testing::Test {
protected:
    PortTest() { PlugIn(); }
    ~PortTest() override {
        if (port != INVALID_HANDLE_VALUE)
            CloseHandle(port);
        Unplug();
        test_support::HomeOfTests().RemovePorts();
    }

    // The device's end.
    void PlugIn() {
        device = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(0, grantpt(device));
        EXPECT_EQ(0, unlockpt(device));
        std::filesystem::remove(home / "ports/COM1");
        std::filesystem::create_symlink(ptsname(device), home / "ports/COM1");
    }
    void Unplug() {
        if (device >= 0)
            close(device);
        device = -1;
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

    void WriteAsDevice(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = write(device, bytes.data(), bytes.size());
            ASSERT_GT(count, 0);
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    std::string ReadAsDevice(std::size_t size, std::size_t atATime = 4096) {
        std::string received;
        std::string chunk(atATime, '\0');
        while (received.size() < size) {
            pollfd ready = {device, POLLIN, 0};
            if (poll(&ready, 1, HostLimit) != 1)
                break;
            const ssize_t count = read(device, chunk.data(), chunk.size());
            if (count <= 0)
                break;
            received.append(chunk, 0, static_cast<std::size_t>(count));
        }
        return received;
    }
    // With reads that return at once.
    std::string ReadFromPort(std::size_t size) {
        std::string got;
        ComesTrue([&] {
            char bytes[1000];
            DWORD count = 0;
            Call call;
            EXPECT_TRUE(ReadFile(port, bytes, sizeof(bytes), &count, &call.record));
            got.append(bytes, count);
            return got.size() >= size;
        });
        return got;
    }

    const std::filesystem::path home = test_support::HomeOfTests().Home();
    int device = -1;
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
