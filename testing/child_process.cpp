// Starting a program, reading what it prints, and ending it with its test.

#include "testing/child_process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace test_support {

namespace {

constexpr auto Limit = std::chrono::seconds(60);
constexpr std::size_t MaxShown = 100'000; // bytes of a process that has printed for an hour
constexpr auto ExitPoll = std::chrono::milliseconds(5);
constexpr int NotStarted = 127;

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

// The two ends of a standard input and of a standard output.
struct Streams {
    int childInput, childOutput;
    int input, output;
};

Streams OpenPipes() {
    int input[2], output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
        Fail("make a pipe");
    return {input[0], output[1], input[1], output[0]};
}

Streams OpenTerminal() {
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[64];
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 ||
        ptsname_r(master, name, sizeof(name)) != 0)
        Fail("make a pseudo-terminal");
    const int slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = {};
    if (slave < 0 || tcgetattr(slave, &settings) != 0)
        Fail("open a pseudo-terminal");
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(slave, TCSANOW, &settings);
    const winsize size = {24, 80, 0, 0};
    ioctl(slave, TIOCSWINSZ, &size);
    return {slave, fcntl(slave, F_DUPFD_CLOEXEC, 0), fcntl(master, F_DUPFD_CLOEXEC, 0), master};
}

std::vector<std::string> JoinedEnvironment(const Environment& added) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry; ++entry) {
        const std::string name = std::string(*entry).substr(0, std::strcspn(*entry, "="));
        bool replaced = false;
        for (const auto& [addedName, value] : added)
            replaced = replaced || addedName == name;
        if (!replaced)
            all.emplace_back(*entry);
    }
    for (const auto& [name, value] : added)
        all.emplace_back(name).append("=").append(value);
    return all;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// In the child, which may share the test's memory: only calls that are allowed between vfork and
// exec. Without exceptions, which would come out in the test that was forked.
[[noreturn]] void Become(const std::function<int()>& body, const char* folder,
                         const Streams& streams) noexcept {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // The processor is shared out by session: in one of its own, a program is not held up by busy
    // neighbours, which it would take for a device that has fallen silent. One that is to have a
    // terminal makes its session itself.
    if (!isatty(streams.childInput))
        setsid();
    if ((folder && chdir(folder) != 0) || dup2(streams.childInput, STDIN_FILENO) < 0 ||
        dup2(streams.childOutput, STDOUT_FILENO) < 0 ||
        dup2(streams.childOutput, STDERR_FILENO) < 0)
        _exit(NotStarted);
    close(streams.input); // a body would never see the end of its own input
    close(streams.output);
    _exit(body());
}

} // namespace

std::string ProgramFolder() {
    // Tests and benchmarks lie somewhere below it.
    std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    while (!std::filesystem::exists(folder / "handheld")) {
        if (folder == folder.root_path())
            throw std::runtime_error("no folder above this program holds handheld");
        folder = folder.parent_path();
    }
    return folder.string();
}

ChildProcess::ChildProcess(const std::vector<std::string>& command, const ProcessOptions& options)
    : terminal_(options.terminal) {
    std::vector<std::string> words = command;
    std::vector<std::string> environment = JoinedEnvironment(options.environment);
    const std::vector<char*> wordPointers = Pointers(words);
    const std::vector<char*> environmentPointers = Pointers(environment);
    Start(options.folder, Memory::Shared, [&] {
        execve(wordPointers[0], wordPointers.data(), environmentPointers.data());
        return NotStarted;
    });
}

ChildProcess::ChildProcess(const std::function<int()>& body, bool terminal) : terminal_(terminal) {
    Start("", Memory::Copied, [&] {
        const int code = body();
        std::fflush(nullptr);
        return code;
    });
}

// A copy costs by the memory that the test holds: with hundreds of children, more than they cost.
void ChildProcess::Start(const std::string& folder, Memory memory,
                         const std::function<int()>& body) {
    std::signal(SIGPIPE, SIG_IGN);
    const Streams streams = terminal_ ? OpenTerminal() : OpenPipes();
    std::fflush(nullptr); // or a body would print it once more
    stop_ = eventfd(0, EFD_CLOEXEC);
    if (stop_ < 0)
        Fail("make an event");
    // NOLINTNEXTLINE(clang-analyzer-*): until its exec the child does what Become does, and no more
    process_ = memory == Memory::Copied ? fork() : vfork();
    if (process_ == 0)
        Become(body, folder.empty() ? nullptr : folder.c_str(), streams);
    close(streams.childInput);
    close(streams.childOutput);
    input_ = streams.input;
    output_ = streams.output;
    if (process_ < 0)
        Fail("start a process");
    reader_ = std::thread(&ChildProcess::Read, this);
}

