// A program, or a function of the test, that runs as a process: its lines are read as they come,
// every wait has an end, and nothing of it is left behind.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace test_support {

using Environment = std::vector<std::pair<std::string, std::string>>;

// The folder of handheld, connection-manager and rom-wizard.
std::string ProgramFolder();

struct ProcessOptions {
    std::string folder{};      // working directory; empty: that of the test
    Environment environment{}; // beside that of the test
    bool terminal = false;     // a pseudo-terminal of 80 columns instead of pipes
};

class ChildProcess {
public:
    // Standard output and error come in as one. The process is killed with the thread that made
    // it. Throws where it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& command,
                          const ProcessOptions& options = {});
    // The same for a copy of the test itself that does `body` and ends with its result. The test
    // must have no other threads then, except the readers of other children.
    explicit ChildProcess(const std::function<int()>& body, bool terminal = false);
    // Kills it if it still runs. While an exception is propagating, prints what it has printed.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // A line to its standard input. One that reads no more does not matter.
    void Send(const std::string& line);
    // The same without its end: keys of a terminal.
    void Type(const std::string& keys);
    void CloseInput();
    // Closes its terminal from outside. Nothing that it prints is read any more.
    void HangUp();

    // Waits for the next line, behind those that were found before, that contains the text or of
    // which the test is true. Throws, with all lines so far, after a minute or when the output has
    // ended without it.
    std::string ExpectLine(const std::string& text);
    std::string ExpectLine(const std::function<bool(const std::string&)>& test,
                           const std::string& description);

    // Waits for the end of its output, which every process that inherited it has closed then.
    // Throws after a minute.
    void ExpectEndOfOutput();
    // Waits as ExpectEndOfOutput does and gives all that was printed.
    std::string AllOutput();

    // All lines so far, with the unfinished last one.
    std::vector<std::string> Lines();
    std::string Transcript();
    // Whether a line so far contains the text.
    bool Has(const std::string& text);

    void Signal(int signal);
    // The exit code, or 128 and the number of the signal. Throws after a minute.
    int Wait();
    pid_t Id() const { return process_; }

private:
    enum class Memory { Copied, Shared }; // shared until a program takes the child's place
    void Start(const std::string& folder, Memory memory, const std::function<int()>& body);
    void Read();
    void StopReading();

    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
    bool terminal_ = false;
    int status_ = -1; // exit code once it has been waited for
    int stop_ = -1;   // an event: the reader is to end
    std::thread reader_;
    std::mutex mutex_; // of what follows
    std::condition_variable changed_;
    std::vector<std::string> lines_;
    std::string unfinished_;
    std::size_t found_ = 0; // lines that ExpectLine has passed
    bool ended_ = false;
};

} // namespace test_support
