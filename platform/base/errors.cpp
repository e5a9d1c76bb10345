// The last error of each thread, and the error codes of Windows for the host's errno.
//
// A call that succeeds must not touch the last error: callers read it much later, and a stray value
// would look like the failure of another call.

#include "platform/base/errors.h"

#include <winbase.h>

#include <array>
#include <cerrno>
#include <utility>

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

constexpr std::array<std::pair<int, DWORD>, 26> HostErrors{{
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_DISK_FULL},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EILSEQ, ERROR_INVALID_NAME},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_SHARING_VIOLATION},
    {ENOEXEC, ERROR_BAD_EXE_FORMAT},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EIO, ERROR_IO_DEVICE},
    {ENXIO, ERROR_NOT_READY},
    {EPIPE, ERROR_BROKEN_PIPE},
}};

} // namespace

DWORD WINAPI GetLastError() { return lastError; }

void WINAPI SetLastError(DWORD error) { lastError = error; }

namespace platform {

DWORD ErrorFromErrno(int number) {
    for (const auto& [host, windows] : HostErrors)
        if (host == number)
            return windows;
    return ERROR_GEN_FAILURE;
}

void SetErrorFromErrno() { SetLastError(ErrorFromErrno(errno)); }

} // namespace platform