ChildProcess::~ChildProcess() {
    if (status_ < 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    CloseInput();
    StopReading();
    if (std::uncaught_exceptions() == 0)
        return;
    const std::string text = Transcript();
    std::fprintf(stderr, "up to the failure it printed:\n%s",
                 text.c_str() + text.size() - std::min(text.size(), MaxShown));
}

void ChildProcess::StopReading() {
    eventfd_write(stop_, 1); // a grandchild may keep the output open for ever
    if (reader_.joinable())
        reader_.join();
    close(std::exchange(output_, -1));
    close(std::exchange(stop_, -1));
}

void ChildProcess::HangUp() {
    close(std::exchange(input_, -1));
    StopReading();
}

void ChildProcess::Read() {
    char bytes[4096];
    bool ended = false;
    while (!ended) {
        pollfd either[] = {{output_, POLLIN, 0}, {stop_, POLLIN, 0}};
        if (poll(either, std::size(either), -1) < 0)
            continue; // interrupted
        if (either[1].revents != 0)
            break;
        const ssize_t count = read(output_, bytes, sizeof(bytes));
        ended = count <= 0; // a read from a terminal whose other side is closed fails
        const std::lock_guard lock(mutex_);
        for (ssize_t at = 0; at < count; ++at) {
            if (bytes[at] == '\n') {
                lines_.push_back(std::move(unfinished_));
                unfinished_.clear();
            } else if (bytes[at] != '\r') {
                unfinished_ += bytes[at];
            }
        }
        ended_ = ended;
        changed_.notify_all();
    }
}

void ChildProcess::Send(const std::string& line) { Type(line + "\n"); }

void ChildProcess::Type(const std::string& keys) {
    [[maybe_unused]] const ssize_t ignored = write(input_, keys.data(), keys.size());
}

void ChildProcess::CloseInput() {
    if (input_ < 0)
        return;
    // The end of a terminal's input is a character, and only at the start of a line.
    [[maybe_unused]] const ssize_t ignored = terminal_ ? write(input_, "\x04", 1) : 0;
    close(input_);
    input_ = -1;
}

std::string ChildProcess::ExpectLine(const std::string& text) {
    return ExpectLine([&](const std::string& line) { return line.find(text) != std::string::npos; },
                      "\"" + text + "\"");
}

std::string ChildProcess::ExpectLine(const std::function<bool(const std::string&)>& test,
                                     const std::string& description) {
    std::size_t start = 0;
    {
        std::unique_lock lock(mutex_);
        start = found_;
        const auto deadline = std::chrono::steady_clock::now() + Limit;
        for (std::size_t at = found_;;) {
            for (; at < lines_.size(); ++at) {
                if (test(lines_[at])) {
                    found_ = at + 1;
                    return lines_[at];
                }
            }
            if (ended_ || changed_.wait_until(lock, deadline) == std::cv_status::timeout)
                break;
        }
    }
    throw std::runtime_error("no line " + description + " behind line " + std::to_string(start) +
                             " of:\n" + Transcript());
}

void ChildProcess::ExpectEndOfOutput() {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, Limit, [this] { return ended_; }))
        throw std::runtime_error("its output does not end");
}

std::string ChildProcess::AllOutput() {
    ExpectEndOfOutput();
    std::string text;
    for (const std::string& line : Lines())
        text += line + "\n";
    return text;
}

std::vector<std::string> ChildProcess::Lines() {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> lines = lines_;
    if (!unfinished_.empty())
        lines.push_back(unfinished_);
    return lines;
}

std::string ChildProcess::Transcript() {
    std::string text;
    for (const std::string& line : Lines())
        text += "  | " + line + "\n";
    return text;
}

bool ChildProcess::Has(const std::string& text) {
    for (const std::string& line : Lines()) {
        if (line.find(text) != std::string::npos)
            return true;
    }
    return false;
}

void ChildProcess::Signal(int signal) {
    if (status_ < 0)
        kill(process_, signal);
}

int ChildProcess::Wait() {
    const auto deadline = std::chrono::steady_clock::now() + Limit;
    int status = 0;
    while (status_ < 0) {
        if (waitpid(process_, &status, WNOHANG) == process_)
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        else if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("it does not end:\n" + Transcript());
        else
            std::this_thread::sleep_for(ExitPoll);
    }
    return status_;
}

} // namespace test_support
