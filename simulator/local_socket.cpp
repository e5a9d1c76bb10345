// Listens and connects at local sockets.

#include "simulator/local_socket.h"

#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr int MaxWaiting = 16; // connections that have not been accepted yet

sockaddr_un AddressOf(const std::filesystem::path& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.string().size() >= sizeof(address.sun_path))
        throw Failure("use " + path.string() + ": the path is too long for a socket");
    std::memcpy(address.sun_path, path.c_str(), path.string().size());
    return address;
}

} // namespace

Descriptor ListenAt(const std::filesystem::path& path, int flags) {
    const sockaddr_un address = AddressOf(path);
    unlink(path.c_str());
    Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    // The file that bind makes has the mode of its socket, so there is no moment in which others
    // can connect.
    if (!listener || fchmod(listener.Number(), S_IRUSR | S_IWUSR) != 0 ||
        bind(listener.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
            0 ||
        listen(listener.Number(), MaxWaiting) != 0)
        FailOn("listen at", path);
    return listener;
}

Descriptor ConnectTo(const std::filesystem::path& path) {
    const sockaddr_un address = AddressOf(path);
    Descriptor end(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (end &&
        connect(end.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        return Descriptor();
    return end;
}

} // namespace simulator
