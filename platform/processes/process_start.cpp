// Starts programs: CreateProcessA, and the start that ShellExecuteExA uses too.
//
// Everything above the standard descriptors is closed in the new process: a port or a lock that it
// inherited would stay taken after this program has closed it.

#include "platform/processes/processes.h"

#include "platform/base/errors.h"
#include "platform/base/text.h"
#include "platform/files/paths.h"
#include "platform/kernel/signals_blocked.h"
#include "platform/processes/command_line.h"

#include <winbase.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
extern "C" { // which the C library's header does not declare itself
#include <sys/pidfd.h>
}
#include <sys/wait.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr int FirstOwnDescriptor = 3;

class SpawnSettings {
public:
    explicit SpawnSettings(const ProgramStart& start) {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        if (!start.directory.empty())
            posix_spawn_file_actions_addchdir_np(&actions, start.directory.c_str());
        for (int descriptor = 0; descriptor < FirstOwnDescriptor; ++descriptor)
            posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
        posix_spawn_file_actions_addclosefrom_np(&actions, FirstOwnDescriptor);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes,
                                 static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                    POSIX_SPAWN_SETSID));
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

std::vector<char*> ArgumentPointers(std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Reaps the child, whose number stays its own until then.
void ReapAtEnd(pid_t id) {
    const SignalsBlocked blocked;
    std::thread([id] {
        while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) {
        }
    }).detach();
}

} // namespace

std::shared_ptr<Process> StartProgram(const ProgramStart& start) {
    const SpawnSettings settings(start);
    auto arguments = start.arguments;
    pid_t id;
    const int error = posix_spawn(&id, start.path.c_str(), &settings.actions, &settings.attributes,
                                  ArgumentPointers(arguments).data(), environ);
    if (error != 0) {
        SetLastError(error == ENOENT ? MissingNameError(start.path) : ErrorFromErrno(error));
        return nullptr;
    }
    // Nobody else reaps it, so the number still means this child.
    Descriptor descriptor(pidfd_open(id, 0));
    if (!descriptor) {
        SetErrorFromErrno();
        kill(id, SIGKILL); // it could never be waited for
        waitpid(id, nullptr, 0);
        return nullptr;
    }
    ReapAtEnd(id);
    return std::make_shared<Process>(id, std::move(descriptor));
}

} // namespace platform

BOOL WINAPI CreateProcessA(LPCSTR application, LPSTR commandLine, LPSECURITY_ATTRIBUTES,
                           LPSECURITY_ATTRIBUTES, BOOL, DWORD flags, LPVOID environment,
                           LPCSTR directory, LPSTARTUPINFOA startup,
                           LPPROCESS_INFORMATION information) {
    if (!application || !startup || !information || environment || directory ||
        flags != CREATE_NEW_CONSOLE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    platform::ProgramStart start{platform::HostPath(application), {}, {}};
    start.arguments = platform::SplitCommandLine(commandLine ? commandLine : "");
    std::transform(start.arguments.begin(), start.arguments.end(), start.arguments.begin(),
                   platform::Utf8FromAnsi);
    if (start.arguments.empty())
        start.arguments.push_back(start.path);
    if (start.path.empty()) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return FALSE;
    }
    const auto process = platform::StartProgram(start);
    if (!process)
        return FALSE;
    // The host has no handle of another process's thread: the second one means the process too.
    const auto id = static_cast<DWORD>(process->Id());
    *information = {platform::AddHandle(process), platform::AddHandle(process), id, id};
    return TRUE;
}
