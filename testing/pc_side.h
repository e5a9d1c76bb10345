// The PC's side of a handheld without the wizard: a cable's end, and RAPI requests.
#pragma once

#include "testing/test_home.h"

#include <rapi_wire.h>

#include <string_view>

namespace test_support {

using ByteList = std::vector<std::uint8_t>;

// The PC's end of a cable, raw. Waits end after a minute with an exception.
class LinkEnd {
public:
    // `port` is "COM1" or "WCEUSBSH001".
    LinkEnd(const TestHome& home, const std::string& port);
    ~LinkEnd();
    LinkEnd(const LinkEnd&) = delete;
    LinkEnd& operator=(const LinkEnd&) = delete;

    void Write(const ByteList& bytes);
    void Write(std::string_view text) { Write(ByteList(text.begin(), text.end())); }
    // Exactly so many bytes.
    ByteList Read(std::size_t count);
    // Whether a byte lies ready now.
    bool HasBytes() const;

private:
    int port_;
};

// One connection to the handheld, past the connection manager.
class RapiClient {
public:
    explicit RapiClient(const TestHome& home, const std::string& socket = "cradle.sock");
    ~RapiClient();
    RapiClient(const RapiClient&) = delete;
    RapiClient& operator=(const RapiClient&) = delete;

    struct Reply {
        std::uint32_t error = 0;
        std::uint32_t result = 0;
        rapi_wire::Reader outputs{{}};
    };
    // Sends operation and arguments; throws where the connection ends instead of an answer.
    Reply Call(rapi_wire::Operation operation, const rapi_wire::Writer& arguments = {});
    // Whether the other side ends the connection; waits for that or a byte.
    bool Ended();

    // A whole file to the device, replacing one of that name: 0, or the error of the open.
    std::uint32_t Push(std::u16string_view path, const ByteList& content);
    std::uint32_t CreateFile(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                             std::uint32_t disposition, std::uint32_t attributes,
                             std::uint32_t* handle = nullptr); // the error
    void CloseHandle(std::uint32_t handle);
    std::uint32_t StartProgram(std::u16string_view path, std::u16string_view commandLine = u"");

private:
    ByteList ReceiveFrame();

    int socket_;
};

} // namespace test_support
