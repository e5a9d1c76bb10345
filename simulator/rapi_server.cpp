// Connections and frames of RAPI at the cradle's socket.

#include "simulator/rapi_server.h"

#include "simulator/device_errors.h"
#include "simulator/local_socket.h"

#include <cerrno>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr std::size_t ReadSize = 0x10000;

} // namespace

RapiServer::RapiServer(EventLoop& loop, std::filesystem::path socket, RapiDevice device,
                       const Report& report, std::function<bool()> isOver)
    : loop_(loop), path_(std::move(socket)), device_(device), report_(report),
      isOver_(std::move(isOver)), listener_(ListenAt(path_, SOCK_NONBLOCK)) {
    loop_.Watch(listener_.Number(), [this] { Accept(); });
}

RapiServer::~RapiServer() { Stop(); }

void RapiServer::Stop() {
    if (!listener_)
        return;
    // The listener first: a client that sees its connection end can then not connect again.
    loop_.Unwatch(listener_.Number());
    listener_ = Descriptor();
    unlink(path_.c_str());
    while (!connections_.empty())
        Close(connections_.begin()->first);
}

void RapiServer::Accept() {
    const int descriptor =
        accept4(listener_.Number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (descriptor < 0)
        return;
    connections_[descriptor].socket = Descriptor(descriptor);
    loop_.Watch(descriptor, [this, descriptor] { Receive(descriptor); });
}

void RapiServer::Receive(int descriptor) {
    Connection& connection = connections_.at(descriptor);
    const std::size_t old = connection.received.size();
    connection.received.resize(old + ReadSize);
    const ssize_t count = recv(descriptor, connection.received.data() + old, ReadSize, 0);
    connection.received.resize(old + (count > 0 ? static_cast<std::size_t>(count) : 0));
    if (count > 0)
        Continue(descriptor);
    else if (count == 0 || (errno != EAGAIN && errno != EINTR))
        Close(descriptor);
}

void RapiServer::Continue(int descriptor) {
    Connection& connection = connections_.at(descriptor);
    if (!SendUnsent(connection) || !Serve(connection))
        Close(descriptor);
    else if (connection.unsent.empty())
        loop_.Watch(descriptor, [this, descriptor] { Receive(descriptor); });
    else
        loop_.WatchWritable(descriptor, [this, descriptor] { Continue(descriptor); });
    if (isOver_())
        Stop();
}

bool RapiServer::SendUnsent(Connection& connection) {
    Bytes& unsent = connection.unsent;
    while (!unsent.empty()) {
        const ssize_t sent =
            send(connection.socket.Number(), unsent.data(), unsent.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return errno == EAGAIN;
        if (sent > 0)
            unsent.erase(unsent.begin(), unsent.begin() + sent);
    }
    return !connection.ending;
}

bool RapiServer::Serve(Connection& connection) {
    Bytes& received = connection.received;
    while (connection.unsent.empty() && received.size() >= FrameLengthSize) {
        const std::size_t length =
            rapi_wire::Reader({received.begin(), received.begin() + FrameLengthSize}).Number();
        if (length > rapi_wire::MaxFrameSize) {
            report_.PrintRefusal("RAPI: a frame of " + std::to_string(length) + " bytes");
            return false;
        }
        if (received.size() < FrameLengthSize + length)
            return true;
        const auto begin = received.begin() + FrameLengthSize;
        Bytes frame(begin, begin + static_cast<std::ptrdiff_t>(length));
        received.erase(received.begin(), begin + static_cast<std::ptrdiff_t>(length));
        if (!AnswerRequest(connection, std::move(frame)))
            return false;
    }
    return true;
}

bool RapiServer::AnswerRequest(Connection& connection, Bytes requested) {
    const auto request = ReadRequest(device_, connection.session, std::move(requested));
    if (!request) {
        report_.PrintRefusal("RAPI: a frame that is no request");
        return false;
    }
    if (isOver_())
        return false;
    const bool drop = ShouldDrop(*request);
    if (drop)
        report_.Print("fault: connection dropped at " + request->line);
    if (drop && !device_.faults.dropRapiHalfway)
        return false;
    RapiAnswer answer;
    // First, so that the lines of what the call does come below it.
    const std::string gap = request->details.empty() ? "" : "  ";
    report_.Print("RAPI " + request->line + gap + request->details);
    if (!device_.faults.refusedCall.empty() && request->line == device_.faults.refusedCall) {
        answer.error = error::AccessDenied;
        answer.result = request->failure;
    } else {
        request->execute(answer);
    }
    if (answer.error != error::Success)
        report_.Print("RAPI   error " + std::to_string(answer.error));
    connection.unsent = answer.Frame();
    if (drop)
        connection.unsent.resize(connection.unsent.size() / 2);
    connection.ending = drop;
    return SendUnsent(connection);
}

bool RapiServer::ShouldDrop(const RapiRequest& request) {
    const bool met = !device_.faults.dropRapiAt.empty() &&
                     request.line.find(device_.faults.dropRapiAt) != std::string::npos;
    return met && dropped_++ == device_.faults.dropRapiAfter;
}

void RapiServer::Close(int descriptor) {
    loop_.Unwatch(descriptor);
    RapiSession& session = connections_.at(descriptor).session;
    const std::size_t open = session.handles.size() + session.keys.size();
    const std::string left = " with " + std::to_string(open) + " handles open";
    report_.Print("RAPI connection ended" + (open > 0 ? left : ""));
    CloseAll(device_, session);
    connections_.erase(descriptor);
}

} // namespace simulator
