// One connection to whoever answers for the handheld: frames out and in.
#pragma once

#include "platform/base/clock.h"
#include "platform/base/descriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// A switch that ends waits on other threads, now and later, until it is put back.
class Interrupt {
public:
    Interrupt();
    void Raise() const;
    void Clear() const;
    // True when raised; waits for that until the time has passed.
    bool WaitFor(HostClock::duration time) const;
    int Number() const { return event_.Number(); }

private:
    Descriptor event_; // readable while raised
};

// Used by one thread at a time. After a failure the stream is out of step and the socket is good
// for nothing any more. The interrupt ends every wait and outlives the socket.
class RapiSocket {
public:
    // Null, with nothing left behind, where nobody answers at the path.
    static std::optional<RapiSocket> Connect(const std::string& path, const Interrupt& interrupt);

    // Sends the request, which has its length in front, and gives the answer without its length, as
    // rapi_wire::Reader reads it. Nothing at the deadline, at the end of the connection, for an
    // answer over rapi_wire::MaxFrameSize, and for one with more bytes behind it.
    std::optional<std::vector<std::uint8_t>> Exchange(const std::vector<std::uint8_t>& request,
                                                      HostClock::time_point deadline);

    // False once the other end has closed, or has sent something without a request.
    bool IsQuiet() const;

private:
    RapiSocket(Descriptor socket, const Interrupt& interrupt);
    bool WaitUntilReady(short direction, HostClock::time_point deadline) const;
    bool Send(const std::vector<std::uint8_t>& bytes, HostClock::time_point deadline) const;
    // Reads what has come into `bytes`, whose size is the limit, until `have` is at least `size`.
    bool ReceiveUpTo(std::size_t size, std::vector<std::uint8_t>& bytes, std::size_t& have,
                     HostClock::time_point deadline) const;

    Descriptor socket_;
    const Interrupt* interrupt_;
};

} // namespace platform
