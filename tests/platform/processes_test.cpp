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

// The set of signals in a line of a process's status, or all where the line is missing.
std::uint64_t SignalsIn(const std::string& status, const std::string& line) {
    const auto start = status.find(line);
    return start == std::string::npos
               ? ~std::uint64_t{0}
               : std::stoull(status.substr(start + line.size()), nullptr, 16);
}

TEST(Processes, a_program_starts_with_no_signal_blocked_or_ignored) {
    const auto out = (ownHome.Work() / "status").string();
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    const DWORD copy = Start("Z:\\bin\\cp", "cp /proc/self/status " + out);
    std::signal(SIGPIPE, ignored);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_TRUE(Ends(copy));
    // The host's C library keeps two signals above these to itself.
    constexpr std::uint64_t Standard = 0x7FFFFFFF;
    EXPECT_EQ(SignalsIn(ReadText(out), "SigBlk:"), 0u);
    EXPECT_EQ(SignalsIn(ReadText(out), "SigIgn:") & Standard, 0u);
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

TEST(Processes, what_is_no_process_opens_nothing_and_ends_nothing) {
    const pid_t gone = ForkSleeper();
    KillAndReap(gone);
    for (const DWORD id : {DWORD{0}, static_cast<DWORD>(gone), DWORD{0xFFFFFFFF}}) {
        EXPECT_EQ(OpenProcess(AllAccess, FALSE, id), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_FALSE(TerminateProcess(nullptr, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
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

// Makes a child under a number that has just become free; -1 where the host does not let us.
pid_t ForkSleeperAs(pid_t wanted) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        const int last = open("/proc/sys/kernel/ns_last_pid", O_WRONLY | O_CLOEXEC);
        const std::string number = std::to_string(wanted - 1);
        const bool set = last >= 0 && write(last, number.data(), number.size()) > 0;
        close(last);
        if (!set)
            return -1;
        const pid_t child = ForkSleeper();
        if (child == wanted)
            return child;
        KillAndReap(child);
    }
    return -1;
}

TEST(Processes, a_number_given_to_somebody_else_is_never_ended) {
    const pid_t child = ForkSleeper();
    const HANDLE process = OpenProcess(AllAccess, FALSE, static_cast<DWORD>(child));
    ASSERT_NE(process, nullptr);
    KillAndReap(child);
    const pid_t stranger = ForkSleeperAs(child);
    if (stranger != child) {
        CloseHandle(process);
        GTEST_SKIP() << "this host does not let a process number be given out on purpose";
    }
    EXPECT_FALSE(TerminateProcess(process, 0));
    EXPECT_TRUE(StillRuns(stranger));
    EXPECT_EQ(WTERMSIG(KillAndReap(stranger)), SIGKILL);
    CloseHandle(process);
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
