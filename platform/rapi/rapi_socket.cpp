// The socket to the handheld: connecting, and one frame out and one in.
//
// Whoever is at the other end may stop answering, close in the middle of a frame or send nonsense.
// So every wait has a deadline, a length is checked before memory is allocated for it, and writing
// to a closed connection raises no signal.

#include "platform/rapi/rapi_socket.h"

#include <rapi_wire.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace platform {
namespace {

constexpr std::size_t LengthField = 4;

// Nearly every answer fits, with its length, and so comes with one call of the host.
constexpr std::size_t ShortAnswer = 256;

// Milliseconds for poll, rounded up so that no wait ends before its time.
int PollTime(HostClock::duration time) {
    const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(time).count();
    return static_cast<int>(std::clamp<std::int64_t>(rounded, 0, 1000000));
}

std::uint32_t ReadLength(const std::vector<std::uint8_t>& frame) {
    return rapi_wire::Reader({frame.begin(), frame.begin() + LengthField}).Number();
}

} // namespace

Interrupt::Interrupt() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_)
        throw std::system_error(errno, std::generic_category());
}

void Interrupt::Raise() const {
    // Cannot fail: the counter is far from full.
    [[maybe_unused]] const int result = eventfd_write(event_.Number(), 1);
}

void Interrupt::Clear() const {
    eventfd_t count = 0;
    // Fails where it was not raised, which is just as well.
    [[maybe_unused]] const int result = eventfd_read(event_.Number(), &count);
}

bool Interrupt::WaitFor(HostClock::duration time) const {
    pollfd raised = {event_.Number(), POLLIN, 0};
    return poll(&raised, 1, PollTime(time)) == 1;
}

std::optional<RapiSocket> RapiSocket::Connect(const std::string& path, const Interrupt& interrupt) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    // Non-blocking: a listener whose queue is full must not hold the caller.
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket ||
        connect(socket.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        return std::nullopt;
    return RapiSocket(std::move(socket), interrupt);
}

RapiSocket::RapiSocket(Descriptor socket, const Interrupt& interrupt)
    : socket_(std::move(socket)), interrupt_(&interrupt) {}

std::optional<std::vector<std::uint8_t>>
RapiSocket::Exchange(const std::vector<std::uint8_t>& request, HostClock::time_point deadline) {
    if (!Send(request, deadline) || !WaitUntilReady(POLLIN, deadline))
        return std::nullopt;
    std::vector<std::uint8_t> answer(ShortAnswer);
    std::size_t have = 0;
    if (!ReceiveUpTo(LengthField, answer, have, deadline))
        return std::nullopt;
    const std::uint32_t length = ReadLength(answer);
    const std::size_t size = LengthField + length;
    if (length > rapi_wire::MaxFrameSize || have > size)
        return std::nullopt;
    answer.resize(size + 1); // a byte too many, which would begin the next answer, is seen
    if (!ReceiveUpTo(size, answer, have, deadline) || have > size)
        return std::nullopt;
    return std::vector(answer.begin() + LengthField, answer.end() - 1);
}

bool RapiSocket::IsQuiet() const {
    std::uint8_t byte = 0;
    return recv(socket_.Number(), &byte, 1, MSG_PEEK) < 0 && (errno == EAGAIN || errno == EINTR);
}

bool RapiSocket::WaitUntilReady(short direction, HostClock::time_point deadline) const {
    for (;;) {
        pollfd waited[] = {{socket_.Number(), direction, 0}, {interrupt_->Number(), POLLIN, 0}};
        const auto left = deadline - HostClock::now();
        const int count = poll(waited, 2, PollTime(left));
        if (waited[1].revents != 0 || (count < 0 && errno != EINTR))
            return false;
        if (count > 0)
            return true;
        if (left <= HostClock::duration::zero())
            return false;
    }
}

bool RapiSocket::Send(const std::vector<std::uint8_t>& bytes,
                      HostClock::time_point deadline) const {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count =
            send(socket_.Number(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if ((errno != EAGAIN && errno != EINTR) || !WaitUntilReady(POLLOUT, deadline))
            return false;
    }
    return true;
}

bool RapiSocket::ReceiveUpTo(std::size_t size, std::vector<std::uint8_t>& bytes, std::size_t& have,
                             HostClock::time_point deadline) const {
    while (have < size) {
        const ssize_t count = recv(socket_.Number(), bytes.data() + have, bytes.size() - have, 0);
        if (count > 0)
            have += static_cast<std::size_t>(count);
        else if (count == 0 || (errno != EAGAIN && errno != EINTR) ||
                 !WaitUntilReady(POLLIN, deadline))
            return false;
    }
    return true;
}

} // namespace platform
