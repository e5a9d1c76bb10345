// Command lines: one text on Windows, a list of arguments on the host.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Splits as Microsoft documents it for C programs: blanks separate outside of quotation marks, a
// backslash escapes a quotation mark, and backslashes stand for themselves everywhere else. The
// first part is the program's name, in which backslashes never escape.
std::vector<std::string> SplitCommandLine(std::string_view commandLine);

} // namespace platform
