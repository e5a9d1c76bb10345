// The registry as text: the format of Windows' own exports, "Windows Registry Editor Version 5.00",
// as Microsoft documents it for .reg files.
#pragma once

#include "platform/registry/registry_tree.h"

#include <string>
#include <string_view>

namespace platform {

// In UTF-8 with plain line feeds.
std::string FormatRegistry(const RegistryTree& tree);

// Reads UTF-8, with or without a byte order mark. Line ends of either kind, blank lines, comments
// behind ';', continued lines, short names of the roots and a missing first line are all accepted.
// False for anything else, such as lines that delete, with the line and what is wrong with it in
// `error`: nothing is guessed, since the next write would make a wrong guess final.
bool ParseRegistry(std::string_view file, RegistryTree& tree, std::string& error);

} // namespace platform
