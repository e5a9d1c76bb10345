// The RAPI session: connecting, calls, and their end.
//
// One thread makes connections, so that a handheld that comes late is found and one that hangs in
// its greeting blocks nobody. A connection that fails in the middle of a request is given up: the
// stream is out of step, and an answer that came late would be taken for that of the next request.

#include "platform/rapi/rapi_session.h"

#include "platform/base/home.h"

#include <cstdint>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>
#include <winbase.h>

#include <algorithm>
#include <chrono>

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr auto RetryInterval = 100ms;
constexpr auto FirstAttemptLimit = 2s;
constexpr DWORD AnswerMilliseconds = 30000;
constexpr HostClock::duration MinAnswerTime = 10s; // however fast the layer's clock runs

HostClock::time_point AnswerDeadline() {
    return HostClock::now() + std::max(HostDuration(AnswerMilliseconds), MinAnswerTime);
}

std::vector<std::uint8_t> Greeting() {
    return rapi_wire::Writer()
        .Number(static_cast<std::uint32_t>(rapi_wire::Operation::Hello))
        .Frame();
}

// Error and result in front of the outputs.
std::optional<std::uint32_t> ReadResult(rapi_wire::Reader& answer) {
    answer.Number(); // the device's last error; callers go by the result
    const std::uint32_t result = answer.Number();
    return answer.Good() ? std::optional(result) : std::nullopt;
}

} // namespace

void ConnectionEvent::BeginAttempt() {
    const std::lock_guard lock(WaitLock());
    attemptEnd_ = HostClock::now() + FirstAttemptLimit;
}

void ConnectionEvent::EndAttempt() {
    const std::lock_guard lock(WaitLock());
    attemptEnd_ = HostClock::time_point::min();
    WaitCondition().notify_all();
}

RapiSession& RapiSession::Instance() {
    static auto& instance = *new RapiSession;
    return instance;
}

bool RapiSession::Open(HANDLE& event) {
    const std::lock_guard lock(lifeLock_);
    if (!handle_) {
        event_ = std::make_shared<ConnectionEvent>();
        handle_ = AddHandle(event_);
    }
    event = handle_;
    if (IsLost()) {
        StopConnecting();
        event_->Reset();
    }
    try {
        if (!started_)
            StartConnecting();
    } catch (const std::system_error&) { // no thread left
        event_->EndAttempt();
    }
    return started_;
}

void RapiSession::Close() {
    const std::lock_guard lock(lifeLock_);
    if (!handle_)
        return;
    StopConnecting();
    CloseHandle(handle_);
    handle_ = nullptr;
}

std::optional<std::uint32_t> RapiSession::Call(const rapi_wire::Writer& request,
                                               IsSuccess isSuccess,
                                               const ReadOutputs& readOutputs) {
    const std::vector<std::uint8_t> frame = request.Frame();
    constexpr std::size_t LengthField = 4;
    if (frame.size() > rapi_wire::MaxFrameSize + LengthField)
        return std::nullopt;
    const std::lock_guard lock(socketLock_);
    if (!socket_)
        return std::nullopt;
    if (auto bytes = socket_->Exchange(frame, AnswerDeadline())) {
        rapi_wire::Reader answer(std::move(*bytes));
        const auto result = ReadResult(answer);
        if (result && (!isSuccess(*result) || (readOutputs(answer) && answer.Good())))
            return result;
    }
    socket_.reset();
    lost_ = true;
    return std::nullopt;
}

bool RapiSession::IsConnected() {
    const std::lock_guard lock(socketLock_);
    return socket_.has_value();
}

void RapiSession::StartConnecting() {
    const std::lock_guard lock(attemptLock_);
    event_->BeginAttempt();
    // On its own, so that a program may end without having closed its session.
    std::thread([this, path = HomePath("rapi.sock")] { KeepConnecting(path); }).detach();
    connecting_ = started_ = true;
}

// Closes the connection too.
void RapiSession::StopConnecting() {
    interrupt_.Raise();
    {
        std::unique_lock lock(attemptLock_);
        attempted_.wait(lock, [this] { return !connecting_; }); // the interrupt ends every attempt
        started_ = false;
    }
    const std::lock_guard lock(socketLock_);
    socket_.reset();
    lost_ = false;
    interrupt_.Clear();
}

void RapiSession::KeepConnecting(const std::string& path) {
    bool connected = false;
    do {
        connected = Connect(path);
        event_->EndAttempt();
    } while (!connected && !interrupt_.WaitFor(RetryInterval));
    const std::lock_guard lock(attemptLock_);
    connecting_ = false;
    attempted_.notify_all();
}

bool RapiSession::Connect(const std::string& path) {
    auto socket = RapiSocket::Connect(path, interrupt_);
    if (!socket)
        return false;
    auto bytes = socket->Exchange(Greeting(), AnswerDeadline());
    if (!bytes)
        return false;
    rapi_wire::Reader answer(std::move(*bytes));
    if (ReadResult(answer) != 1U)
        return false;
    const std::lock_guard lock(socketLock_);
    socket_ = std::move(socket);
    event_->Set();
    return true;
}

bool RapiSession::IsLost() {
    const std::lock_guard lock(socketLock_);
    return lost_ || (socket_ && !socket_->IsQuiet());
}

} // namespace platform
