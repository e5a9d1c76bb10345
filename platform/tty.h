// Ttys of the host, for one holder at a time.
#pragma once

#include "platform/descriptor.h"

#include <string>

namespace platform {

// Opens the tty for reading and writing, without blocking in any call, and keeps everybody else
// out. Without one, errno says why: EBUSY where somebody holds it.
Descriptor OpenTty(const std::string& path);

// Lets others in and closes it. What has been written still goes out.
void ReleaseTty(Descriptor tty);

} // namespace platform
