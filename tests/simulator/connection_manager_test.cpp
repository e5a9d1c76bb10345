// The connection manager carries RAPI, holds the port, and leaves nothing behind that blocks.

#include "platform/base/descriptor.h"
#include "testing/comes_true.h"
#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>

using namespace test_support;
using rapi_wire::Operation;

namespace {

class ConnectionManagerTest : public testing::Test {
protected:
    void SetUp() override { std::filesystem::remove_all(home_.Device()); }

    bool PortIsFree() const {
        const HANDLE port = CreateFileA("\\\\.\\COM1", GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
        if (port == INVALID_HANDLE_VALUE)
            return false;
        CloseHandle(port);
        return true;
    }

    // As another program of the same PC.
    const TestHome& home_ = HomeOfTests();
};

TEST_F(ConnectionManagerTest, its_process_number_is_written_when_all_is_there) {
    const auto numberFile = home_.Home() / "connection-manager.pid";
    const auto registry = home_.Home() / "registry.reg";
    std::filesystem::remove(registry);
    std::filesystem::create_directory(home_.Home() / "windows");
    // Nobody opens a window as long as this lock is held.
    platform::Descriptor windowsLock(
        open((home_.Home() / "windows/.last").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(0, flock(windowsLock.Number(), LOCK_EX));
    Cradle cradle(home_, {.withManager = false});
    ChildProcess manager({ProgramFolder() + "/connection-manager"},
                         {.environment = home_.Variables()});
    EXPECT_TRUE(ComesTrue(
        [&] { return ReadBytes(registry).find("connection-manager\"") != std::string::npos; }));
    EXPECT_EQ("", ReadBytes(numberFile));
    windowsLock = platform::Descriptor();
    manager.ExpectLine("ready");
    EXPECT_EQ(std::to_string(manager.Id()) + "\n", ReadBytes(numberFile));
}

TEST_F(ConnectionManagerTest, a_killed_one_frees_the_port_and_a_new_one_takes_over) {
    Cradle cradle(home_);
    EXPECT_FALSE(PortIsFree());
    ChildProcess second({ProgramFolder() + "/connection-manager"},
                        {.environment = home_.Variables()});
    EXPECT_EQ(second.Wait(), 1) << "two at a time";

    cradle.Manager().Signal(SIGKILL);
    EXPECT_EQ(cradle.Manager().Wait(), 128 + SIGKILL);
    EXPECT_TRUE(PortIsFree());
    EXPECT_EQ(FindWindowA(nullptr, "DccMan"), nullptr);

    cradle.StartManager();
    RapiClient again(home_, "rapi.sock");
    EXPECT_EQ(again.Call(Operation::Hello).result, 1u);
    EXPECT_FALSE(PortIsFree());
}

} // namespace
