// Preloaded into a program, this makes one of its calls of the system fail, and counts all of them.
//
// It stands between the program, with its C++ library, and the C library. What the C library calls
// inside itself does not pass here, so each function is here by which the program reaches the
// system. Nothing here allocates memory: malloc is one of the calls.

#include "testing/preload/call_report.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <termios.h>
#include <unistd.h>

namespace {

using namespace test_support;

constexpr int MaxDescriptors = 4096;

std::atomic<CallReport*> report; // none until the program's own code is about to run
int failingKind, how;
unsigned failingNumber;
void (*inPlaceOfFailure)();
char prefix[256];
enum class Watched : unsigned char { No, File, Port };
std::atomic<Watched> watched[MaxDescriptors];

// Its children run without it.
__attribute__((constructor)) void Begin() {
    const char* const setting = getenv(FailingCallVariable);
    char path[256] = "";
    if (!setting || sscanf(setting, "%d,%u,%d,%255[^,],%255s", &failingKind, &failingNumber, &how,
                           prefix, path) != 5)
        return;
    const int file = open(path, O_RDWR | O_CLOEXEC);
    void* const memory =
        mmap(nullptr, sizeof(CallReport), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    unsetenv("LD_PRELOAD");
    unsetenv(FailingCallVariable);
    if (memory != MAP_FAILED)
        report = static_cast<CallReport*>(memory);
}

enum class Verdict { Pass, Fail, Short };

Verdict Judge(CallKind kind) {
    CallReport* const calls = report;
    if (!calls)
        return Verdict::Pass;
    const unsigned number = ++calls->calls[static_cast<int>(kind)];
    if (static_cast<int>(kind) != failingKind || number != failingNumber)
        return Verdict::Pass;
    ++calls->failed;
    if (inPlaceOfFailure)
        return inPlaceOfFailure(), Verdict::Pass;
    if (how == KilledAtCall)
        kill(getpid(), SIGKILL);
    if (how == ShortCall)
        return Verdict::Short;
    errno = how;
    return Verdict::Fail;
}

bool Fails(CallKind kind) { return Judge(kind) == Verdict::Fail; }

bool IsWatched(const char* path) {
    return path[0] != '/' || strncmp(path, prefix, strlen(prefix)) == 0;
}

Watched WatchOf(int file) {
    return file >= 0 && file < MaxDescriptors ? watched[file].load() : Watched::No;
}

bool IsWatched(int file) { return WatchOf(file) != Watched::No; }

int Watch(int file, const char* path) {
    if (file >= 0 && file < MaxDescriptors && IsWatched(path))
        watched[file] = strstr(path, "/ports/") ? Watched::Port : Watched::File;
    return file;
}

template <class Move>
ssize_t MoveBytes(CallKind kind, bool counts, size_t size, Move move) {
    const Verdict verdict = counts ? Judge(kind) : Verdict::Pass;
    if (verdict == Verdict::Fail)
        return -1;
    return move(verdict == Verdict::Short && size > 1 ? size / 2 : size);
}

template <class Move>
ssize_t MoveBytesOf(int file, CallKind kind, size_t size, Move move) {
    const Watched watch = WatchOf(file);
    return MoveBytes(watch == Watched::Port ? CallKind::Port : kind, watch != Watched::No, size,
                     move);
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): names, types and parameter lists take none.
// The function behind this one, looked up once.
#define NEXT(name)                                                                                 \
    ([] {                                                                                          \
        static std::atomic<void*> found;                                                           \
        if (!found)                                                                                \
            found = dlsym(RTLD_NEXT, #name);                                                       \
        return reinterpret_cast<decltype(&name)>(found.load());                                    \
    }())

// A function that fails as a whole, with this result.
#define FAILING(result, name, parameters, arguments, kind, counts, failure)                        \
    result name parameters {                                                                       \
        if ((counts) && Fails(CallKind::kind))                                                     \
            return failure;                                                                        \
        return NEXT(name) arguments;                                                               \
    }

// NOLINTEND(bugprone-macro-parentheses)

extern "C" {

int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(more, mode_t) : 0;
    va_end(more);
    if (IsWatched(path) && Fails(CallKind::Open))
        return -1;
    return Watch(NEXT(open)(path, flags, mode), path);
}

int fcntl(int file, int command, ...) {
    va_list more;
    va_start(more, command);
    void* const argument = va_arg(more, void*);
    va_end(more);
    if (IsWatched(file) && Fails(CallKind::Control))
        return -1;
    return NEXT(fcntl)(file, command, argument);
}

int ioctl(int file, unsigned long request, ...) noexcept {
    va_list more;
    va_start(more, request);
    void* const argument = va_arg(more, void*);
    va_end(more);
    if (IsWatched(file) && Fails(CallKind::Control))
        return -1;
    return NEXT(ioctl)(file, request, argument);
}

// The descriptor is gone even where its close fails, as on Linux.
int close(int file) {
    const bool failed = IsWatched(file) && Fails(CallKind::Close);
    const int error = errno;
    if (IsWatched(file))
        watched[file] = Watched::No;
    const int result = NEXT(close)(file);
    if (!failed)
        return result;
    errno = error;
    return -1;
}

ssize_t read(int file, void* bytes, size_t size) {
    return MoveBytesOf(file, CallKind::Read, size,
                       [=](size_t part) { return NEXT(read)(file, bytes, part); });
}
ssize_t pread(int file, void* bytes, size_t size, off_t at) {
    return MoveBytesOf(file, CallKind::Read, size,
                       [=](size_t part) { return NEXT(pread)(file, bytes, part, at); });
}
ssize_t write(int file, const void* bytes, size_t size) {
    return MoveBytesOf(file, CallKind::Write, size,
                       [=](size_t part) { return NEXT(write)(file, bytes, part); });
}
ssize_t pwrite(int file, const void* bytes, size_t size, off_t at) {
    return MoveBytesOf(file, CallKind::Write, size,
                       [=](size_t part) { return NEXT(pwrite)(file, bytes, part, at); });
}
ssize_t recv(int file, void* bytes, size_t size, int flags) {
    return MoveBytes(CallKind::Socket, true, size,
                     [=](size_t part) { return NEXT(recv)(file, bytes, part, flags); });
}
ssize_t send(int file, const void* bytes, size_t size, int flags) {
    return MoveBytes(CallKind::Socket, true, size,
                     [=](size_t part) { return NEXT(send)(file, bytes, part, flags); });
}

FAILING(DIR*, opendir, (const char* path), (path), Open, IsWatched(path), nullptr)
FAILING(dirent*, readdir, (DIR * folder), (folder), Read, true, nullptr)
FAILING(int, ftruncate, (int file, off_t size) noexcept, (file, size), Write, IsWatched(file), -1)
FAILING(off_t, lseek, (int file, off_t at, int from) noexcept, (file, at, from), Write,
        IsWatched(file), -1)
FAILING(int, fsync, (int file), (file), Sync, IsWatched(file), -1)
FAILING(int, rename, (const char* from, const char* to) noexcept, (from, to), Rename,
        IsWatched(from), -1)
FAILING(int, unlink, (const char* path) noexcept, (path), Rename, IsWatched(path), -1)
FAILING(int, mkdir, (const char* path, mode_t mode) noexcept, (path, mode), Rename, IsWatched(path),
        -1)
FAILING(int, flock, (int file, int operation) noexcept, (file, operation), Lock, IsWatched(file),
        -1)
FAILING(int, isatty, (int file) noexcept, (file), Control, IsWatched(file), 0)
FAILING(int, tcgetattr, (int file, termios* settings) noexcept, (file, settings), Control,
        IsWatched(file), -1)
FAILING(int, tcsetattr, (int file, int when, const termios* settings) noexcept,
        (file, when, settings), Control, IsWatched(file), -1)
FAILING(int, tcflush, (int file, int queue) noexcept, (file, queue), Control, IsWatched(file), -1)
FAILING(int, epoll_ctl, (int set, int operation, int file, epoll_event* event) noexcept,
        (set, operation, file, event), Control, IsWatched(file), -1)
FAILING(int, stat, (const char* path, struct stat* status) noexcept, (path, status), Status,
        IsWatched(path), -1)
FAILING(int, lstat, (const char* path, struct stat* status) noexcept, (path, status), Status,
        IsWatched(path), -1)
FAILING(int, fstat, (int file, struct stat* status) noexcept, (file, status), Status,
        IsWatched(file), -1)
FAILING(int, access, (const char* path, int mode) noexcept, (path, mode), Status, IsWatched(path),
        -1)
FAILING(int, statvfs, (const char* path, struct statvfs* status) noexcept, (path, status), Status,
        IsWatched(path), -1)
FAILING(int, epoll_wait, (int set, epoll_event* events, int size, int limit),
        (set, events, size, limit), Wait, true, -1)
FAILING(int, poll, (pollfd * files, nfds_t size, int limit), (files, size, limit), Wait, true, -1)
FAILING(int, socket, (int domain, int type, int protocol) noexcept, (domain, type, protocol),
        Socket, true, -1)
FAILING(int, connect, (int file, const sockaddr* address, socklen_t size), (file, address, size),
        Socket, true, -1)
FAILING(int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*body)(void*),
         void* argument) noexcept,
        (thread, attributes, body, argument), Thread, true, EAGAIN)
FAILING(void*, malloc, (size_t size) noexcept, (size), Memory, true, nullptr)
}

void test_support::FailCall(CallReport* calls, CallKind kind, unsigned number, int error,
                            void (*instead)()) {
    failingKind = static_cast<int>(kind);
    failingNumber = number;
    how = error;
    inPlaceOfFailure = instead;
    report = calls;
}
