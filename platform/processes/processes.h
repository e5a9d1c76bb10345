// Processes: those that are started here and those that are opened by their numbers.
//
// Each is held by a process descriptor of the host, which means this process even after its number
// has been given to another. Started ones are reaped by a thread of their own as soon as they end,
// whether or not a handle is open, so that no dead process stays behind.
#pragma once

#include "platform/base/descriptor.h"
#include "platform/kernel/handles.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace platform {

class Process : public Object {
public:
    Process(pid_t id, Descriptor descriptor) : id_(id), descriptor_(std::move(descriptor)) {}

    pid_t Id() const { return id_; }
    // 0, or the error. Returns when the process is gone, with all that it had open, or after five
    // seconds of the host.
    DWORD Terminate() const;

private:
    const pid_t id_;
    const Descriptor descriptor_;
};

struct ProgramStart {
    std::string path;                   // on the host
    std::vector<std::string> arguments; // with the program's name first
    std::string directory;              // on the host; empty: the current one
};

// Starts a program apart from this one's terminal: in a session of its own, without input and
// output, and with no descriptor of this program. Null with the last error set where it cannot be
// started.
std::shared_ptr<Process> StartProgram(const ProgramStart& start);

} // namespace platform
