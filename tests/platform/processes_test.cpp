// Processes: real ones are started, opened and ended.
// label: threads

#include "testing/child_process.h"
#include "testing/comes_true.h"
#include "testing/test_home.h"

#include "platform/processes/command_line.h"
#include "platform/processes/process_identity.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using test_support::ChildProcess;
using test_support::HomeOfTests;
using test_support::ReadBytes;

constexpr DWORD AllAccess = 0x1F0FFF;

// Starts a program of the host; its number, or 0.
DWORD Start(const char* application, std::string commandLine) {
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(application, commandLine.data(), nullptr, nullptr, FALSE,
                        CREATE_NEW_CONSOLE, nullptr, nullptr, &startup, &process))
        return 0;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return process.dwProcessId;
}

// What a program has written by its end. Started processes are reaped by the layer, whether or not
// a handle is open.
std::string WrittenBy(const char* application, const std::string& commandLine) {
    const DWORD id = Start(application, commandLine);
    EXPECT_TRUE(id != 0 &&
                test_support::ComesTrue([id] { return kill(static_cast<pid_t>(id), 0) != 0; }));
    return ReadBytes(HomeOfTests().Path("out"));
}

// A process that the layer has not started, until it is killed.
int SleepUntilKilled() {
    for (;;)
        pause();
}

TEST(Processes, a_program_gets_its_arguments_and_no_descriptor_of_ours) {
    const auto out = HomeOfTests().Path("out").string();
    EXPECT_EQ(WrittenBy("Z:\\bin\\sh", "sh -c \"printf %s '\xE9 a\\\"b' > " + out + "\""),
              "\xC3\xA9 a\"b");
    int ours[2]; // without O_CLOEXEC
    ASSERT_EQ(pipe(ours), 0);
    ASSERT_EQ(dup2(ours[0], STDIN_FILENO), STDIN_FILENO);
    const std::string descriptors =
        WrittenBy("Z:\\bin\\sh", "sh -c \"ls -l /proc/$$/fd > " + out + "\"");
    EXPECT_NE(descriptors.find("0 -> /dev/null"), std::string::npos) << descriptors;
    EXPECT_EQ(descriptors.find("pipe:"), std::string::npos) << descriptors;
    close(ours[0]);
    close(ours[1]);
}

TEST(Processes, a_program_starts_with_no_signal_blocked_or_ignored) {
    const auto out = HomeOfTests().Path("out").string();
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    const std::string status = WrittenBy("Z:\\bin\\cp", "cp /proc/self/status " + out);
    std::signal(SIGPIPE, ignored);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    const auto signals = [&](const std::string& line) {
        return std::stoull(status.substr(status.find(line) + line.size()), nullptr, 16);
    };
    EXPECT_EQ(signals("SigBlk:"), 0u);
    EXPECT_EQ(signals("SigIgn:") & 0x7FFFFFFF, 0u); // above are two of the host's C library
}

TEST(Processes, one_that_others_started_is_opened_and_ended_once) {
    ChildProcess child(SleepUntilKilled);
    const auto id = static_cast<DWORD>(child.Id());
    const HANDLE process = OpenProcess(AllAccess, FALSE, id);
    ASSERT_NE(process, nullptr);
    EXPECT_TRUE(TerminateProcess(process, 3));
    EXPECT_EQ(platform::ProcessStartTime(id), 0u) << "dead, though nobody has reaped it";
    EXPECT_FALSE(TerminateProcess(process, 3));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    CloseHandle(process);
    EXPECT_EQ(OpenProcess(AllAccess, FALSE, id), nullptr);
    child.Wait();
    for (const DWORD none : {DWORD{0}, id, DWORD{0xFFFFFFFF}}) {
        EXPECT_EQ(OpenProcess(AllAccess, FALSE, none), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST(Processes, a_number_that_was_read_for_another_process_opens_nothing) {
    const ChildProcess child(SleepUntilKilled);
    const auto id = static_cast<DWORD>(child.Id());
    const auto startTime = platform::ProcessStartTime(id);
    EXPECT_TRUE(platform::ProcessIsAlive(id, startTime));
    EXPECT_FALSE(platform::ProcessIsAlive(id, startTime - 1));
    platform::ExpectProcess(id, startTime - 1); // its predecessor under this number
    EXPECT_EQ(OpenProcess(AllAccess, FALSE, id), nullptr);
    platform::ExpectProcess(id, startTime);
    const HANDLE process = OpenProcess(AllAccess, FALSE, id);
    EXPECT_NE(process, nullptr);
    CloseHandle(process);
    EXPECT_EQ(waitpid(child.Id(), nullptr, WNOHANG), 0) << "it runs";
}

TEST(CommandLine, arguments_are_split_as_windows_programs_split_them) {
    using Words = std::vector<std::string>;
    const std::pair<const char*, Words> cases[] = {
        {"  prog  a\tb ", {"prog", "a", "b"}},
        {"\"C:\\with blank\\p\" \"a b\" c", {"C:\\with blank\\p", "a b", "c"}},
        {"p \"\" x", {"p", "", "x"}},
        {"p a\\\\b \"a\\\\b\\\\\" c", {"p", "a\\\\b", "a\\\\b\\", "c"}},
        {"p \\\"a\\\\\\\"b", {"p", "\"a\\\"b"}},
        {"p \"open end", {"p", "open end"}},
    };
    for (const auto& [line, words] : cases)
        EXPECT_EQ(platform::SplitCommandLine(line), words) << line;
}

} // namespace
