// A serial port: an exclusively opened tty with the calls that Windows has for it.
#pragma once

#include "platform/base/descriptor.h"
#include "platform/files/file_object.h"
#include "platform/kernel/io_thread.h"
#include "platform/ports/port_requests.h"

#include <commapi.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace platform {

struct PortAccess {
    bool read;
    bool write;
    bool usb; // the driver has requests of its own (usb_requests.cpp)
};

// Any thread may call anything at any time; the calls are those of commapi.h and winbase.h without
// the handle. The tty is non-blocking and stays watched by the I/O thread until it hangs up. After
// that what has arrived can still be read; everything else fails with ERROR_IO_DEVICE.
class Port : public StreamObject,
             public IoThread::Client,
             public std::enable_shared_from_this<Port> {
public:
    // The tty must already have been set to DefaultLine.
    Port(Descriptor tty, PortAccess access);
    ~Port() override;
    // Once, after construction. Throws std::system_error where the host has no resources left.
    void Start();

    void Close() override;
    BOOL Read(void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) override;
    BOOL Write(const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped) override;

    BOOL Wait(DWORD* events, OVERLAPPED* overlapped);
    BOOL SetMask(DWORD events);
    BOOL GetMask(DWORD* events);
    BOOL SetLine(const DCB& line);
    BOOL GetLine(DCB* line);
    BOOL SetTimeouts(const COMMTIMEOUTS& timeouts);
    BOOL GetTimeouts(COMMTIMEOUTS* timeouts);
    BOOL RaiseLine(int line); // TIOCM_DTR or TIOCM_RTS
    BOOL GetQueues(COMSTAT* status);
    void CancelOfThisThread();
    bool HasUsbRequests() const { return access_.usb; }
    // Of the USB driver's requests: a wait may begin, once until what it announces is acknowledged.
    bool MayAnnounce() { return !announced_.exchange(true); }
    void Acknowledge() { announced_ = false; }
    // False, with the last error, once the tty has hung up and all that it brought has been read
    // and reported.
    bool IsPresent();

private:
    void OnReady(std::uint32_t events) override;
    template <class Check, class Begin>
    BOOL Perform(DWORD* done, OVERLAPPED* overlapped, Check check, Begin begin);

    // These run under the lock.
    bool ReadOnce();
    void WriteOnce();
    void Lose();
    void StopWatching();
    void UpdateWatch();

    const PortAccess access_;
    std::atomic<bool> announced_ = false;
    std::mutex lock_; // of all that follows
    Descriptor tty_;
    IoThread::Key key_ = 0;     // 0: not watched
    std::uint32_t watched_ = 0; // epoll events
    bool closed_ = false;
    bool lost_ = false;
    PortRequests requests_;
    DCB line_;
    COMMTIMEOUTS timeouts_ = {};
};

} // namespace platform
