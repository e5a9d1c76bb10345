// The line of a port: which settings of a DCB are offered, and how they are set on the host's tty.
#pragma once

#include <commapi.h>

namespace platform {

// 9600 baud, DTR and RTS raised.
DCB DefaultLine();

// False for what ApplyLine could not carry out: see commapi.h.
bool IsOffered(const DCB& line);

// Sets the tty: raw, no flow control, modem status ignored, and the speed. False with errno set.
bool ApplyLine(int tty, const DCB& line);

// Raises TIOCM_DTR or TIOCM_RTS. True too where the tty has no modem lines, as a
// pseudo-terminal has none. False with errno set.
bool RaiseLine(int tty, int line);

} // namespace platform
