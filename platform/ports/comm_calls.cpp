// The calls of commapi.h: from a handle to the port behind it.

#include <commapi.h>

#include "platform/ports/port.h"

#include <sys/ioctl.h>
#include <termios.h>

using platform::FindHandleOf;
using platform::Port;

BOOL WINAPI GetCommState(HANDLE file, LPDCB settings) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->GetLine(settings);
}

BOOL WINAPI SetCommState(HANDLE file, LPDCB settings) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->SetLine(*settings);
}

BOOL WINAPI EscapeCommFunction(HANDLE file, DWORD function) {
    const auto port = FindHandleOf<Port>(file);
    if (!port)
        return FALSE;
    if (function == SETDTR || function == SETRTS)
        return port->RaiseLine(function == SETDTR ? TIOCM_DTR : TIOCM_RTS);
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

BOOL WINAPI GetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->GetTimeouts(timeouts);
}

BOOL WINAPI SetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->SetTimeouts(*timeouts);
}

BOOL WINAPI SetCommMask(HANDLE file, DWORD events) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->SetMask(events);
}

BOOL WINAPI GetCommMask(HANDLE file, LPDWORD events) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->GetMask(events);
}

BOOL WINAPI WaitCommEvent(HANDLE file, LPDWORD events, LPOVERLAPPED overlapped) {
    const auto port = FindHandleOf<Port>(file);
    return port && port->Wait(events, overlapped);
}

BOOL WINAPI ClearCommError(HANDLE file, LPDWORD errors, LPCOMSTAT status) {
    const auto port = FindHandleOf<Port>(file);
    if (!port)
        return FALSE;
    COMSTAT queues = {};
    if (!port->GetQueues(&queues))
        return FALSE;
    if (errors)
        *errors = 0;
    if (status)
        *status = queues;
    return TRUE;
}

BOOL WINAPI CancelIo(HANDLE file) {
    const auto port = FindHandleOf<Port>(file);
    if (port)
        port->CancelOfThisThread();
    return port != nullptr;
}
