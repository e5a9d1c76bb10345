// Loaded before the C library into everything that runs under Wine, for the sake of its ports.
//
// A pseudo-terminal has no modem lines, and Wine gives up a wait for events on a port that does
// not answer for them: here all lines of a handheld in its cradle are raised. And Wine looks
// through the serial ports of the machine when it starts, and opens them: here the machine has
// none. A port is nobody's controlling terminal either, or its hang-up would end Wine's server.
// And one that is opened holds nothing: a closed port hears nothing, while a pseudo-terminal keeps
// the last word of the handheld to a program that was killed, in front of the answer to the next.
//
// Wine in 32 bits calls the functions for large files and for times after 2038, which have other
// names there and the same arguments.

#include <asm/ioctls.h>
#include <linux/serial.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <initializer_list>

#include <dlfcn.h>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Ports of the machine by the names under which Wine looks for them.
bool IsPortOfTheMachine(const char* path) {
    for (const char* name : {"/dev/ttyS", "/dev/ttyUSB", "/dev/ttyACM", "/dev/lp"}) {
        if (path && std::strncmp(path, name, std::strlen(name)) == 0)
            return true;
    }
    return false;
}

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    static const auto next = Next<int(const char*, int, ...)>("open64");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t); // garbage where there is none, and not looked at
    va_end(rest);
    if (IsPortOfTheMachine(path)) {
        errno = ENOENT;
        return -1;
    }
    const int file = next(path, flags | O_NOCTTY, mode);
    if (file >= 0 && isatty(file))
        tcflush(file, TCIFLUSH);
    return file;
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int access(const char* path, int mode) noexcept {
    static const auto next = Next<int(const char*, int)>("access");
    if (!IsPortOfTheMachine(path))
        return next(path, mode);
    errno = ENOENT;
    return -1;
}

int ioctl(int file, unsigned long request, ...) noexcept {
    static const auto next = Next<int(int, unsigned long, void*)>("ioctl");
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    if (request != TIOCMGET && request != TIOCMSET && request != TIOCMBIS && request != TIOCMBIC &&
        request != TIOCGICOUNT)
        return next(file, request, argument);
    if (!isatty(file))
        return -1;
    if (request == TIOCMGET)
        *static_cast<int*>(argument) = TIOCM_DTR | TIOCM_RTS | TIOCM_CTS | TIOCM_DSR | TIOCM_CAR;
    if (request == TIOCGICOUNT)
        *static_cast<serial_icounter_struct*>(argument) = {};
    return 0;
}

int IoctlTime64(int file, unsigned long request, ...) noexcept __asm__("__ioctl_time64")
    __attribute__((alias("ioctl")));
}
