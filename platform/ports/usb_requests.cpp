// The requests of the USB serial driver. It has no SetCommMask and WaitCommEvent of its own, but
// three requests of the serial device type, buffered, with any access: to install an event mask, to
// wait for an event of it, and to acknowledge that what an event announced has been read, without
// which it announces nothing more.
//
// All three fail once the device has left the bus and what it brought has been read: that is how a
// program of this driver learns of it.

#include "platform/ports/port.h"

#include <algorithm>
#include <iterator>

using platform::FindHandleOf;
using platform::Port;

namespace {

struct Buffers {
    const DWORD* input;
    DWORD* output;
    OVERLAPPED* overlapped;
};

struct Request {
    DWORD code;
    DWORD inputSize;
    DWORD outputSize;
    bool (*perform)(Port& port, const Buffers& buffers);
};

// Those without a record are over when they return, also on a handle for overlapped calls.
constexpr Request Requests[] = {
    {0x1B0028, sizeof(DWORD), 0,
     [](Port& port, const Buffers& buffers) {
         return port.IsPresent() && port.SetMask(*buffers.input) != FALSE;
     }},
    {0x1B002C, 0, sizeof(DWORD),
     [](Port& port, const Buffers& buffers) {
         if (!port.MayAnnounce()) {
             SetLastError(ERROR_BUSY);
             return false;
         }
         return port.Wait(buffers.output, buffers.overlapped) != FALSE;
     }},
    {0x1B0030, sizeof(DWORD), 0,
     [](Port& port, const Buffers&) {
         port.Acknowledge();
         return port.IsPresent();
     }},
};

bool AreValid(const Request& request, const Buffers& buffers, DWORD inputSize, DWORD outputSize) {
    return inputSize >= request.inputSize && outputSize >= request.outputSize &&
           (buffers.input || request.inputSize == 0) && (buffers.output || request.outputSize == 0);
}

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

} // namespace

BOOL WINAPI DeviceIoControl(HANDLE device, DWORD code, LPVOID input, DWORD inputSize, LPVOID output,
                            DWORD outputSize, LPDWORD returned, LPOVERLAPPED overlapped) {
    const auto stream = FindHandleOf<platform::StreamObject>(device);
    if (!stream)
        return FALSE;
    const auto port = std::dynamic_pointer_cast<Port>(stream);
    const auto request = std::ranges::find(Requests, code, &Request::code);
    if (!port || !port->HasUsbRequests() || request == std::end(Requests))
        return Fail(ERROR_INVALID_FUNCTION);
    const Buffers buffers = {static_cast<const DWORD*>(input), static_cast<DWORD*>(output),
                             overlapped};
    if (!AreValid(*request, buffers, inputSize, outputSize))
        return Fail(ERROR_INVALID_PARAMETER);
    const bool done = request->perform(*port, buffers);
    if (done && returned)
        *returned = request->outputSize;
    return done;
}
