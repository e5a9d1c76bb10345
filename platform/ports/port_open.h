// Opening a port for CreateFileA.
#pragma once

#include "platform/kernel/handles.h"

#include <windef.h>

#include <memory>
#include <string>

namespace platform {

// Opens the port that CreateFileA was given as "\\.\name"; `name` comes without that prefix and the
// other arguments as they were given. Null with the last error set where it cannot be opened,
// ERROR_INVALID_PARAMETER where the port would be shared and without FILE_FLAG_OVERLAPPED.
std::shared_ptr<Object> OpenPort(const std::string& name, DWORD access, DWORD share,
                                 DWORD disposition, DWORD flags);

// Who is told that the user may not open a tty which the members of its group may: the path of the
// tty and the group's name, UTF-8. Called in OpenPort, on its thread. Set once, before the first
// port is opened; until then nobody is.
using TtyRefusal = void (*)(const std::string& tty, const std::string& group);
void OnRefusedTty(TtyRefusal report);

} // namespace platform
