// Serial ports, opened for overlapped calls, and what these need. Layouts and values as in
// Microsoft's winbase.h, commapi.h and ioapiset.h.
//
// Covered: 8 data bits, no parity, one stop bit, no flow control, DTR and RTS raised; reads that
// return at once or wait for all their bytes; the event EV_RXCHAR (a host's tty reports no other,
// so the rest may be asked for but never happens). Settings that the host would not carry out are
// refused with ERROR_INVALID_PARAMETER rather than kept without effect.
#pragma once

#include <winbase.h>

#define NOPARITY 0

#define ONESTOPBIT 0

#define DTR_CONTROL_ENABLE 0x1

#define RTS_CONTROL_ENABLE 0x1

#define EV_RXCHAR 0x1
#define EV_CTS 0x8
#define EV_DSR 0x10
#define EV_RLSD 0x20
#define EV_ERR 0x80
#define EV_RING 0x100

#define SETRTS 3
#define SETDTR 5

#ifndef MAXDWORD
#define MAXDWORD 0xFFFFFFFF
#endif

typedef struct _DCB {
    DWORD DCBlength;
    DWORD BaudRate;
    DWORD fBinary : 1;
    DWORD fParity : 1;
    DWORD fOutxCtsFlow : 1;
    DWORD fOutxDsrFlow : 1;
    DWORD fDtrControl : 2;
    DWORD fDsrSensitivity : 1;
    DWORD fTXContinueOnXoff : 1;
    DWORD fOutX : 1;
    DWORD fInX : 1;
    DWORD fErrorChar : 1;
    DWORD fNull : 1;
    DWORD fRtsControl : 2;
    DWORD fAbortOnError : 1;
    DWORD fDummy2 : 17;
    WORD wReserved;
    WORD XonLim;
    WORD XoffLim;
    BYTE ByteSize;
    BYTE Parity;
    BYTE StopBits;
    char XonChar;
    char XoffChar;
    char ErrorChar;
    char EofChar;
    char EvtChar;
    WORD wReserved1;
} DCB, *LPDCB;
static_assert(sizeof(DCB) == 28);

typedef struct _COMMTIMEOUTS {
    DWORD ReadIntervalTimeout;
    DWORD ReadTotalTimeoutMultiplier;
    DWORD ReadTotalTimeoutConstant;
    DWORD WriteTotalTimeoutMultiplier;
    DWORD WriteTotalTimeoutConstant;
} COMMTIMEOUTS, *LPCOMMTIMEOUTS;

typedef struct _COMSTAT {
    DWORD fCtsHold : 1;
    DWORD fDsrHold : 1;
    DWORD fRlsdHold : 1;
    DWORD fXoffHold : 1;
    DWORD fXoffSent : 1;
    DWORD fEof : 1;
    DWORD fTxim : 1;
    DWORD fReserved : 25;
    DWORD cbInQue;
    DWORD cbOutQue;
} COMSTAT, *LPCOMSTAT;

// A call on a handle that is no open port fails with ERROR_INVALID_HANDLE. Any thread may call.
BOOL WINAPI GetCommState(HANDLE file, LPDCB settings);
BOOL WINAPI SetCommState(HANDLE file, LPDCB settings);
// DTR and RTS. Succeeds without effect on a tty that has no modem lines.
BOOL WINAPI EscapeCommFunction(HANDLE file, DWORD function);

// All read fields 0: a read waits for all its bytes. Interval MAXDWORD and both read totals 0: it
// returns at once with what has arrived, which may be nothing. The write fields are 0.
BOOL WINAPI GetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts);
BOOL WINAPI SetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts);

// A wait that is outstanding completes with no event (0). An event of the new mask that has
// happened and has not been reported stays, others are forgotten.
BOOL WINAPI SetCommMask(HANDLE file, DWORD events);
BOOL WINAPI GetCommMask(HANDLE file, LPDWORD events);

// Reports and forgets the events of the mask that have happened since the last report, or waits for
// the first one. One wait at a time: a second one, or one with an empty mask, fails with
// ERROR_INVALID_PARAMETER. `events` is written by the completion and must live until then; a wait
// that fails leaves it alone.
BOOL WINAPI WaitCommEvent(HANDLE file, LPDWORD events, LPOVERLAPPED overlapped);

// Only the USB serial driver has requests of its own (usb_requests.cpp has them): a port whose
// name is not COM and a number. On another handle, and for another code, it fails with
// ERROR_INVALID_FUNCTION. `returned` may be null.
BOOL WINAPI DeviceIoControl(HANDLE device, DWORD code, LPVOID input, DWORD inputSize, LPVOID output,
                            DWORD outputSize, LPDWORD returned, LPOVERLAPPED overlapped);

// With `wait`, waits for the record's event, which it must have then. False with
// ERROR_IO_INCOMPLETE while the call is under way, and with the call's own error where it failed.
BOOL WINAPI GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD transferred,
                                BOOL wait);

// Errors are always 0. Of the status, which may be null, cbInQue (arrived and not yet read) and
// cbOutQue (accepted and not yet on the wire) are filled in. Fails with ERROR_IO_DEVICE once the
// device has gone.
BOOL WINAPI ClearCommError(HANDLE file, LPDWORD errors, LPCOMSTAT status);

// Completes with ERROR_OPERATION_ABORTED what the calling thread has outstanding on the port.
BOOL WINAPI CancelIo(HANDLE file);
