// The layer's tests of what Windows does, on Windows.
// label: windows

#include "testing/device_end.h"
#include "testing/wine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include <netinet/in.h>
#include <sys/socket.h>

namespace {

using namespace test_support;

// Serves the device's end of COM1 to the tests (tests/windows/layer/device_end.h), to one after the
// other.
class ServedDevice : DeviceEnd {
public:
    ServedDevice() {
        PlugIn();
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        const auto name = reinterpret_cast<sockaddr*>(&address);
        if (bind(listener_, name, size) != 0 || listen(listener_, 1) != 0 ||
            getsockname(listener_, name, &size) != 0)
            throw std::runtime_error("no port of 127.0.0.1 to listen on");
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    // Nobody asks any more.
    ~ServedDevice() {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    std::string Port() const { return std::to_string(port_); }

private:
    void Serve() {
        for (int client = 0; (client = accept(listener_, nullptr, nullptr)) >= 0;) {
            std::FILE* const lines = fdopen(client, "r");
            char command[20];
            for (std::size_t size = 0; std::fscanf(lines, "%19s %zu", command, &size) == 2;) {
                std::fgetc(lines); // the line's end
                const std::string bytes = CarryOut(command, size, lines);
                const std::string answer = std::to_string(bytes.size()) + "\n" + bytes;
                send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
            }
            std::fclose(lines);
        }
    }
    std::string CarryOut(const std::string& command, std::size_t size, std::FILE* lines) {
        if (command == "receive")
            return ReceiveAtDevice(size);
        if (command == "send") {
            std::string bytes(size, '\0');
            bytes.resize(std::fread(bytes.data(), 1, size, lines));
            SendFromDevice(bytes);
        }
        if (command == "plug-in")
            PlugIn();
        if (command == "hang-up")
            HangUp();
        return {};
    }

    const int listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::uint16_t port_ = 0;
    std::thread thread_;
};

TEST(LayerOnWindows, does_what_windows_does) {
    if (WindowsFolder().empty())
        GTEST_SKIP() << "no Windows here: scripts/test-windows-program brings it";
    const ServedDevice device;
    const WindowsPc pc(HomeOfTests());
    setenv("ROM_WIZARD_DEVICE_PORT", device.Port().c_str(), 1);
    const auto tests = pc.Start({WindowsFolder() + "/layer-tests.exe"});
    EXPECT_EQ(0, tests->Wait()) << tests->Transcript();
    EXPECT_NE(std::string::npos, tests->Transcript().find("[  PASSED  ]"));
}

} // namespace
