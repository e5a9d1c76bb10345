// Processes: real ones are started, opened and ended.
// label: threads

#include "testing/comes_true.h"
#include "tests/platform/own_home.h"

#include "platform/processes/command_line.h"
#include "platform/processes/process_identity.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

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

// Started processes are reaped by the layer, whether or not a handle is open.
bool Ends(DWORD id) {
    return id != 0 &&
           test_support::ComesTrue([id] { return kill(static_cast<pid_t>(id), 0) != 0; });
}

// A child of the host's kind, which the layer has not started, that waits to be killed.
pid_t ForkSleeper() {
    const pid_t child = fork();
    if (child == 0)
        for (;;)
            pause();
    if (child < 0) // as a number for kill it would mean every process
        throw std::runtime_error("cannot fork");
    return child;
}

int KillAndReap(pid_t child) {
    int status = 0;
    kill(child, SIGKILL);
    return waitpid(child, &status, 0) == child ? status : -1;
}

bool StillRuns(pid_t child) { return waitpid(child, nullptr, WNOHANG) == 0; }

TEST(Processes, a_program_is_started_with_its_arguments) {
    const auto out = (ownHome.Work() / "out").string();
    EXPECT_TRUE(Ends(Start("Z:\\bin\\sh", "sh -c \"printf %s '\xE9 a\\\"b' > " + out + "\"")));
    EXPECT_EQ(ReadText(out), "\xC3\xA9 a\"b");
}

TEST(Processes, a_program_inherits_no_descriptor_and_reads_nothing_of_ours) {
    const auto out = (ownHome.Work() / "descriptors").string();
    constexpr int Leaky = 50; // without O_CLOEXEC
    ASSERT_EQ(dup2(STDIN_FILENO, Leaky), Leaky);
    EXPECT_TRUE(Ends(Start("Z:\\bin\\sh",
                           "sh -c \"{ ls /proc/$$/fd; readlink /proc/$$/fd/0; } > " + out + "\"")));
    EXPECT_EQ(ReadText(out).find("50\n"), std::string::npos) << ReadText(out);
    EXPECT_NE(ReadText(out).find("/dev/null"), std::string::npos);
    close(Leaky);
}

TEST(Processes, what_cannot_be_started_has_its_own_error) {
    WriteText(ownHome.Work() / "text", "no program");
    std::filesystem::current_path(ownHome.Work());
    EXPECT_EQ(Start("Z:\\none", ""), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Start("Z:\\none\\none", ""), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(Start("text", ""), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    std::filesystem::permissions("text", std::filesystem::perms::owner_all);
    EXPECT_EQ(Start("text", ""), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_EXE_FORMAT});
    EXPECT_EQ(Start(nullptr, ""), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(Processes, a_process_that_others_started_is_opened_and_ended) {
    const pid_t child = ForkSleeper();
    const auto id = static_cast<DWORD>(child);
    const HANDLE process = OpenProcess(AllAccess, FALSE, id);
    ASSERT_NE(process, nullptr);
    EXPECT_TRUE(TerminateProcess(process, 3));
    EXPECT_EQ(platform::ProcessStartTime(id), 0u); // dead, though its parent has not reaped it
    EXPECT_FALSE(TerminateProcess(process, 3));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    CloseHandle(process);
    EXPECT_EQ(OpenProcess(AllAccess, FALSE, id), nullptr);
    KillAndReap(child);
}

TEST(Processes, a_number_that_was_read_for_another_process_opens_nothing) {
    const pid_t child = ForkSleeper();
    const auto id = static_cast<DWORD>(child);
    const auto startTime = platform::ProcessStartTime(id);
    EXPECT_TRUE(platform::ProcessIsAlive(id, startTime));
    EXPECT_FALSE(platform::ProcessIsAlive(id, startTime - 1));
    EXPECT_FALSE(platform::ProcessIsAlive(id, 0));
    platform::ExpectProcess(id, startTime - 1); // its predecessor under this number
    EXPECT_EQ(OpenProcess(AllAccess, FALSE, id), nullptr);
    platform::ExpectProcess(id, startTime);
    const HANDLE process = OpenProcess(AllAccess, FALSE, id);
    EXPECT_NE(process, nullptr);
    CloseHandle(process);
    EXPECT_TRUE(StillRuns(child));
    KillAndReap(child);
}

TEST(CommandLine, arguments_are_split_as_windows_programs_split_them) {
    using Words = std::vector<std::string>;
    const std::pair<const char*, Words> cases[] = {
        {"", {}},
        {"  prog  a\tb ", {"prog", "a", "b"}},
        {"\"C:\\with blank\\p\" \"a b\" c", {"C:\\with blank\\p", "a b", "c"}},
        {"p \"\" x", {"p", "", "x"}},
        {"p a\\\\b \"a\\\\b\\\\\" c", {"p", "a\\\\b", "a\\\\b\\", "c"}},
        {"p \\\"a\\\\\\\"b", {"p", "\"a\\\"b"}},
        {"p a\"b c\"d", {"p", "ab cd"}},
        {"p \"open end", {"p", "open end"}},
    };
    for (const auto& [line, words] : cases)
        EXPECT_EQ(platform::SplitCommandLine(line), words) << line;
}

} // namespace
