// A port: calls come in on the program's threads, the I/O thread moves the bytes.
//
// Bytes are read from the tty as they come and kept in a queue of the driver's size, so that an
// event is known before anybody reads; a full queue leaves the rest in the tty, where the sender is
// held back. A tty that has hung up stays ready for ever and must leave the I/O thread at once.

#include "platform/ports/port.h"

#include "platform/ports/line_settings.h"
#include "platform/ports/tty.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {
namespace {

bool Fail(DWORD error) {
    SetLastError(error);
    return false;
}

bool FinishCall(const OVERLAPPED& record, DWORD* done) {
    if (done)
        *done = static_cast<DWORD>(record.InternalHigh);
    const DWORD error = CompletionError(record);
    return error == ERROR_SUCCESS || Fail(error);
}

bool ReturnsAtOnce(const COMMTIMEOUTS& timeouts) {
    return timeouts.ReadIntervalTimeout == MAXDWORD;
}

bool IsOfferedLimit(const COMMTIMEOUTS& timeouts) {
    return (timeouts.ReadIntervalTimeout == 0 || timeouts.ReadIntervalTimeout == MAXDWORD) &&
           timeouts.ReadTotalTimeoutMultiplier == 0 && timeouts.ReadTotalTimeoutConstant == 0 &&
           timeouts.WriteTotalTimeoutMultiplier == 0 && timeouts.WriteTotalTimeoutConstant == 0;
}

} // namespace

Port::Port(Descriptor tty, PortAccess access)
    : access_(access), tty_(std::move(tty)), line_(DefaultLine()) {}

Port::~Port() { Port::Close(); }

void Port::Start() {
    const std::lock_guard lock(lock_);
    key_ = IoThread::Instance().Add(tty_.Number(), weak_from_this());
    UpdateWatch();
}

void Port::Close() {
    Descriptor tty;
    {
        const std::lock_guard lock(lock_);
        if (std::exchange(closed_, true))
            return;
        StopWatching();
        requests_.EndAll(ERROR_OPERATION_ABORTED);
        tty = std::move(tty_);
    }
    ReleaseTty(std::move(tty));
}

template <class Check, class Begin>
BOOL Port::Perform(DWORD* done, OVERLAPPED* overlapped, Check check, Begin begin) {
    if (done)
        *done = 0;
    if (!overlapped)
        return Fail(ERROR_INVALID_PARAMETER);
    auto event = FindHandleOf<Event>(overlapped->hEvent);
    if (!event)
        return FALSE;
    const std::lock_guard lock(lock_);
    const DWORD error = closed_ ? ERROR_INVALID_HANDLE : check();
    if (error != ERROR_SUCCESS)
        return Fail(error);
    begin(OverlappedCall(overlapped, std::move(event)));
    if (lost_)
        requests_.EndOfRecord(overlapped, ERROR_IO_DEVICE);
    UpdateWatch();
    return IsPending(*overlapped) ? Fail(ERROR_IO_PENDING) : FinishCall(*overlapped, done);
}

BOOL Port::Read(void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!access_.read)
        return Fail(ERROR_ACCESS_DENIED);
    const auto check = [this]() -> DWORD {
        return lost_ && !requests_.HasInput() ? ERROR_IO_DEVICE : ERROR_SUCCESS;
    };
    return Perform(done, overlapped, check, [&](OverlappedCall call) {
        requests_.AddRead(std::move(call), {static_cast<std::uint8_t*>(buffer), count},
                          ReturnsAtOnce(timeouts_));
    });
}

BOOL Port::Write(const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!access_.write)
        return Fail(ERROR_ACCESS_DENIED);
    const auto check = [this]() -> DWORD { return lost_ ? ERROR_IO_DEVICE : ERROR_SUCCESS; };
    return Perform(done, overlapped, check, [&](OverlappedCall call) {
        requests_.AddWrite(std::move(call), {static_cast<const std::uint8_t*>(data), count});
    });
}

BOOL Port::Wait(DWORD* events, OVERLAPPED* overlapped) {
    const auto check = [this]() -> DWORD {
        if (!requests_.CanWait())
            return ERROR_INVALID_PARAMETER;
        return lost_ && !requests_.HasHistory() ? ERROR_IO_DEVICE : ERROR_SUCCESS;
    };
    return Perform(nullptr, overlapped, check,
                   [&](OverlappedCall call) { requests_.AddWait(std::move(call), events); });
}

BOOL Port::SetMask(DWORD events) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    requests_.SetMask(events);
    return TRUE;
}

