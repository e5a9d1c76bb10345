// RAPI at the cradle's socket: connections, frames, and a line for each request.
#pragma once

#include "simulator/event_loop.h"
#include "simulator/rapi_calls.h"
#include "simulator/report.h"

#include <functional>
#include <map>

namespace simulator {

class RapiServer {
public:
    // Listens at `socket`, in place of what a dead process left there. `isOver` is called after
    // each request, whose answer still goes out: once it gives true the server stops. Throws a
    // Failure.
    RapiServer(EventLoop& loop, std::filesystem::path socket, RapiDevice device,
               const Report& report, std::function<bool()> isOver);
    // Ends all connections and removes the socket.
    ~RapiServer();
    RapiServer(const RapiServer&) = delete;
    RapiServer& operator=(const RapiServer&) = delete;

    void Stop();

private:
    // Has one answer at most: the next request is read when the client has received that. A client
    // that reads nothing, or sends half a frame, delays only itself, and may do so for ever.
    struct Connection {
        Descriptor socket;
        Bytes received;
        Bytes unsent;
        bool ending = false; // once that has been sent
        RapiSession session;
    };

    void Accept();
    void Receive(int descriptor);
    void Continue(int descriptor);
    // Sends what the client has room for; false when the connection ends.
    static bool SendUnsent(Connection& connection);
    // Carries out the whole frames received, as long as their answers can be sent; false when the
    // connection ends.
    bool Serve(Connection& connection);
    bool AnswerRequest(Connection& connection, Bytes requested);
    bool ShouldDrop(const RapiRequest& request);
    void Close(int descriptor);

    EventLoop& loop_;
    std::filesystem::path path_;
    RapiDevice device_;
    const Report& report_;
    std::function<bool()> isOver_;
    Descriptor listener_;
    std::map<int, Connection> connections_;
    std::uint32_t dropped_ = 0; // calls that were met by that fault; it strikes once
};

} // namespace simulator
