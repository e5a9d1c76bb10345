// The RAPI connection of this process: how it comes up, how requests share it, how it ends.
#pragma once

#include "platform/kernel/waits.h"
#include "platform/rapi/rapi_socket.h"

#include <rapi_wire.h>
#include <windef.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace platform {

// The event of a session. The first attempt to connect runs at the host's speed, so a wait for the
// event outlasts it, or two seconds of it, at every rate of the layer's clock.
class ConnectionEvent : public Event {
public:
    ConnectionEvent() : Event(false) {}

    HostClock::time_point EarliestTimeout() const override { return attemptEnd_; }
    void BeginAttempt();
    void EndAttempt();

private:
    HostClock::time_point attemptEnd_ = HostClock::time_point::min();
};

// Any thread may call anything; a request that another thread has under way is waited for.
class RapiSession {
public:
    static RapiSession& Instance();

    // The event, signalled once a handheld answers; it is the session's. Returns at once, while a
    // thread goes on trying. On a session that is up already the event stays the same, and a
    // connection that was lost is looked for again. False where the host has no thread left; the
    // event is there all the same, and not signalled: a caller that only waits for it must not take
    // the failure for a handheld that has answered.
    bool Open(HANDLE& event);
    // Ends what requests are under way, which then fail. Harmless on a session that is not up.
    void Close();
    // A handheld has answered, and no request has found it gone since.
    bool IsConnected();

    // What a call's outputs are read with. After it the answer must have been read without an
    // error; false is an answer that makes no sense, which ends the connection.
    using ReadOutputs = std::function<bool(rapi_wire::Reader& outputs)>;
    using IsSuccess = bool (*)(std::uint32_t result);

    // The result of the call, or nothing where there is no answer. Outputs are read only where the
    // call was a success.
    std::optional<std::uint32_t> Call(const rapi_wire::Writer& request, IsSuccess isSuccess,
                                      const ReadOutputs& readOutputs);

private:
    void StartConnecting();
    void StopConnecting();
    void KeepConnecting(const std::string& path);
    bool Connect(const std::string& path);
    bool IsLost();

    Interrupt interrupt_;
    std::mutex lifeLock_;     // one Open or Close at a time
    HANDLE handle_ = nullptr; // of event_
    std::shared_ptr<ConnectionEvent> event_;
    bool started_ = false; // since the last StopConnecting

    std::mutex attemptLock_;
    std::condition_variable attempted_;
    bool connecting_ = false; // the thread that connects is there

    std::mutex socketLock_; // held for a whole request
    std::optional<RapiSocket> socket_;
    bool lost_ = false; // there was a connection, and it failed
};

} // namespace platform
