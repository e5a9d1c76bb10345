// RAPI at the cradle's socket: connections, frames, and the lines that tell what was asked.
#pragma once

#include "simulator/event_loop.h"
#include "simulator/rapi_calls.h"

#include <map>

namespace simulator {

class RapiServer {
public:
    // Listens at `socket`, in place of what a dead process left there. `over` says that the
    // handheld stops answering: asked after each request, whose reply still goes out. Throws a
    // Failure.
    RapiServer(EventLoop& loop, std::filesystem::path socket, RapiDevice device,
               const Report& report, std::function<bool()> over);
    // Ends all connections and removes the socket.
    ~RapiServer();
    RapiServer(const RapiServer&) = delete;
    RapiServer& operator=(const RapiServer&) = delete;

    void Stop();

private:
    // Holds one answer at most: what a client asks next is read when it has taken that. One that
    // takes nothing, or sends half a frame, waits for itself alone, and may do so for ever.
    struct Connection {
        Descriptor socket;
        Bytes received;
        Bytes unsent;
        bool ending = false; // once that has been sent
        RapiSession session;
    };

    void Accept();
    void Receive(int descriptor);
    void GoOn(int descriptor);
    // What the client takes of the answer; whether the connection goes on.
    static bool SendUnsent(Connection& connection);
    // Carries out all whole frames whose answers the client takes; whether the connection goes on.
    bool Serve(Connection& connection);
    bool Answer(Connection& connection, Bytes requested);
    bool IsToBeDropped(const RapiRequest& request);
    void Close(int descriptor);

    EventLoop& loop_;
    std::filesystem::path path_;
    RapiDevice device_;
    const Report& report_;
    std::function<bool()> over_;
    Descriptor listener_;
    std::map<int, Connection> connections_;
    std::uint32_t dropped_ = 0; // calls that were met by that fault; it strikes once
};

} // namespace simulator
