// The device's end of the ports of the tests' home: a pseudo-terminal that COM1 and the port of the
// USB serial driver lead to.
#pragma once

#include "testing/test_home.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

namespace test_support {

// One thread at a time. Waits end after a minute.
class DeviceEnd {
protected:
    ~DeviceEnd() {
        HangUp();
        HomeOfTests().RemovePorts();
    }

    // Anew after a HangUp: it comes back as another terminal.
    void PlugIn() {
        device_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_EQ(0, grantpt(device_));
        ASSERT_EQ(0, unlockpt(device_));
        for (const char* port : {"ports/COM1", "ports/WCEUSBSH001"}) {
            std::filesystem::remove(home_ / port);
            std::filesystem::create_symlink(ptsname(device_), home_ / port);
        }
    }
    void HangUp() {
        if (device_ >= 0)
            close(device_);
        device_ = -1;
    }

    void SendFromDevice(const std::string& sent) {
        std::string_view bytes = sent;
        while (!bytes.empty()) {
            const ssize_t count = write(device_, bytes.data(), bytes.size());
            ASSERT_GT(count, 0);
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    // So many bytes, or fewer where no more come.
    std::string ReceiveAtDevice(std::size_t size) {
        std::string bytes;
        while (bytes.size() < size) {
            pollfd ready = {device_, POLLIN, 0};
            char chunk[4096];
            const std::size_t most = std::min(sizeof(chunk), size - bytes.size());
            const ssize_t count = poll(&ready, 1, 60000) == 1 ? read(device_, chunk, most) : 0;
            if (count <= 0)
                break;
            bytes.append(chunk, static_cast<std::size_t>(count));
        }
        return bytes;
    }

    const std::filesystem::path home_ = HomeOfTests().Home();
    int device_ = -1;
};

} // namespace test_support
