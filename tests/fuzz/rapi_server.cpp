// RAPI as the simulated handheld serves it: every answer is a whole frame, no request reaches a
// file outside of the handheld, and a connection that ends leaves nothing open.

#include "simulator/rapi_server.h"

#include "simulator/agents.h"
#include "simulator/local_socket.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <poll.h>
#include <sys/socket.h>

using fuzz::Require;
using namespace simulator;

namespace {

std::filesystem::path Root() { return test_support::HomeOfTests().Home(); }

const StateFolder& Folder() {
    static const StateFolder folder = [] {
        std::freopen("/dev/null", "w", stdout); // a line for each request
        return StateFolder::Create(Root() / "device", {"TOLKP1000", "1.14", "ENG"}, 1, true);
    }();
    return folder;
}

// The handheld's files and registry as they are at first.
void Renew() {
    std::filesystem::remove_all(Folder().Path("files"));
    std::filesystem::create_directories(Folder().Path("files/Temp"));
    std::filesystem::remove(Folder().Path("registry"));
    std::filesystem::remove(Folder().Path("attributes"));
    test_support::WriteFileBytes(Folder().Path("files/Temp/a"), "content");
}

// What the handheld answers to these bytes, until it has ended the connection.
Bytes Exchange(std::span<const std::uint8_t> requests) {
    EventLoop loop;
    DeviceFiles files(Folder().Path("files"), Folder().Path("attributes"));
    DeviceRegistry registry(Folder().Path("registry"));
    const Faults faults;
    const Report report(Folder().Path("refused"));
    Programs programs({loop, Folder(), files, faults, report}, [](LinkKind) {});
    const auto socket = Root() / "cradle.sock";
    RapiServer server(loop, socket, {Folder(), files, registry, programs, faults}, report,
                      [] { return false; });
    const Descriptor client = ConnectTo(socket);
    Require(send(client.Number(), requests.data(), requests.size(), MSG_NOSIGNAL) ==
            static_cast<ssize_t>(requests.size()));
    shutdown(client.Number(), SHUT_WR);
    Bytes answers;
    loop.Watch(client.Number(), [&] {
        std::uint8_t part[0x10000];
        const ssize_t count = recv(client.Number(), part, sizeof(part), 0);
        if (count <= 0)
            return loop.Stop();
        answers.insert(answers.end(), part, part + count);
    });
    loop.Run();
    loop.Unwatch(client.Number());
    // Nobody has it open any more.
    const auto left = files.Open(u"\\Temp\\a", ReadAccess | WriteAccess, 0, OpenAlways, 0);
    Require(left.error != error::SharingViolation);
    return answers;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Renew();
    const auto outside = Root() / "a";
    test_support::WriteFileBytes(outside, "outside");
    const Bytes answers = Exchange({data, size});
    std::size_t at = 0;
    while (at < answers.size()) {
        Require(answers.size() - at >= FrameLengthSize);
        const auto length =
            rapi_wire::Reader({answers.begin() + static_cast<std::ptrdiff_t>(at), answers.end()})
                .Number();
        Require(length >= 8 && length <= rapi_wire::MaxFrameSize);
        at += FrameLengthSize + length;
    }
    Require(at == answers.size());
    Require(test_support::ReadBytes(outside) == "outside");
    DeviceRegistry(Folder().Path("registry")); // which can be read again
    return 0;
}
