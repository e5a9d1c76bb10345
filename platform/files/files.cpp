// Files: opening, reading, writing, the position.
//
// An existing file is emptied only after its lock has been taken: a name that somebody else holds
// open must not lose its content to an open that is then refused. Only regular files are opened: a
// pipe may wait for ever, a device never comes to its end, and opening alone may set one off.

#include "platform/files/files.h"
#include "platform/base/descriptor.h"
#include "platform/base/errors.h"
#include "platform/files/file_names.h"
#include "platform/files/file_object.h"
#include "platform/files/paths.h"

#include <winbase.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr mode_t NewFileMode = 0666; // less the user's mask

class File : public StreamObject {
public:
    File(Descriptor descriptor, DWORD access)
        : descriptor_(std::move(descriptor)), access_(access) {}

    BOOL Read(void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) override;
    BOOL Write(const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped) override;
    int Number() const { return descriptor_.Number(); } // of the descriptor

private:
    const Descriptor descriptor_;
    const DWORD access_;
};

// Repeats a call that moves a part of the bytes until all are moved, none is left or it fails,
// which gives false and the last error. `moved` is how many were moved in either case.
template <class Move>
bool MoveAll(DWORD count, Move move, DWORD& moved) {
    moved = 0;
    while (moved < count) {
        const ssize_t part = move(moved);
        if (part == 0)
            break;
        if (part > 0) {
            moved += static_cast<DWORD>(part);
        } else if (errno != EINTR) {
            SetErrorFromErrno();
            return false;
        }
    }
    return true;
}

bool MayMove(DWORD access, DWORD needed, const DWORD* done, const OVERLAPPED* overlapped) {
    if (!done || overlapped)
        SetLastError(ERROR_INVALID_PARAMETER);
    else if (!(access & needed))
        SetLastError(ERROR_ACCESS_DENIED);
    else
        return true;
    return false;
}

BOOL File::Read(void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!MayMove(access_, GENERIC_READ, done, overlapped))
        return FALSE;
    const auto move = [&](DWORD moved) {
        return read(Number(), static_cast<BYTE*>(buffer) + moved, count - moved);
    };
    return MoveAll(count, move, *done);
}

BOOL File::Write(const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!MayMove(access_, GENERIC_WRITE, done, overlapped))
        return FALSE;
    const auto move = [&](DWORD moved) {
        return write(Number(), static_cast<const BYTE*>(data) + moved, count - moved);
    };
    return MoveAll(count, move, *done);
}

// How CreateFileA was asked to open. A file is opened as it is, or made and emptied.
struct OpenRequest {
    std::string path;
    DWORD access, share;
    bool makes;

    int Mode() const {
        if (!makes && !(access & GENERIC_WRITE))
            return O_RDONLY;
        return access & GENERIC_READ ? O_RDWR : O_WRONLY;
    }
};

// As open; EACCES for what is no regular file, which is not touched.
Descriptor OpenRegular(const OpenRequest& request) {
    struct stat status;
    if (stat(request.path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        errno = EACCES;
        return {};
    }
    const int flags = request.Mode() | (request.makes ? O_CREAT : 0);
    return Descriptor(
        open(request.path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, NewFileMode));
}

// 0, or the error. Sharing as the host's whole-file locks can express it: whoever shares nothing,
// or writes without sharing writes, is alone; whoever keeps writers out holds a shared lock.
int LockAgainstOthers(int descriptor, const OpenRequest& request) {
    const bool sharesWrites = request.share & FILE_SHARE_WRITE;
    if (sharesWrites && (request.share & FILE_SHARE_READ))
        return 0;
    const bool writes = request.access & GENERIC_WRITE;
    const bool shared = (request.share & FILE_SHARE_READ) && !writes;
    if (flock(descriptor, (shared ? LOCK_SH : LOCK_EX) | LOCK_NB) == 0)
        return 0;
    return errno == EWOULDBLOCK ? ERROR_SHARING_VIOLATION : 0; // a file system without locks
}

// 0, or the error that refuses the file.
DWORD PrepareFile(int descriptor, const OpenRequest& request) {
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        return ErrorFromErrno(errno);
    if (!S_ISREG(status.st_mode)) // put there since it was checked
        return ERROR_ACCESS_DENIED;
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0 || fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) != 0)
        return ErrorFromErrno(errno);
    if (const int refused = LockAgainstOthers(descriptor, request))
        return static_cast<DWORD>(refused);
    if (request.makes && ftruncate(descriptor, 0) != 0)
        return ErrorFromErrno(errno);
    return 0;
}

std::shared_ptr<Object> OpenPath(const OpenRequest& request) {
    Descriptor descriptor = OpenRegular(request);
    if (!descriptor) {
        SetLastError(errno == ENOENT ? MissingNameError(request.path) : ErrorFromErrno(errno));
        return nullptr;
    }
    auto file = std::make_shared<File>(std::move(descriptor), request.access);
    if (const DWORD error = PrepareFile(file->Number(), request)) {
        SetLastError(error);
        return nullptr;
    }
    return file;
}

} // namespace

std::shared_ptr<Object> OpenFile(std::string_view name, DWORD access, DWORD share,
                                 DWORD disposition) {
    const OpenRequest request{HostPath(name), access, share, disposition == CREATE_ALWAYS};
    DWORD error = ERROR_SUCCESS;
    if (request.path.empty())
        error = ERROR_PATH_NOT_FOUND;
    else if (!request.makes && disposition != OPEN_EXISTING)
        error = ERROR_CALL_NOT_IMPLEMENTED;
    else if (request.makes && !IsLegalNewName(name))
        error = ERROR_INVALID_NAME;
    if (error == ERROR_SUCCESS)
        return OpenPath(request);
    SetLastError(error);
    return nullptr;
}

} // namespace platform

using platform::File;
using platform::FindHandleOf;
using platform::StreamObject;

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done,
                     LPOVERLAPPED overlapped) {
    const auto stream = FindHandleOf<StreamObject>(file);
    return stream && stream->Read(buffer, count, done, overlapped);
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD done,
                      LPOVERLAPPED overlapped) {
    const auto stream = FindHandleOf<StreamObject>(file);
    return stream && stream->Write(data, count, done, overlapped);
}

DWORD WINAPI GetFileSize(HANDLE handle, LPDWORD high) {
    const auto file = FindHandleOf<File>(handle);
    struct stat status;
    if (!file)
        return INVALID_FILE_SIZE;
    if (fstat(file->Number(), &status) != 0) {
        platform::SetErrorFromErrno();
        return INVALID_FILE_SIZE;
    }
    const auto size = static_cast<ULONGLONG>(status.st_size);
    if (high)
        *high = static_cast<DWORD>(size >> 32);
    return static_cast<DWORD>(size);
}

LONG WINAPI _llseek(HFILE handle, LONG offset, int origin) {
    const auto number = static_cast<std::uintptr_t>(handle);
    const auto file = FindHandleOf<File>(reinterpret_cast<HANDLE>(number));
    if (!file)
        return -1;
    if (origin != FILE_BEGIN || offset < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    const off_t position = lseek(file->Number(), offset, SEEK_SET);
    if (position < 0)
        platform::SetErrorFromErrno();
    return static_cast<LONG>(position);
}

BOOL WINAPI FlushFileBuffers(HANDLE handle) {
    const auto file = FindHandleOf<File>(handle);
    if (!file)
        return FALSE;
    if (fsync(file->Number()) == 0 || errno == EINVAL) // a file system that cannot
        return TRUE;
    platform::SetErrorFromErrno();
    return FALSE;
}
