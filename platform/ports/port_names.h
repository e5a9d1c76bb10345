// The names of ports, and the ttys behind them.
#pragma once

#include <string>

namespace platform {

// The tty behind a port's name, such as "COM1", in any case: the link of that name in the folder
// ports/ of the home folder, and for a COMn that has none /dev/ttyS(n-1). Empty for what is no
// name of a port. The tty need not be there.
std::string TtyOfPort(const std::string& name);

} // namespace platform
