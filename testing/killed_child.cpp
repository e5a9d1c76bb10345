// Killing a forked child at a system call: it is traced, which stops it at every call.

#include "testing/killed_child.h"

#include <csignal>
#include <stdexcept>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

namespace {

constexpr int Done = 0, Failed = 1, NotTraceable = 2; // exit codes

[[noreturn]] void WorkTraced(const std::function<bool()>& work) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(NotTraceable);
    raise(SIGSTOP);
    _exit(work() ? Done : Failed);
}

} // namespace

ChildEnd RunKilledAtStop(int stop, const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0)
        WorkTraced(work);
    int status = 0;
    if (waitpid(child, &status, 0) != child)
        throw std::runtime_error("cannot fork");
    for (int number = 0; WIFSTOPPED(status); ++number) {
        if (number == stop) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return ChildEnd::Killed;
        }
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == NotTraceable)
        return ChildEnd::NotTraceable;
    return status == Done ? ChildEnd::Done : ChildEnd::Failed;
}

} // namespace test_support
