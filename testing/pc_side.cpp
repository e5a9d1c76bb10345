// The PC's end of the cable on a tty, and RAPI requests over the cradle's socket.

#include "testing/pc_side.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

namespace test_support {

namespace {

constexpr int LimitMilliseconds = 60000;

void AwaitReady(int descriptor, short events) {
    pollfd ready = {descriptor, events, 0};
    if (poll(&ready, 1, LimitMilliseconds) != 1)
        throw std::runtime_error("nothing comes from the handheld");
}

} // namespace

LinkEnd::LinkEnd(const TestHome& home, const std::string& port)
    : port_(open((home.Home() / "ports" / port).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    termios settings = {};
    if (port_ < 0 || tcgetattr(port_, &settings) != 0)
        throw std::runtime_error("cannot open " + port);
    cfmakeraw(&settings);
    tcsetattr(port_, TCSANOW, &settings);
}

LinkEnd::~LinkEnd() { close(port_); }

void LinkEnd::Write(const ByteList& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        AwaitReady(port_, POLLOUT);
        // No more than fits, so that a handheld that reads nothing blocks nobody.
        const ssize_t count =
            write(port_, bytes.data() + at, std::min<std::size_t>(1024, bytes.size() - at));
        if (count <= 0)
            throw std::runtime_error("cannot write to the link");
        at += static_cast<std::size_t>(count);
    }
}

ByteList LinkEnd::Read(std::size_t count) {
    ByteList bytes(count);
    for (std::size_t at = 0; at < count;) {
        AwaitReady(port_, POLLIN);
        const ssize_t got = read(port_, bytes.data() + at, count - at);
        if (got <= 0)
            throw std::runtime_error("the link has gone");
        at += static_cast<std::size_t>(got);
    }
    return bytes;
}

bool LinkEnd::HasBytes() const {
    pollfd ready = {port_, POLLIN, 0};
    return poll(&ready, 1, 0) == 1;
}

RapiClient::RapiClient(const TestHome& home, const std::string& socketName)
    : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = (home.Home() / socketName).string();
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        close(socket_);
        throw std::runtime_error("nobody answers at " + path);
    }
}

RapiClient::~RapiClient() { close(socket_); }

bool RapiClient::Ended() {
    char byte = 0;
    AwaitReady(socket_, POLLIN);
    return recv(socket_, &byte, 1, MSG_PEEK) <= 0;
}

ByteList RapiClient::ReceiveFrame() {
    const auto receive = [this](std::size_t count) {
        ByteList bytes(count);
        for (std::size_t at = 0; at < count;) {
            AwaitReady(socket_, POLLIN);
            const ssize_t got = recv(socket_, bytes.data() + at, count - at, 0);
            if (got <= 0)
                throw std::runtime_error("the RAPI connection has ended");
            at += static_cast<std::size_t>(got);
        }
        return bytes;
    };
    return receive(rapi_wire::Reader(receive(4)).Number());
}

RapiClient::Reply RapiClient::Call(rapi_wire::Operation operation,
                                   const rapi_wire::Writer& arguments) {
    const ByteList tail = arguments.Frame();
    ByteList frame = rapi_wire::Writer()
                         .Number(static_cast<std::uint32_t>(tail.size()))
                         .Number(static_cast<std::uint32_t>(operation))
                         .Frame();
    frame.erase(frame.begin(), frame.begin() + 4);
    frame.insert(frame.end(), tail.begin() + 4, tail.end());
    send(socket_, frame.data(), frame.size(), MSG_NOSIGNAL);
    Reply reply;
    reply.outputs = rapi_wire::Reader(ReceiveFrame());
    reply.error = reply.outputs.Number();
    reply.result = reply.outputs.Number();
    return reply;
}

std::uint32_t RapiClient::CreateFile(std::u16string_view path, std::uint32_t access,
                                     std::uint32_t share, std::uint32_t disposition,
                                     std::uint32_t attributes, std::uint32_t* handle) {
    const Reply reply = Call(rapi_wire::Operation::CreateFile, rapi_wire::Writer()
                                                                   .Text(path)
                                                                   .Number(access)
                                                                   .Number(share)
                                                                   .Number(disposition)
                                                                   .Number(attributes));
    if (handle)
        *handle = reply.result;
    else if (reply.error == 0)
        CloseHandle(reply.result);
    return reply.error;
}

void RapiClient::CloseHandle(std::uint32_t handle) {
    Call(rapi_wire::Operation::CloseHandle, rapi_wire::Writer().Number(handle));
}

std::uint32_t RapiClient::Push(std::u16string_view path, const ByteList& content) {
    std::uint32_t handle = 0;
    if (const std::uint32_t error = CreateFile(path, 0xC0000000, 0, 2, 2, &handle))
        return error;
    Call(rapi_wire::Operation::WriteFile,
         rapi_wire::Writer().Number(handle).Data(content.data(), content.size()));
    CloseHandle(handle);
    return 0;
}

std::uint32_t RapiClient::StartProgram(std::u16string_view path, std::u16string_view commandLine) {
    return Call(rapi_wire::Operation::CreateProcess,
                rapi_wire::Writer().Text(path).Text(commandLine))
        .error;
}

} // namespace test_support
