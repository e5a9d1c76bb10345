// The device's end of COM1 for the tests that run on Windows: that of testing/device_end.h, which
// the host serves to them (tests/windows/layer_test.cpp).
//
// A request is a line of a command and a number, followed by as many bytes where it sends some. An
// answer is a line with the number of the bytes that follow it.
#pragma once

#include "simulator/windows/loopback.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace test_support {

// One thread at a time.
class DeviceEnd {
protected:
    DeviceEnd() {
        const char* port = std::getenv("ROM_WIZARD_DEVICE_PORT");
        host_ = loopback::Connect(static_cast<std::uint16_t>(std::atoi(port ? port : "0")));
    }
    ~DeviceEnd() { HangUp(); }

    void PlugIn() { Ask("plug-in 0\n"); }
    void HangUp() { Ask("hang-up 0\n"); }
    void SendFromDevice(const std::string& sent) {
        Ask("send " + std::to_string(sent.size()) + "\n" + sent);
    }
    std::string ReceiveAtDevice(std::size_t size) {
        return Ask("receive " + std::to_string(size) + "\n");
    }

private:
    std::string Ask(const std::string& request) {
        std::string size;
        char next = 0;
        EXPECT_TRUE(host_.Send(request.data(), request.size())) << "no host";
        while (host_.Receive(&next, 1) && next != '\n')
            size += next;
        std::string bytes(static_cast<std::size_t>(std::atoi(size.c_str())), '\0');
        EXPECT_TRUE(host_.Receive(bytes.data(), bytes.size()));
        return bytes;
    }

    loopback::Socket host_;
};

} // namespace test_support
