// Opening a port by its name.
//
// A link that leads nowhere is a port that is not there. It must not fall back to the machine's own
// serial ports: something else may hang there.

#include "platform/ports/port_open.h"

#include "platform/base/errors.h"
#include "platform/base/home.h"
#include "platform/ports/line_settings.h"
#include "platform/ports/port.h"
#include "platform/ports/port_names.h"
#include "platform/ports/tty.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

#include <grp.h>
#include <sys/stat.h>
#include <termios.h>

namespace platform {
namespace {

constexpr unsigned LastComPort = 256; // as on Windows

bool IsAlphanumeric(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z');
}

std::string UpperCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](char character) {
        return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                    : character;
    });
    return text;
}

// The number of "COM1", "COM2" and so on; 0 for another name.
unsigned ComNumber(const std::string& name) {
    unsigned number = 0;
    const char* const end = name.data() + name.size();
    if (!name.starts_with("COM") || name.size() < 4 || name[3] == '0')
        return 0;
    const auto [stop, error] = std::from_chars(name.data() + 3, end, number);
    return error != std::errc() || stop != end || number > LastComPort ? 0 : number;
}

std::string TtyOfHost(const std::string& name) {
    const unsigned number = ComNumber(name);
    return number == 0 ? std::string() : "/dev/ttyS" + std::to_string(number - 1);
}

DWORD ErrorOfOpening(int number) {
    switch (number) {
    case EBUSY:
        return ERROR_ACCESS_DENIED;
    case ENODEV: // no such device behind the name
    case ENXIO:
    case ENOTTY:
    case EIO: // a pseudo-terminal whose other end is gone, a serial port without its chip
    case ENOTDIR:
        return ERROR_FILE_NOT_FOUND;
    default:
        return ErrorFromErrno(number);
    }
}

TtyRefusal refusal = nullptr;

// Windows has no such thing as a user who may not use a port, so the program has no word for it.
void ReportRefusal(const std::string& path) {
    constexpr mode_t GroupAccess = S_IRGRP | S_IWGRP;
    struct stat status = {};
    if (!refusal || stat(path.c_str(), &status) != 0 ||
        (status.st_mode & GroupAccess) != GroupAccess)
        return;
    std::error_code error;
    const std::string tty = std::filesystem::canonical(path, error).string();
    char texts[4096]; // the members of the group among them
    group entry = {};
    group* found = nullptr;
    const bool named =
        getgrgid_r(status.st_gid, &entry, texts, sizeof(texts), &found) == 0 && found;
    refusal(error ? path : tty, named ? found->gr_name : std::to_string(status.st_gid));
}

// A closed port hears nothing, so nothing that came before it was opened is there to be read.
std::shared_ptr<Port> StartPort(Descriptor tty, PortAccess access) {
    if (!ApplyLine(tty.Number(), DefaultLine()) || tcflush(tty.Number(), TCIFLUSH) != 0)
        throw std::system_error(errno, std::generic_category());
    auto port = std::make_shared<Port>(std::move(tty), access);
    port->Start();
    return port;
}

} // namespace

void OnRefusedTty(TtyRefusal report) { refusal = report; }

std::string TtyOfPort(const std::string& name) {
    const std::string canonical = UpperCase(name);
    if (canonical.empty() || !std::ranges::all_of(canonical, IsAlphanumeric))
        return {};
    const std::string link = HomePath("ports/" + canonical);
    struct stat status = {};
    const bool none = lstat(link.c_str(), &status) != 0 && errno == ENOENT;
    return none ? TtyOfHost(canonical) : link;
}

std::shared_ptr<Object> OpenPort(const std::string& name, DWORD access, DWORD share,
                                 DWORD disposition, DWORD flags) {
    if (share != 0 || disposition != OPEN_EXISTING || !(flags & FILE_FLAG_OVERLAPPED)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const std::string path = TtyOfPort(name);
    if (path.empty()) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    try {
        Descriptor tty = OpenTty(path);
        if (!tty) {
            const int error = errno;
            if (error == EACCES)
                ReportRefusal(path);
            throw std::system_error(error, std::generic_category());
        }
        return StartPort(std::move(tty),
                         {(access & GENERIC_READ) != 0, (access & GENERIC_WRITE) != 0,
                          ComNumber(UpperCase(name)) == 0});
    } catch (const std::system_error& error) {
        SetLastError(ErrorOfOpening(error.code().value()));
        return nullptr;
    }
}

} // namespace platform
