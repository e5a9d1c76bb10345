// A fixture with the link on a real terminal pair, in this process: the test is the device.
#pragma once

#include "link/port.h"

#include "link/receive.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/transfer_buffers.h"
#include "state/state.h"
#include "testing/comes_true.h"
#include "testing/test_home.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace link_test {

using test_support::ComesTrue;

// The device's end of COM1.
class LinkTest : public testing::Test {
protected:
    // Slow enough for the pauses in which a loop leaves a token to the sender, which is the test.
    static void SetUpTestSuite() { setenv("ROM_WIZARD_CLOCK", "5,500", 1); }

    void SetUp() override { Connect(true); }

    // Both ports are links to the one terminal.
    void Connect(bool serial) {
        device_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(device_, 0);
        ASSERT_EQ(0, grantpt(device_));
        ASSERT_EQ(0, unlockpt(device_));
        for (const char* port : {"ports/COM1", "ports/WCEUSBSH001"}) {
            std::filesystem::remove(home_ / port);
            std::filesystem::create_symlink(ptsname(device_), home_ / port);
        }
        State.Run.SerialLinkSelected = serial;
        State.Run.TransferAborted = false;
        State.Link.StopReceive = false;
        ClearReceiveBuffer();
        ASSERT_TRUE(OpenLinkPort(""));
    }
    void TearDown() override {
        TearDownTransfer();
        HangUp();
    }

    // What a sender does once it has read the token.
    static void ConsumeToken() {
        State.Link.SenderLooks += 2;
        ClearReceivedToken();
    }

    // What has arrived at the device and was not received there.
    std::string Arrived() {
        int count = 0;
        EXPECT_EQ(0, ioctl(device_, FIONREAD, &count));
        return ReceiveAtDevice(static_cast<std::size_t>(count));
    }

    void HangUp() {
        if (device_ >= 0)
            close(device_);
        device_ = -1;
    }

    std::string ReceiveAtDevice(std::size_t size) {
        std::string bytes;
        while (bytes.size() < size) {
            pollfd ready{device_, POLLIN, 0};
            if (poll(&ready, 1, 60000) != 1)
                break;
            char chunk[4096];
            const ssize_t count =
                read(device_, chunk, std::min(sizeof(chunk), size - bytes.size()));
            if (count <= 0)
                break;
            bytes.append(chunk, static_cast<std::size_t>(count));
        }
        return bytes;
    }

    void SendFromDevice(const std::string& bytes) {
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()), write(device_, bytes.data(), bytes.size()));
    }

    static inline const std::filesystem::path home_ = test_support::HomeOfTests().Home();
    int device_ = -1;
};

} // namespace link_test
