// Line settings of ports, as termios has them.
//
// A tty starts out as a terminal for people: it echoes, edits lines and swallows control
// characters. Every byte has to pass, so nothing of that may stay on.

#include "platform/ports/line_settings.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/ioctl.h>
#include <termios.h>

namespace platform {
namespace {

struct Speed {
    DWORD baud;
    speed_t host;
};

constexpr std::array<Speed, 12> Speeds{{
    {1200, B1200},
    {2400, B2400},
    {4800, B4800},
    {9600, B9600},
    {19200, B19200},
    {38400, B38400},
    {57600, B57600},
    {115200, B115200},
    {230400, B230400},
    {460800, B460800},
    {500000, B500000},
    {921600, B921600},
}};

const Speed* FindSpeed(DWORD baud) {
    const auto found = std::ranges::find(Speeds, baud, &Speed::baud);
    return found == Speeds.end() ? nullptr : found;
}

bool HasFlowControl(const DCB& line) {
    return line.fOutxCtsFlow || line.fOutxDsrFlow || line.fDsrSensitivity || line.fOutX ||
           line.fInX || line.fDtrControl != DTR_CONTROL_ENABLE ||
           line.fRtsControl != RTS_CONTROL_ENABLE;
}

bool ChangesBytes(const DCB& line) {
    return !line.fBinary || line.fNull || line.fErrorChar || line.fAbortOnError;
}

} // namespace

DCB DefaultLine() {
    DCB line = {};
    line.DCBlength = sizeof(line);
    line.BaudRate = 9600;
    line.fBinary = 1;
    line.fDtrControl = DTR_CONTROL_ENABLE;
    line.fRtsControl = RTS_CONTROL_ENABLE;
    line.XonLim = 2048;
    line.XoffLim = 512;
    line.ByteSize = 8;
    line.XonChar = 0x11;
    line.XoffChar = 0x13;
    return line;
}

bool IsOffered(const DCB& line) {
    return FindSpeed(line.BaudRate) && line.ByteSize == 8 && line.Parity == NOPARITY &&
           line.StopBits == ONESTOPBIT && !HasFlowControl(line) && !ChangesBytes(line);
}

bool ApplyLine(int tty, const DCB& line) {
    termios settings = {};
    if (tcgetattr(tty, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
    settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY | INPCK);
    settings.c_cc[VMIN] = 1; // so that "nothing yet" and a hang-up differ in a read
    settings.c_cc[VTIME] = 0;
    cfsetspeed(&settings, FindSpeed(line.BaudRate)->host);
    return tcsetattr(tty, TCSANOW, &settings) == 0 && RaiseLine(tty, TIOCM_DTR) &&
           RaiseLine(tty, TIOCM_RTS);
}

bool RaiseLine(int tty, int line) {
    return ioctl(tty, TIOCMBIS, &line) == 0 || errno == ENOTTY || errno == EINVAL;
}

} // namespace platform
