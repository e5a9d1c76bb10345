// RAPI as the client: the handheld sends what it likes. What a read gives is what a whole answer
// holds, within the caller's buffer; an answer that makes no sense ends the connection.

#include "rapi/rapi.h"

#include "simulator/local_socket.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <rapi_wire.h>

#include <cerrno>
#include <sys/socket.h>

using fuzz::Require;
using simulator::Bytes;

namespace {

simulator::Descriptor Handheld; // the other end of the connection

// The answer lies ready when the call is made. One that is cut short is the last.
void SendAnswer(const Bytes& answer) {
    send(Handheld.Number(), answer.data(), answer.size(), MSG_NOSIGNAL);
    if (answer.size() < 4 || answer.size() - 4 < rapi_wire::Reader(answer).Number())
        shutdown(Handheld.Number(), SHUT_WR);
}

// Past the greeting.
void Connect() {
    static const auto listener =
        simulator::ListenAt(test_support::HomeOfTests().Home() / "rapi.sock", 0);
    RapiInitRecord record = {sizeof(record), 0, 0};
    CeRapiUninit();
    Require(CeRapiInitEx(&record) == 0);
    do
        Handheld = simulator::Descriptor(accept(listener.Number(), nullptr, nullptr));
    while (!Handheld && errno == EINTR); // by the fuzzer's alarm
    SendAnswer(rapi_wire::Writer().Number(0).Number(1).Frame());
    Require(WaitForSingleObject(RapiEvent(record), INFINITE) == WAIT_OBJECT_0);
}

// As it is, or with the length of a frame in front.
Bytes ReadAnswer(fuzz::Input& input) {
    const std::uint8_t kind = input.Byte();
    const auto content = input.Take(input.Byte() + kind / 4 % 4 * 256U);
    Bytes answer = rapi_wire::Writer().Data(content.data(), content.size()).Frame();
    answer.erase(answer.begin(), answer.begin() + (kind % 4 ? 4 : 8));
    return answer;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static bool connected = false; // a connection that is sound serves the next input, too
    fuzz::Input input{{data, size}};
    if (!connected)
        Connect();
    for (connected = true; connected && !input.left.empty();) {
        Bytes buffer(input.Byte());
        const Bytes answer = ReadAnswer(input);
        SendAnswer(answer);
        std::uint32_t done = 77;
        const bool read =
            CeReadFile(1, buffer.data(), static_cast<std::uint32_t>(buffer.size()), &done);
        rapi_wire::Reader reader(answer);
        const bool frame = reader.Number() + 4 == answer.size();
        reader.Number(); // the device's error
        const bool success = reader.Number() != 0, answered = frame && reader.Good();
        const Bytes wanted = reader.Data();
        const bool sound = reader.Good() && wanted.size() <= buffer.size();
        Require(read == (answered && success && sound) && done == (read ? wanted.size() : 0));
        Require(std::equal(wanted.begin(), wanted.begin() + done, buffer.begin()));
        char requests[0x1000];
        while (recv(Handheld.Number(), requests, sizeof(requests), MSG_DONTWAIT) > 0)
            ;
        connected = answered && (!success || sound);
        SendAnswer(rapi_wire::Writer().Number(0).Number(1).Frame());
        Require((CeCloseHandle(1) != 0) == connected);
    }
    return 0;
}
