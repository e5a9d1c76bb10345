// Opening the link and the write path.
//
// The port is overlapped so that the receive loop can keep a wait outstanding on the same handle
// while the sender writes. Every call on the handle is started under LinkLock: the pages close the
// port to end an outstanding wait, and a call must not meet a handle that has just been closed.

#include "link/port.h"

#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "link/link_error_pages.h"
#include "state/handles.h"
#include "state/progress_record.h"
#include "state/state.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t MaxWriteSize = 12288;
constexpr DWORD StopCheckMilliseconds = 100;
// A full write takes one second at the slowest, and no flow control delays it. The bootloader's
// dialogue stops its timer while it writes, so without this a device that accepts nothing more
// would never be noticed there. Longer than any stall timer: where one runs, it decides.
constexpr DWORD MaxWriteMilliseconds = 60000;

void ConfigureLine(HANDLE port) {
    DCB line = {};
    line.DCBlength = sizeof(line);
    // Neither result decides anything: the port then runs with what the driver had.
    GetCommState(port, &line);
    line.BaudRate = 115200;
    line.fBinary = 1;
    line.fParity = 1;
    line.fOutxCtsFlow = 0;
    line.fOutxDsrFlow = 0;
    line.fDtrControl = DTR_CONTROL_ENABLE;
    line.fDsrSensitivity = 0;
    line.fTXContinueOnXoff = 1;
    line.fOutX = 0;
    line.fInX = 0;
    line.fErrorChar = 0;
    line.fNull = 0;
    line.fRtsControl = RTS_CONTROL_ENABLE;
    line.fAbortOnError = 0;
    line.ByteSize = 8;
    line.Parity = NOPARITY;
    line.StopBits = ONESTOPBIT;
    SetCommState(port, &line);
    // The handheld's end sees both lines raised before the first byte.
    EscapeCommFunction(port, SETDTR);
    EscapeCommFunction(port, SETRTS);
}

void ReportPortFailure() {
    if (State.Windows.PreparePage)
        EndDialog(State.Windows.PreparePage, 2);
    if (State.Windows.ProgressPage)
        ShowWindow(State.Windows.ProgressPage, SW_HIDE);
    ShowPage(PortErrorPage);
    // A handheld that lost its upgrade in the held-back block and was then reset is on no bus any
    // more, and its port will never open again. The first time the cable may just be out.
    if (!State.Run.SerialLinkSelected && !State.Run.BootloaderResume && NoteClosedPort())
        ShowPage(CommunicationErrorPage);
    PostCloseMainWindow();
}

// Waits for a write that is under way. The record and the data belong to the caller, so this does
// not return before the write is over; a cancelled write is over at once.
void FinishWrite(HANDLE port, OVERLAPPED* overlapped) {
    for (DWORD waited = 0; waited < MaxWriteMilliseconds && !State.Link.StopReceive;
         waited += StopCheckMilliseconds) {
        if (WaitForSingleObject(overlapped->hEvent, StopCheckMilliseconds) != WAIT_TIMEOUT)
            return;
    }
    {
        const std::lock_guard lock(State.Link.LinkLock);
        if (State.Link.LinkHandle == port) // GCOVR_EXCL_BR_LINE: or closed just now, which ends it
            CancelIo(port);
    }
    WaitForSingleObject(overlapped->hEvent, INFINITE);
}

bool WriteOnce(std::span<const std::uint8_t> bytes) {
    const OwnedObject event(CreateEventA(nullptr, TRUE, TRUE, nullptr));
    if (!event)       // GCOVR_EXCL_BR_LINE: Windows may refuse one,
        return false; // GCOVR_EXCL_LINE: platform/ never does
    OVERLAPPED overlapped = {};
    overlapped.hEvent = event.Get();
    const auto length = static_cast<DWORD>(bytes.size());
    HANDLE port = nullptr;
    DWORD written = 0;
    bool started = false;
    bool pending = false;
    {
        const std::lock_guard lock(State.Link.LinkLock);
        port = State.Link.LinkHandle;
        started = port && WriteFile(port, bytes.data(), length, &written, &overlapped);
        pending = port && !started && GetLastError() == ERROR_IO_PENDING;
    }
    if (pending) {
        FinishWrite(port, &overlapped);
        written = static_cast<DWORD>(overlapped.InternalHigh);
    }
    return (started || pending) && written == length;
}

// Bytes that the driver has accepted and not yet sent.
DWORD OutputQueue() {
    const std::lock_guard lock(State.Link.LinkLock);
    DWORD errors = 0;
    COMSTAT status = {};
    if (!State.Link.LinkHandle || !ClearCommError(State.Link.LinkHandle, &errors, &status))
        return 0;
    return status.cbOutQue;
}

} // namespace

void FormatPortName(const char* portName, bool serial, char (&name)[48]) {
    if (!serial) {
        std::snprintf(name, sizeof(name), "\\\\.\\WCEUSBSH001");
        return;
    }
    const int length =
        std::snprintf(name, sizeof(name), "\\\\.\\%s", portName[0] ? portName : "COM1:");
    name[std::min<std::size_t>(static_cast<std::size_t>(length), sizeof(name)) - 1] = '\0';
}

bool OpenLinkPort(const char* portName) {
    char name[48];
    FormatPortName(portName, State.Run.BootloaderResume || State.Run.SerialLinkSelected, name);
    const HANDLE port = CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OVERLAPPED, nullptr);
    if (port == INVALID_HANDLE_VALUE) {
        ReportPortFailure();
        return false;
    }
    ConfigureLine(port);
    const std::lock_guard lock(State.Link.LinkLock);
    State.Link.LinkHandle = port;
    return true;
}

// What comes behind a write that failed would reach the device at the wrong offset.
bool WriteLink(std::span<const std::uint8_t> bytes) {
    while (bytes.size() > MaxWriteSize && !State.Link.StopReceive) {
        if (!WriteOnce(bytes.first(MaxWriteSize)))
            return false;
        bytes = bytes.subspan(MaxWriteSize);
    }
    return !State.Link.StopReceive && WriteOnce(bytes);
}

bool WriteLink(std::string_view bytes) {
    return WriteLink(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

bool WriteLinkNumbers(std::initializer_list<std::uint32_t> numbers) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t number : numbers) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    return WriteLink(bytes);
}

bool AwaitOutputSent() {
    while (!State.Run.TransferAborted && !State.Link.StopReceive) {
        if (OutputQueue() == 0)
            return true;
        Sleep(1);
    }
    return false;
}

void CloseLinkPort() {
    const std::lock_guard lock(State.Link.LinkLock);
    OwnedObject(std::exchange(State.Link.LinkHandle, nullptr)).Close();
}
