// The connection manager holds the port, and says that it is there when all of it is.

#include "platform/base/descriptor.h"
#include "testing/comes_true.h"
#include "testing/cradle.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

using namespace test_support;

namespace {

TEST(ConnectionManager, its_process_number_is_written_when_all_is_there) {
    const TestHome& home = HomeOfTests(); // as another program of the same PC
    const auto numberFile = home.Home() / "connection-manager.pid";
    const auto registry = home.Home() / "registry.reg";
    std::filesystem::create_directory(home.Home() / "windows");
    // Nobody opens a window as long as this lock is held.
    platform::Descriptor windowsLock(
        open((home.Home() / "windows/.last").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(0, flock(windowsLock.Number(), LOCK_EX));
    const Cradle cradle(home, {.withManager = false});
    const std::vector<std::string> command = {ProgramFolder() + "/connection-manager"};
    ChildProcess manager(command, {.environment = home.Variables()});
    EXPECT_TRUE(ComesTrue(
        [&] { return ReadBytes(registry).find("connection-manager\"") != std::string::npos; }));
    EXPECT_EQ("", ReadBytes(numberFile));
    windowsLock = platform::Descriptor();
    manager.ExpectLine("ready");
    EXPECT_EQ(std::to_string(manager.Id()) + "\n", ReadBytes(numberFile));
    EXPECT_EQ(INVALID_HANDLE_VALUE,
              CreateFileA("\\\\.\\COM1", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                          FILE_FLAG_OVERLAPPED, nullptr))
        << "who does not end it has no port";
    ChildProcess second(command, {.environment = home.Variables()});
    EXPECT_EQ(1, second.Wait()) << "two at a time";
}

} // namespace
