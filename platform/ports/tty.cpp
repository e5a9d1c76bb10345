// Opens ttys for exclusive use.
//
// The kernel's own exclusive mode does not stop root, so a lock on the tty keeps out every program
// of this layer, whoever runs it. The exclusive mode comes on top of that against strangers, but
// not on pseudo-terminals: it sticks to the tty until both ends are closed, so a holder that was
// killed would leave behind a port that nobody but root can open again.

#include "platform/ports/tty.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>

namespace platform {
namespace {

// As in the kernel's devices.txt: the device side of Unix98 pseudo-terminals.
constexpr unsigned FirstPseudoTerminalMajor = 136;
constexpr unsigned LastPseudoTerminalMajor = 143;

bool IsPseudoTerminal(int tty) {
    struct stat status = {};
    if (fstat(tty, &status) != 0)
        return false;
    const unsigned kind = major(status.st_rdev);
    return kind >= FirstPseudoTerminalMajor && kind <= LastPseudoTerminalMajor;
}

bool Acquire(int tty) {
    if (flock(tty, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            errno = EBUSY;
        return false;
    }
    return IsPseudoTerminal(tty) || ioctl(tty, TIOCEXCL) == 0;
}

} // namespace

Descriptor OpenTty(const std::string& path) {
    Descriptor tty(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!tty || !isatty(tty.Number()) || !Acquire(tty.Number())) {
        const int error = errno;
        tty = Descriptor();
        errno = error;
    }
    return tty;
}

// The lock is released by a call, not by closing: a process that is just being started may still
// have a copy of the descriptor, which would keep the lock.
void ReleaseTty(Descriptor tty) {
    if (!IsPseudoTerminal(tty.Number()))
        ioctl(tty.Number(), TIOCNXCL);
    flock(tty.Number(), LOCK_UN);
}

} // namespace platform
