// RAPI as the client: the handheld sends what it likes. What a call gives is what a whole answer
// holds, within the caller's buffer; an answer that makes no sense fails the call and ends the
// connection.

#include "rapi/rapi.h"

#include "simulator/local_socket.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <rapi_wire.h>
#include <sys/socket.h>

using fuzz::Require;
using simulator::Bytes;

namespace {

Bytes Answer;                   // to the next call
simulator::Descriptor Handheld; // the other end of the connection

// Answers the greeting.
void Connect() {
    static const auto listener =
        simulator::ListenAt(test_support::HomeOfTests().Home() / "rapi.sock", 0);
    RapiInitRecord record = {sizeof(record), 0, 0};
    CeRapiUninit();
    Require(CeRapiInitEx(&record) == 0);
    Handheld = simulator::Descriptor(accept(listener.Number(), nullptr, nullptr));
    const Bytes welcome = rapi_wire::Writer().Number(0).Number(1).Frame();
    Require(send(Handheld.Number(), welcome.data(), welcome.size(), 0) > 0);
    Require(WaitForSingleObject(RapiEvent(record), INFINITE) == WAIT_OBJECT_0);
}

// What was asked before. Whether there was a request.
bool DrainRequests() {
    char bytes[0x1000];
    return recv(Handheld.Number(), bytes, sizeof(bytes), MSG_DONTWAIT) > 0;
}

// The answer lies ready when the call is made. One that is cut short is the last.
void SendAnswer() {
    send(Handheld.Number(), Answer.data(), Answer.size(), MSG_NOSIGNAL);
    if (Answer.size() < 4 || Answer.size() - 4 < rapi_wire::Reader(Answer).Number())
        shutdown(Handheld.Number(), SHUT_WR);
}

// As it is, or with the length of a frame in front.
void ReadAnswer(fuzz::Input& input) {
    const std::uint8_t kind = input.Byte();
    const auto bytes = input.Bytes(input.Byte() + kind / 4 % 4 * 256U);
    rapi_wire::Writer length;
    length.Number(static_cast<std::uint32_t>(bytes.size()));
    Answer.clear();
    if (kind % 4 != 0) {
        Answer = length.Frame();
        Answer.erase(Answer.begin(), Answer.begin() + 4);
    }
    Answer.insert(Answer.end(), bytes.begin(), bytes.end());
}

// Whether the answer is one frame with this many bytes or more.
bool IsFrame(std::size_t least) {
    return Answer.size() >= 4 + least && rapi_wire::Reader(Answer).Number() == Answer.size() - 4;
}

// Gives whether the answer makes sense.
bool CheckRead(bool connected, std::uint32_t count) {
    Bytes buffer(count);
    std::uint32_t done = 77;
    const bool read = CeReadFile(1, buffer.data(), count, &done);
    rapi_wire::Reader answer(IsFrame(8) && connected ? Answer : Bytes());
    answer.Number(); // length
    answer.Number(); // error
    const bool success = answer.Number() != 0;
    const Bytes wanted = answer.Data();
    const bool sound = answer.Good() && wanted.size() <= count;
    Require(read == (success && sound) && done == (read ? wanted.size() : 0));
    Require(std::equal(wanted.begin(), wanted.begin() + done, buffer.begin()));
    return sound || !success;
}

void CheckOthers(std::uint8_t which, std::uint32_t capacity) {
    Bytes buffer(capacity);
    CeFindData found = {};
    CePowerStatus status = {};
    std::uint32_t size = capacity, done = 0;
    if (which == 1 && CeRegQueryValueEx(1, u"a", buffer.data(), &size) == 0)
        Require(size <= capacity);
    if (which == 2 && CeFindFirstFile(u"a", &found) != CeInvalidHandle)
        Require(found.name[259] == 0);
    if (which == 3 && CeWriteFile(1, buffer.data(), capacity, &done))
        Require(done <= capacity);
    if (which == 4)
        Require(!CeGetSystemPowerStatusEx(&status, TRUE) || IsFrame(8 + 4 + sizeof(status)));
    if (which == 5)
        CeRapiInvoke(u"a", u"b", capacity, buffer.data());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static bool connected = false; // a connection that is sound serves the next input, too
    fuzz::Input input(data, size);
    if (!connected)
        Connect();
    for (connected = true; !input.IsOver();) {
        const std::uint8_t which = input.Byte() % 6;
        const std::uint32_t count = input.Byte();
        ReadAnswer(input);
        SendAnswer();
        const bool frame = IsFrame(8);
        const bool sound = which != 0 || CheckRead(connected, count);
        CheckOthers(which, count);
        Require(connected || !DrainRequests());
        Answer = rapi_wire::Writer().Number(0).Number(1).Frame();
        SendAnswer();
        const bool wasConnected = std::exchange(connected, CeCloseHandle(1) != 0);
        DrainRequests();
        Require(!connected || (wasConnected && frame && sound));
        Require(connected || which != 0 || !wasConnected || !frame || !sound);
    }
    return 0;
}
