// Locks of the host's login manager (org.freedesktop.login1, Inhibit).
#pragma once

#include "platform/base/descriptor.h"

#include <string>

namespace platform {

// Keeps the machine from what is named, such as "sleep:idle" or "shutdown", until the descriptor is
// closed, so that a program that is killed keeps it from nothing. `why` is for the user, in UTF-8.
// None where the manager refuses, or does not answer within two seconds.
Descriptor RequestInhibitor(const char* what, const std::string& why);

} // namespace platform
