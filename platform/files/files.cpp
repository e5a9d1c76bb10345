// Files: opening, reading, writing, positions.
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
#include "platform/kernel/waits.h"

#include <winbase.h>

#include <cerrno>
#include <cstdint>
#include <functional>
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

off_t OffsetOf(const OVERLAPPED& overlapped) {
    return static_cast<off_t>((ULONGLONG{overlapped.OffsetHigh} << 32) | overlapped.Offset);
}

// Repeats a call that moves a part of the bytes until all are moved, none is left or it fails.
// Gives how many were moved; after a failure errno is set.
using MoveBytes = std::function<ssize_t(DWORD moved)>;

DWORD MoveAll(DWORD count, const MoveBytes& move, bool& failed) {
    DWORD moved = 0;
    failed = false;
    while (moved < count && !failed) {
        const ssize_t part = move(moved);
        if (part == 0)
            break;
        if (part > 0)
            moved += static_cast<DWORD>(part);
        else
            failed = errno != EINTR;
    }
    return moved;
}

// An overlapped call has ended by the time it returns: its record and its event show that.
void CompleteOverlapped(OVERLAPPED* overlapped, DWORD done) {
    if (!overlapped)
        return;
    overlapped->Internal = 0;
    overlapped->InternalHigh = done;
    const auto event = FindEvent(overlapped->hEvent);
    if (event)
        event->Set();
}

bool MayMove(DWORD access, DWORD needed, const DWORD* done, const OVERLAPPED* overlapped) {
    if (!done && !overlapped)
        SetLastError(ERROR_INVALID_PARAMETER);
    else if (!(access & needed))
        SetLastError(ERROR_ACCESS_DENIED);
    else
        return true;
    return false;
}

BOOL File::Read(void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (done)
        *done = 0;
    if (!MayMove(access_, GENERIC_READ, done, overlapped))
        return FALSE;
    const auto move = [&](DWORD moved) {
        BYTE* to = static_cast<BYTE*>(buffer) + moved;
        return overlapped ? pread(Number(), to, count - moved, OffsetOf(*overlapped) + moved)
                          : read(Number(), to, count - moved);
    };
    bool failed;
    const DWORD moved = MoveAll(count, move, failed);
    if (failed)
        SetErrorFromErrno();
    else if (overlapped && moved == 0 && count > 0)
        SetLastError(ERROR_HANDLE_EOF);
    else
        CompleteOverlapped(overlapped, moved);
    if (done)
        *done = moved;
    return !failed && !(overlapped && moved == 0 && count > 0);
}

BOOL File::Write(const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (done)
        *done = 0;
    if (!MayMove(access_, GENERIC_WRITE, done, overlapped))
        return FALSE;
    const auto move = [&](DWORD moved) {
        const BYTE* from = static_cast<const BYTE*>(data) + moved;
        return overlapped ? pwrite(Number(), from, count - moved, OffsetOf(*overlapped) + moved)
                          : write(Number(), from, count - moved);
    };
    bool failed;
    const DWORD moved = MoveAll(count, move, failed);
    if (done)
        *done = moved;
    if (failed) {
        SetErrorFromErrno();
        return FALSE;
    }
    CompleteOverlapped(overlapped, moved);
    return TRUE;
}

// How CreateFileA was asked to open.
struct OpenRequest {
    std::string path;
    DWORD access, share, disposition;

    bool MayCreate() const {
        return disposition == CREATE_NEW || disposition == CREATE_ALWAYS ||
               disposition == OPEN_ALWAYS;
    }
    bool Empties() const {
        return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    }
    int Mode() const {
        const bool writes = (access & GENERIC_WRITE) || Empties();
        if (!writes)
            return O_RDONLY;
        return access & GENERIC_READ ? O_RDWR : O_WRONLY;
    }
};

bool IsValid(const OpenRequest& request) {
    const bool known =
        request.disposition >= CREATE_NEW && request.disposition <= TRUNCATE_EXISTING;
    const bool mayEmpty =
        request.disposition != TRUNCATE_EXISTING || (request.access & GENERIC_WRITE);
    return known && mayEmpty;
}

