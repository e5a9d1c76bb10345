// Names of files and folders: which a new file may have, the current directory, the free space of
// a disk.

#include "platform/files/file_names.h"

#include "platform/base/errors.h"
#include "platform/files/paths.h"

#include <winbase.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include <sys/statvfs.h>

namespace platform {

bool IsLegalNewName(std::string_view windowsPath) {
    const bool drive = windowsPath.size() > 1 && windowsPath[1] == ':';
    const std::string_view path = windowsPath.substr(drive ? 2 : 0);
    const auto last = path.find_last_of("\\/");
    const auto name = last == std::string_view::npos ? path : path.substr(last + 1);
    constexpr std::string_view Refused = "*?\"<>|:";
    const auto isRefused = [Refused](char character) {
        return static_cast<unsigned char>(character) < 0x20 ||
               Refused.find(character) != std::string_view::npos;
    };
    return !name.empty() && std::none_of(name.begin(), name.end(), isRefused);
}

} // namespace platform

// With too small a buffer: the size needed, terminator included, and nothing is written.
DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer) {
    std::error_code error;
    const auto current = std::filesystem::current_path(error);
    if (error) {
        SetLastError(platform::ErrorFromErrno(error.value()));
        return 0;
    }
    const std::string path = platform::WindowsPath(current.string());
    const auto length = static_cast<DWORD>(path.size());
    if (!buffer || size <= length)
        return length + 1;
    std::copy_n(path.c_str(), length + 1, buffer);
    return length;
}

BOOL WINAPI GetDiskFreeSpaceExA(LPCSTR directory, PULARGE_INTEGER freeToCaller,
                                PULARGE_INTEGER total, PULARGE_INTEGER totalFree) {
    const std::string path = platform::HostPath(directory ? directory : "");
    struct statvfs status;
    if (total || totalFree) {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return FALSE;
    }
    if (path.empty() || statvfs(path.c_str(), &status) != 0) {
        const bool missing = path.empty() || errno == ENOENT;
        SetLastError(missing ? DWORD{ERROR_PATH_NOT_FOUND} : platform::ErrorFromErrno(errno));
        return FALSE;
    }
    freeToCaller->QuadPart = ULONGLONG{status.f_frsize} * status.f_bavail;
    return TRUE;
}
