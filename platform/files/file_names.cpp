// Calls that take a file or a folder by its name: deleting, the current directory, the free space
// of a disk.

#include "platform/files/file_names.h"

#include "platform/base/descriptor.h"
#include "platform/base/errors.h"
#include "platform/files/paths.h"

#include <winbase.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace platform {
namespace {

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

DWORD NameError(const std::string& path) {
    return errno == ENOENT ? MissingNameError(path) : ErrorFromErrno(errno);
}

// Whether a program that uses this layer holds the file open in a way that keeps others out. Where
// the file cannot even be opened, the delete itself decides.
bool IsHeldByOthers(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    return file && flock(file.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace

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

using platform::Fail;
using platform::HostPath;
using platform::NameError;

BOOL WINAPI DeleteFileA(LPCSTR name) {
    const std::string path = HostPath(name ? name : "");
    struct stat status;
    if (path.empty())
        return Fail(ERROR_PATH_NOT_FOUND);
    if (lstat(path.c_str(), &status) != 0)
        return Fail(NameError(path));
    if (S_ISDIR(status.st_mode))
        return Fail(ERROR_ACCESS_DENIED);
    if (S_ISREG(status.st_mode) && platform::IsHeldByOthers(path))
        return Fail(ERROR_SHARING_VIOLATION);
    return unlink(path.c_str()) == 0 ? TRUE : Fail(NameError(path));
}

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

BOOL WINAPI SetCurrentDirectoryA(LPCSTR name) {
    const std::string path = HostPath(name ? name : "");
    if (path.empty())
        return Fail(ERROR_PATH_NOT_FOUND);
    if (chdir(path.c_str()) == 0)
        return TRUE;
    return Fail(errno == ENOTDIR ? DWORD{ERROR_DIRECTORY} : NameError(path));
}

BOOL WINAPI GetDiskFreeSpaceExA(LPCSTR directory, PULARGE_INTEGER freeToCaller,
                                PULARGE_INTEGER total, PULARGE_INTEGER totalFree) {
    const std::string path = HostPath(directory ? directory : ".");
    struct statvfs status;
    if (path.empty() || statvfs(path.c_str(), &status) != 0)
        return Fail(path.empty() || errno == ENOENT ? DWORD{ERROR_PATH_NOT_FOUND}
                                                    : NameError(path));
    const ULONGLONG unit = status.f_frsize;
    if (freeToCaller)
        freeToCaller->QuadPart = unit * status.f_bavail;
    if (total)
        total->QuadPart = unit * status.f_blocks;
    if (totalFree)
        totalFree->QuadPart = unit * status.f_bfree;
    return TRUE;
}
