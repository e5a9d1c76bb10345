// What the preloaded library and the test that starts a program with it have in common.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace test_support {

// Calls of the system by what they do. Of files and ports those below the watched prefix count, and
// those that a relative path names.
enum class CallKind {
    Open,    // also of folders
    Read,    // from a file, or a folder's entry
    Write,   // to a file; ftruncate, lseek
    Port,    // read and write of a port
    Sync,    // fsync
    Rename,  // also unlink, mkdir
    Close,   //
    Lock,    // flock
    Control, // ioctl and the calls of termios, fcntl, epoll_ctl
    Status,  // stat and its kin, access, statvfs
    Wait,    // epoll_wait, poll
    Socket,  // socket, connect, send, recv
    Memory,  // malloc, and operator new where no sanitizer has its own
    Thread,  // pthread_create
};
constexpr std::size_t CallKinds = 14;

// In place of an error number.
constexpr int KilledAtCall = -1; // by SIGKILL, ahead of the call
constexpr int ShortCall = -2;    // it moves one byte less, or one byte of several

// In a file of its own that both map. The calls of each kind so far, and those that have failed.
struct CallReport {
    std::atomic<std::uint32_t> calls[CallKinds];
    std::atomic<std::uint32_t> failed;
};

// KIND,NUMBER,HOW,PREFIX,REPORT: the kind's position, the first is call 1 and 0 none, an error
// number or one of the above, and the path of the report.
constexpr char FailingCallVariable[] = "FAILING_CALL";

// The same for a test that the library is linked into, and for all paths: from now on its call of
// that number fails; with `instead` that is called ahead of it, on its thread, and the call is
// made. Without a report nothing happens, and nothing is counted. The report outlives the calls; no
// other thread makes one while it changes.
void FailCall(CallReport* report, CallKind kind = {}, unsigned number = 0, int how = 0,
              void (*instead)() = nullptr);

} // namespace test_support
