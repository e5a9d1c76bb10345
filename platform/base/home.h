// Where the layer keeps its state on the host: the folder ROM_WIZARD_HOME, by default
// $XDG_STATE_HOME/rom-wizard (or ~/.local/state/rom-wizard), made on first use with mode 0700.
#pragma once

#include <string>

namespace platform {

// A path below the home folder, such as HomePath("registry.reg"), in UTF-8. The folder above it
// exists when this returns; where it cannot be made, the caller's own open reports it. Where the
// home, its windows/ or its ports/ belongs to another user or may be written by one, the first call
// ends the program: one line on stderr, exit code 2, and nothing read or written in it.
std::string HomePath(const std::string& name);

} // namespace platform
