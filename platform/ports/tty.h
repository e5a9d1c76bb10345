// Exclusive opening of the host's ttys.
#pragma once

#include "platform/base/descriptor.h"

#include <string>

namespace platform {

// Opens the tty for reading and writing, without blocking in any call, and keeps everybody else
// out. Without one, errno says why: EBUSY where somebody holds it.
Descriptor OpenTty(const std::string& path);

// Closes the tty, which others can open then. What has been written is still sent.
void ReleaseTty(Descriptor tty);

} // namespace platform
