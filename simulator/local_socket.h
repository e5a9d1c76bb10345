// Local sockets of the cradle, for one user alone.
#pragma once

#include "simulator/host_files.h"

namespace simulator {

// Listens at `path`, in place of what a dead process left there. Nobody else can connect, whatever
// the umask is. `flags` are those of socket(): SOCK_NONBLOCK or 0. Throws a Failure.
Descriptor ListenAt(const std::filesystem::path& path, int flags);

// Not open where nobody listens. Throws a Failure for a path that no socket can have.
Descriptor ConnectTo(const std::filesystem::path& path);

} // namespace simulator
