// Processes: those that are started here and those that are opened by their numbers.
//
// Each is held by a process descriptor of the host, which means this process even after its number
// has been given to another. Started ones are reaped by a thread of their own as soon as they end,
// whether or not a handle is open, so that no dead process stays behind.
#pragma once

#include "platform/base/descriptor.h"
#include "platform/kernel/waits.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace platform {

class Process : public Waitable, public std::enable_shared_from_this<Process> {
public:
    Process(pid_t id, Descriptor descriptor, bool isChild)
        : id_(id), descriptor_(std::move(descriptor)), isChild_(isChild) {}

    // Starts the watcher, once. Of a child it also reaps it.
    void PrepareWait() override;
    bool IsSignalled() const override;

    pid_t Id() const { return id_; }
    // STILL_ACTIVE while it runs. For one that was not started here: what TerminateProcess was
    // given, or 0. One that was ended by a signal of somebody else: 128 and the signal's number.
    DWORD ExitCode() const;
    // 0, or the error. The process need not be gone when this returns.
    DWORD Terminate(DWORD exitCode);
    // Returns when it is gone, with all that it had open, or after five seconds of the host.
    void WaitBriefly() const;

private:
    void WatchUntilEnd();
    DWORD WaitForExitCode();
    bool HasEnded() const;

    const pid_t id_;
    const Descriptor descriptor_;
    const bool isChild_;
    // Guarded by the lock of waits.
    bool watched_ = false;
    bool ended_ = false;
    bool terminated_ = false;
    DWORD terminateCode_ = 0;
    DWORD exitCode_ = 0;
};

struct ProgramStart {
    std::string path;                   // on the host
    std::vector<std::string> arguments; // with the program's name first
    std::string directory;              // on the host; empty: the current one
    // Apart from this program's terminal: a session of its own, no input, no output.
    bool ownConsole = false;
};

// Starts a program, which inherits no descriptors but the three standard ones. Null with the last
// error set where it cannot be started.
std::shared_ptr<Process> StartProgram(const ProgramStart& start);

} // namespace platform