// As open; EACCES for what is no regular file, which is not touched.
Descriptor OpenRegular(const char* path, int flags) {
    struct stat status;
    if (stat(path, &status) == 0 && !S_ISREG(status.st_mode)) {
        errno = EACCES;
        return {};
    }
    return Descriptor(open(path, flags));
}

// The descriptor, or none with errno. Whether the file was there before decides the last error of
// the caller, so creating and opening are two steps; somebody else may come between them.
Descriptor OpenDescriptor(const OpenRequest& request, bool& existed) {
    constexpr int Attempts = 10;
    const int flags = request.Mode() | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const char* path = request.path.c_str();
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        existed = request.disposition != CREATE_NEW;
        Descriptor descriptor = existed ? OpenRegular(path, flags) : Descriptor();
        const bool missing = !existed || (!descriptor && errno == ENOENT);
        if (!missing || !request.MayCreate())
            return descriptor;
        existed = false;
        descriptor = Descriptor(open(path, flags | O_CREAT | O_EXCL, NewFileMode));
        if (descriptor || errno != EEXIST || request.disposition == CREATE_NEW)
            return descriptor;
    }
    return {};
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
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    if (const int refused = LockAgainstOthers(descriptor, request))
        return static_cast<DWORD>(refused);
    if (request.Empties() && ftruncate(descriptor, 0) != 0)
        return ErrorFromErrno(errno);
    return 0;
}

DWORD OpenError(const OpenRequest& request) {
    if (errno == ENOENT && request.MayCreate())
        return ERROR_PATH_NOT_FOUND;
    return errno == ENOENT ? MissingNameError(request.path) : ErrorFromErrno(errno);
}

std::shared_ptr<Object> OpenPath(const OpenRequest& request) {
    bool existed;
    Descriptor descriptor = OpenDescriptor(request, existed);
    if (!descriptor) {
        SetLastError(OpenError(request));
        return nullptr;
    }
    auto file = std::make_shared<File>(std::move(descriptor), request.access);
    if (const DWORD error = PrepareFile(file->Number(), request)) {
        SetLastError(error);
        return nullptr;
    }
    // Windows reports in this way, and for these two only, whether the file was there before.
    if (request.disposition == CREATE_ALWAYS || request.disposition == OPEN_ALWAYS)
        SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return file;
}

// The new position, or -1 with the last error set.
LONGLONG Seek(const File& file, LONGLONG distance, DWORD method) {
    constexpr int Origins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (method > FILE_END) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    const off_t position = lseek(file.Number(), distance, Origins[method]);
    if (position < 0)
        SetLastError(errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorFromErrno(errno));
    return position;
}

} // namespace

std::shared_ptr<Object> OpenFile(std::string_view name, DWORD access, DWORD share,
                                 DWORD disposition) {
    const OpenRequest request{HostPath(name), access, share, disposition};
    DWORD error = ERROR_SUCCESS;
    if (request.path.empty())
        error = ERROR_PATH_NOT_FOUND;
    else if (!IsValid(request))
        error = ERROR_INVALID_PARAMETER;
    else if (request.MayCreate() && !IsLegalNewName(name))
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

// A size or a position whose low half is 0xFFFFFFFF looks like a failure: callers then ask the last
// error, which means success only where it is cleared.
DWORD WINAPI SetFilePointer(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method) {
    const auto file = FindHandleOf<File>(handle);
    if (!file)
        return INVALID_SET_FILE_POINTER;
    const LONGLONG whole =
        distanceHigh ? (LONGLONG{*distanceHigh} << 32) | static_cast<DWORD>(distance) : distance;
    const LONGLONG position = platform::Seek(*file, whole, method);
    if (position < 0)
        return INVALID_SET_FILE_POINTER;
    if (distanceHigh)
        *distanceHigh = static_cast<LONG>(position >> 32);
    const auto low = static_cast<DWORD>(position);
    if (low == INVALID_SET_FILE_POINTER)
        SetLastError(NO_ERROR);
    return low;
}

LONG WINAPI _llseek(HFILE handle, LONG offset, int origin) {
    const auto number = static_cast<std::uintptr_t>(handle);
    return static_cast<LONG>(SetFilePointer(reinterpret_cast<HANDLE>(number), offset, nullptr,
                                            static_cast<DWORD>(origin)));
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
