// A fixture with the link on a real terminal pair, in this process: the test is the device.
#pragma once

#include "link/port.h"

#include "link/receive.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/transfer_buffers.h"
#include "state/state.h"
#include "testing/comes_true.h"
#include "testing/device_end.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <string>

namespace link_test {

using test_support::ComesTrue;

class LinkTest : public testing::Test, protected test_support::DeviceEnd {
protected:
    // Slow enough for the pauses in which a loop leaves a token to the sender, which is the test.
    static void SetUpTestSuite() { SetClock("5,500"); }

    static void SetClock(const char* rate) {
        test_support::HomeOfTests(); // which brings a clock of its own
        setenv("ROM_WIZARD_CLOCK", rate, 1);
    }

    void SetUp() override { Connect(true); }

    void Connect(bool serial) {
        PlugIn();
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
};

} // namespace link_test