BOOL Port::GetMask(DWORD* events) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    *events = requests_.Mask();
    return TRUE;
}

BOOL Port::SetLine(const DCB& line) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    if (!IsOffered(line))
        return Fail(ERROR_INVALID_PARAMETER);
    if (!ApplyLine(tty_.Number(), line))
        return Fail(ERROR_IO_DEVICE);
    line_ = line;
    line_.DCBlength = sizeof(line_);
    return TRUE;
}

BOOL Port::GetLine(DCB* line) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    *line = line_;
    return TRUE;
}

BOOL Port::SetTimeouts(const COMMTIMEOUTS& timeouts) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    if (!IsOfferedLimit(timeouts))
        return Fail(ERROR_INVALID_PARAMETER);
    timeouts_ = timeouts;
    return TRUE;
}

BOOL Port::GetTimeouts(COMMTIMEOUTS* timeouts) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    *timeouts = timeouts_;
    return TRUE;
}

BOOL Port::RaiseLine(int line) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    return platform::RaiseLine(tty_.Number(), line) || Fail(ERROR_IO_DEVICE);
}

// What a caller has handed over waits here first, and then in the tty.
BOOL Port::GetQueues(COMSTAT* status) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    int inTty = 0;
    if (lost_ || ioctl(tty_.Number(), TIOCOUTQ, &inTty) != 0)
        return Fail(ERROR_IO_DEVICE);
    status->cbInQue = static_cast<DWORD>(requests_.InputSize());
    status->cbOutQue = static_cast<DWORD>(requests_.OutputSize()) + static_cast<DWORD>(inTty);
    return TRUE;
}

void Port::CancelOfThisThread() {
    const std::lock_guard lock(lock_);
    requests_.EndOfThread(GetCurrentThreadId(), ERROR_OPERATION_ABORTED);
    UpdateWatch();
}

bool Port::IsPresent() {
    const std::lock_guard lock(lock_);
    if (closed_)
        return Fail(ERROR_INVALID_HANDLE);
    return !lost_ || requests_.HasInput() || requests_.HasHistory() || Fail(ERROR_IO_DEVICE);
}

void Port::OnReady(std::uint32_t events) {
    const std::lock_guard lock(lock_);
    const bool hungUp = (events & (EPOLLHUP | EPOLLERR)) != 0;
    bool more = key_ != 0 && (hungUp || (events & EPOLLIN) != 0);
    do {
        more = more && ReadOnce();
    } while (hungUp && more);
    if (events & EPOLLOUT)
        WriteOnce();
    if (hungUp)
        Lose();
    UpdateWatch();
}

// True when bytes have come. A tty that has nothing gives EAGAIN; the end of file and every other
// error mean that it is gone.
bool Port::ReadOnce() {
    std::array<std::uint8_t, PortRequests::InputQueueSize> bytes;
    const std::size_t capacity = requests_.FreeInputCapacity();
    if (key_ == 0 || capacity == 0)
        return false;
    const ssize_t count = read(tty_.Number(), bytes.data(), capacity);
    if (count > 0)
        requests_.AddInput({bytes.data(), static_cast<std::size_t>(count)});
    else if (count == 0 || (errno != EAGAIN && errno != EINTR))
        Lose();
    return count > 0;
}

void Port::WriteOnce() {
    if (key_ == 0 || !requests_.HasOutput())
        return;
    const auto bytes = requests_.NextOutput();
    const ssize_t count = write(tty_.Number(), bytes.data(), bytes.size());
    if (count >= 0)
        requests_.MarkSent(static_cast<std::size_t>(count));
    else if (errno != EAGAIN && errno != EINTR)
        Lose();
}

void Port::Lose() {
    if (key_ == 0)
        return;
    lost_ = true;
    StopWatching();
    requests_.EndAll(ERROR_IO_DEVICE);
}

void Port::StopWatching() {
    if (key_ != 0)
        IoThread::Instance().Remove(tty_.Number(), std::exchange(key_, 0));
}

void Port::UpdateWatch() {
    const std::uint32_t wanted = (requests_.FreeInputCapacity() > 0 ? std::uint32_t{EPOLLIN} : 0) |
                                 (requests_.HasOutput() ? std::uint32_t{EPOLLOUT} : 0);
    if (key_ != 0 && wanted != std::exchange(watched_, wanted))
        IoThread::Instance().Watch(tty_.Number(), key_, wanted);
}

} // namespace platform
